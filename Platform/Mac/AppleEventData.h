// An Apple Event Manager descriptor that is disposed of at its end.
#pragma once

#include <CoreServices/CoreServices.h>

#include <string>
#include <utility>

namespace quillmore::platform {

class AppleEventData {
public:
    AppleEventData() = default;
    /// Takes what a call made.
    explicit AppleEventData(const AEDesc& made) : content_(made) {}
    ~AppleEventData() {
        if (content_.dataHandle != nullptr) ::AEDisposeDesc(&content_);
    }
    AppleEventData(AppleEventData&& other) noexcept
        : content_(std::exchange(other.content_, AEDesc{typeNull, nullptr})) {}
    AppleEventData& operator=(AppleEventData&& other) noexcept {
        std::swap(content_, other.content_);
        return *this;
    }

    DescType type() const { return content_.descriptorType; }
    const AEDesc* get() const { return &content_; }
    /// For a call that makes one. Only while this is empty.
    AEDesc* place() { return &content_; }
    std::string bytes() const {
        std::string copy(static_cast<std::size_t>(::AEGetDescDataSize(&content_)), '\0');
        const auto size = static_cast<Size>(copy.size());
        return ::AEGetDescData(&content_, copy.data(), size) == noErr ? copy : std::string();
    }
    /// Empty when it cannot be coerced.
    AppleEventData coercedTo(DescType type) const {
        AEDesc made{typeNull, nullptr};
        if (::AECoerceDesc(&content_, type, &made) != noErr) return {};
        return AppleEventData(made);
    }

private:
    AEDesc content_{typeNull, nullptr};
};

}  // namespace quillmore::platform
