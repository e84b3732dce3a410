// Core Foundation objects: ownership, and the way to and from our own texts.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace quillmore::platform {

struct CoreFoundationRelease {
    void operator()(CFTypeRef object) const { ::CFRelease(object); }
};

/// One reference that is given back at the end. For what a "Create" or "Copy" call returned.
template <class Ref>
using CoreFoundationObject = std::unique_ptr<std::remove_pointer_t<Ref>, CoreFoundationRelease>;

/// Null when the text is not UTF-8.
CoreFoundationObject<CFStringRef> stringFromText(std::string_view text);

// Nothing for null and for an object of another type.
std::optional<std::string> textOf(CFTypeRef string);
std::optional<std::int64_t> integerOf(CFTypeRef number);

}  // namespace quillmore::platform
