// SystemInformation double: selectors to fill; none answer at first.
#pragma once

#include <map>
#include <vector>

#include "Platform/Ports/SystemInformation.h"

namespace quillmore::tests {

class FakeSystemInformation final : public platform::SystemInformation {
public:
    std::map<platform::FourCharCode, std::int32_t> selectors;
    /// Every selector that was asked for, in order.
    mutable std::vector<platform::FourCharCode> asked;
    std::optional<std::uint32_t> flags = 0;
    std::uint32_t threadPort = 0x1a2b;
    double frameworkVersion = 1038;

    std::optional<std::int32_t> gestalt(platform::FourCharCode selector) const override {
        asked.push_back(selector);
        const auto found = selectors.find(selector);
        if (found == selectors.end()) return std::nullopt;
        return found->second;
    }
    std::optional<std::uint32_t> processFlags() const override { return flags; }
    std::uint32_t currentThreadPort() const override { return threadPort; }
    double applicationFrameworkVersion() const override { return frameworkVersion; }

    void setSystemVersion(std::int32_t major, std::int32_t minor, std::int32_t bugfix) {
        selectors[platform::fourCharCode("sys1")] = major;
        selectors[platform::fourCharCode("sys2")] = minor;
        selectors[platform::fourCharCode("sys3")] = bugfix;
    }
    void setIntel() { selectors[platform::fourCharCode("sysa")] = 10; }
};

}  // namespace quillmore::tests
