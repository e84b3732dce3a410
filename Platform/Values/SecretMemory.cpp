#include "Platform/Values/SecretMemory.h"

#include <algorithm>
#include <cstring>

namespace quillmore::platform {

namespace {

/// A call through it may do anything, as far as the compiler knows: it cannot be left out. Every
/// system has a call for this (explicit_bzero, memset_s), each another one.
void* (*const volatile fill)(void*, int, std::size_t) = std::memset;

/// More than a std::string keeps inside itself.
constexpr std::size_t kHeapCapacity = 64;

template <class Text>
void wipeText(Text& text) {
    text.resize(text.capacity());  // never moves the text
    wipe(text.data(), text.size() * sizeof(text[0]));
    text.clear();
}

/// What a value shows read-only belongs to the caller of wipe, who gave it away.
template <class T>
T& writable(const T* content) {
    return const_cast<T&>(*content);
}

}  // namespace

void wipe(void* bytes, std::size_t count) {
    if (count > 0) fill(bytes, 0, count);
}

void wipe(std::string& text) {
    wipeText(text);
}

void wipe(std::u16string& text) {
    wipeText(text);
}

void wipe(Value& value) {
    if (const auto* text = value.string()) {
        wipe(writable(text));
    } else if (const auto* data = value.data()) {
        auto& bytes = writable(data).bytes;
        wipe(bytes.data(), bytes.size());
    } else if (const auto* dictionary = value.dictionary()) {
        wipe(writable(dictionary));
    } else if (const auto* array = value.array()) {
        for (Value& entry : writable(array)) wipe(entry);
    }
    value = Value();
}

void wipe(Dictionary& dictionary) {
    for (auto& [key, value] : dictionary) wipe(value);
    dictionary.clear();
}

std::string makeSecret(std::size_t capacity) {
    std::string text;
    text.reserve(std::max(capacity, kHeapCapacity));
    return text;
}

std::string makeSecret(std::string_view text) {
    std::string secret = makeSecret(text.size());
    secret.append(text);
    return secret;
}

}  // namespace quillmore::platform
