// Port: what the operating system says of itself and of this process. Test double:
// FakeSystemInformation.
#pragma once

#include <cstdint>
#include <optional>

namespace quillmore::platform {

using FourCharCode = std::uint32_t;
constexpr FourCharCode fourCharCode(const char (&text)[5]) {
    FourCharCode code = 0;
    for (int i = 0; i < 4; ++i) code = (code << 8) | static_cast<unsigned char>(text[i]);
    return code;
}

/// The traced bit of the process flags.
inline constexpr std::uint32_t kProcessFlagTraced = 0x800;

class SystemInformation {
public:
    virtual ~SystemInformation() = default;
    /// 'sys1', 'sys2', 'sys3' (parts of the system version) and 'sysa' (architecture; 10 is Intel).
    /// Nothing when the selector fails.
    virtual std::optional<std::int32_t> gestalt(FourCharCode selector) const = 0;
    /// The flags word of this process; nothing when the query fails.
    virtual std::optional<std::uint32_t> processFlags() const = 0;
    /// The calling thread's number in the kernel.
    virtual std::uint32_t currentThreadPort() const = 0;
    /// The version number of the application framework (NSAppKitVersionNumber): 824 is the 10.4
    /// generation, 949 the 10.5 and 1038 the 10.6 one; updates of a generation add a fraction.
    virtual double applicationFrameworkVersion() const = 0;
};

}  // namespace quillmore::platform
