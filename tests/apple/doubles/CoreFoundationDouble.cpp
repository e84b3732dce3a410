#include "tests/apple/doubles/CoreFoundationDouble.h"

#include <cstring>

#include "Platform/Values/TextEncoding.h"
#include "tests/apple/doubles/Ledger.h"

using namespace quillmore::apple;

const CFArrayCallBacks kCFTypeArrayCallBacks = {0};

namespace quillmore::apple {

namespace {

constexpr const char* kObject = "object";

const Object* objectAt(CFTypeRef object) {
    return static_cast<const Object*>(object);
}

template <class Body>
const Body& body(CFTypeRef object) {
    return dynamic_cast<const Body&>(*objectAt(object));
}

}  // namespace

Array::~Array() {
    for (CFTypeRef item : items) CFRelease(item);
}

Dictionary::~Dictionary() {
    for (const auto& entry : entries) CFRelease(entry.second);
}

CFTypeRef adopt(Object* object) {
    ledger().handOut(object, kObject);
    return object;
}

CFTypeRef makeString(const std::string& text) {
    return adopt(new String(text));
}

CFTypeRef makeStringWithoutUtf8() {
    auto* string = new String("?");
    string->hasUtf8 = false;
    return adopt(string);
}

CFTypeRef makeNumber(std::int64_t value) {
    return adopt(new Number(value));
}

CFTypeRef makeArray(std::vector<CFTypeRef> items) {
    auto* array = new Array;
    array->items = std::move(items);
    return adopt(array);
}

CFTypeRef makeDictionary(std::map<std::string, CFTypeRef> entries) {
    auto* dictionary = new Dictionary;
    dictionary->entries = std::move(entries);
    return adopt(dictionary);
}

std::string describe(CFTypeRef string) {
    if (!ledger().isAlive(string)) return "?";
    const auto* text = dynamic_cast<const String*>(objectAt(string));
    return text == nullptr ? "?" : "\"" + text->text + "\"";
}

std::string describeList(CFTypeRef array) {
    std::string list;
    for (CFTypeRef item : body<Array>(array).items)
        list += (list.empty() ? "" : ", ") + describe(item);
    return "[" + list + "]";
}

}  // namespace quillmore::apple

CFTypeRef CFRetain(CFTypeRef object) {
    if (ledger().isAlive(object))
        ++static_cast<Object*>(const_cast<void*>(object))->references;
    else
        ledger().problems.emplace_back("retained but not alive");
    return object;
}

void CFRelease(CFTypeRef object) {
    if (!ledger().isAlive(object)) {
        ledger().problems.emplace_back("released but not alive");
        return;
    }
    auto* counted = static_cast<Object*>(const_cast<void*>(object));
    if (--counted->references > 0) return;
    ledger().takeBack(object, kObject);
    delete counted;
}

CFTypeID CFGetTypeID(CFTypeRef object) {
    return static_cast<CFTypeID>(objectAt(object)->kind);
}

CFTypeID CFStringGetTypeID() {
    return static_cast<CFTypeID>(Kind::string);
}

CFTypeID CFNumberGetTypeID() {
    return static_cast<CFTypeID>(Kind::number);
}

CFTypeID CFArrayGetTypeID() {
    return static_cast<CFTypeID>(Kind::array);
}

CFTypeID CFDictionaryGetTypeID() {
    return static_cast<CFTypeID>(Kind::dictionary);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean) {
    const std::string text(reinterpret_cast<const char*>(bytes),
                           static_cast<std::size_t>(numBytes));
    if (encoding != kCFStringEncodingUTF8 || !quillmore::platform::isUtf8(text)) return nullptr;
    return static_cast<CFStringRef>(makeString(text));
}

CFIndex CFStringGetLength(CFStringRef string) {
    // UTF-16 units: those outside the basic plane, which need four bytes of UTF-8, count twice.
    const std::string& text = body<String>(string).text;
    CFIndex length = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if ((byte & 0xC0) != 0x80) length += byte >= 0xF0 ? 2 : 1;
    }
    return length;
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen) {
    const std::string& text = body<String>(string).text;
    if (!body<String>(string).hasUtf8) {
        if (usedBufLen != nullptr) *usedBufLen = 0;
        return 0;
    }
    const auto size = static_cast<CFIndex>(text.size());
    if (encoding != kCFStringEncodingUTF8 || lossByte != 0 || isExternalRepresentation ||
        range.location != 0 || range.length != CFStringGetLength(string) ||
        (buffer != nullptr && maxBufLen < size)) {
        ledger().problems.emplace_back("CFStringGetBytes in a way that the double does not know");
        return 0;
    }
    if (buffer != nullptr) std::memcpy(buffer, text.data(), text.size());
    if (usedBufLen != nullptr) *usedBufLen = size;
    return range.length;
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr) {
    if (theType != kCFNumberSInt64Type) return false;
    std::memcpy(valuePtr, &body<Number>(number).value, sizeof(std::int64_t));
    return true;
}

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex numValues,
                         const CFArrayCallBacks* callBacks) {
    if (callBacks != &kCFTypeArrayCallBacks)
        ledger().problems.emplace_back("an array that does not retain its items");
    std::vector<CFTypeRef> items;
    for (CFIndex i = 0; i < numValues; ++i) items.push_back(CFRetain(values[i]));
    return static_cast<CFArrayRef>(makeArray(std::move(items)));
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    return static_cast<CFIndex>(body<Array>(array).items.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    return body<Array>(array).items.at(static_cast<std::size_t>(index));
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    const auto& entries = body<Dictionary>(dictionary).entries;
    const auto found = entries.find(body<String>(key).text);
    return found == entries.end() ? nullptr : found->second;
}
