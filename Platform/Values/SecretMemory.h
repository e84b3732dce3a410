// Secrets in memory: wiped when they are no longer needed, also from the spare room of their
// buffers. A text of at most 15 bytes lies inside its std::string and a moved one stays behind;
// makeSecret gives a text that moves without a trace. Any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/Values/Value.h"

namespace quillmore::platform {

/// Zeroes that the compiler may not leave out.
void wipe(void* bytes, std::size_t count);

// Each leaves its argument empty; of a container every text and all data in it go, keys excepted.
void wipe(std::string& text);
void wipe(std::u16string& text);
void wipe(Value& value);
void wipe(Dictionary& dictionary);
template <class T>
void wipe(std::optional<T>& value) {
    if (value) wipe(*value);
    value.reset();
}

/// Room for that many characters, on the heap however few they are.
std::string makeSecret(std::size_t capacity);
/// A copy whose characters are on the heap.
std::string makeSecret(std::string_view text);

/// Wipes what it holds at the end of its life.
template <class T>
class Wiped {
public:
    Wiped() = default;
    explicit Wiped(T value) : value_(std::move(value)) {}
    Wiped(const Wiped&) = delete;
    Wiped& operator=(const Wiped&) = delete;
    ~Wiped() { wipe(value_); }
    T& operator*() { return value_; }
    const T& operator*() const { return value_; }
    T* operator->() { return &value_; }
    const T* operator->() const { return &value_; }

private:
    T value_{};
};

}  // namespace quillmore::platform
