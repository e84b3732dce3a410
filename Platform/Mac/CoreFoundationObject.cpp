#include "Platform/Mac/CoreFoundationObject.h"

namespace quillmore::platform {

CoreFoundationObject<CFStringRef> stringFromText(std::string_view text) {
    return CoreFoundationObject<CFStringRef>(
        ::CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                                  static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

std::optional<std::string> textOf(CFTypeRef string) {
    if (string == nullptr || ::CFGetTypeID(string) != ::CFStringGetTypeID()) return std::nullopt;
    const auto text = static_cast<CFStringRef>(string);
    const CFRange whole{0, ::CFStringGetLength(text)};
    CFIndex length = 0;
    ::CFStringGetBytes(text, whole, kCFStringEncodingUTF8, 0, false, nullptr, 0, &length);
    std::string bytes(static_cast<std::size_t>(length), '\0');
    const CFIndex converted =
        ::CFStringGetBytes(text, whole, kCFStringEncodingUTF8, 0, false,
                           reinterpret_cast<UInt8*>(bytes.data()), length, &length);
    if (converted != whole.length) return std::nullopt;  // half a surrogate pair has no UTF-8
    return bytes;
}

std::optional<std::int64_t> integerOf(CFTypeRef number) {
    if (number == nullptr || ::CFGetTypeID(number) != ::CFNumberGetTypeID()) return std::nullopt;
    std::int64_t value = 0;
    if (!::CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberSInt64Type, &value))
        return std::nullopt;
    return value;
}

}  // namespace quillmore::platform
