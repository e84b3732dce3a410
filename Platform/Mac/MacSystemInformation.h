// What Gestalt, the kernel's process table and AppKit say. Keeps no state: safe on any thread.
#pragma once

#include "Platform/Ports/SystemInformation.h"

namespace quillmore::platform {

class MacSystemInformation final : public SystemInformation {
public:
    std::optional<std::int32_t> gestalt(FourCharCode selector) const override;
    std::optional<std::uint32_t> processFlags() const override;
    /// The name of the thread's Mach port.
    std::uint32_t currentThreadPort() const override;
    double applicationFrameworkVersion() const override;
};

}  // namespace quillmore::platform
