#include "Platform/Linux/LinuxSystemInformation.h"

#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <charconv>
#include <vector>

#include "Platform/Files/FileManager.h"
#include "Platform/Formats/PropertyList.h"

namespace quillmore::platform {

namespace {

constexpr const char* kSystemVersionFile = "/System/Library/CoreServices/SystemVersion.plist";
constexpr std::int32_t kArchitectureIntel = 10;

/// Two or three decimal numbers parted by points; nothing for any other text.
std::optional<std::vector<std::int32_t>> versionParts(const std::string& text) {
    std::vector<std::int32_t> parts;
    const char* position = text.data();
    const char* const end = text.data() + text.size();
    while (true) {
        std::int32_t part = 0;
        const auto [next, trouble] = std::from_chars(position, end, part);
        if (trouble != std::errc{} || part < 0) return std::nullopt;
        parts.push_back(part);
        if (next == end) break;
        if (*next != '.') return std::nullopt;
        position = next + 1;
    }
    if (parts.size() < 2 || parts.size() > 3) return std::nullopt;
    parts.resize(3);
    return parts;
}

/// "x86_64", and "i386" to "i686" of the 32-bit kernels.
bool isIntel(const std::string& machine) {
    return machine == "x86_64" ||
           (machine.size() == 4 && machine.starts_with('i') && machine.ends_with("86"));
}

}  // namespace

std::optional<std::string> machineName() {
    utsname names{};
    if (::uname(&names) != 0) return std::nullopt;
    return std::string(names.machine);
}

std::optional<std::int32_t> LinuxSystemInformation::gestalt(FourCharCode selector) const {
    switch (selector) {
        case fourCharCode("sys1"):
            return versionPart(0);
        case fourCharCode("sys2"):
            return versionPart(1);
        case fourCharCode("sys3"):
            return versionPart(2);
        case fourCharCode("sysa"):
            return architecture();
        default:
            return std::nullopt;
    }
}

std::optional<std::int32_t> LinuxSystemInformation::versionPart(std::size_t index) const {
    const auto list = readPropertyList(fileManager_, kSystemVersionFile);
    const Dictionary* entries = list ? list->dictionary() : nullptr;
    const auto text = entries == nullptr ? std::nullopt : stringForKey(*entries, "ProductVersion");
    const auto parts = text ? versionParts(*text) : std::nullopt;
    if (!parts) return std::nullopt;
    return (*parts)[index];
}

std::optional<std::int32_t> LinuxSystemInformation::architecture() const {
    if (!machine_ || !isIntel(*machine_) || !fileManager_.fileExists(kSystemVersionFile))
        return std::nullopt;
    return kArchitectureIntel;
}

std::optional<std::uint32_t> LinuxSystemInformation::processFlags() const {
    const auto tracer = processes_.ownTracer();
    if (!tracer) return std::nullopt;
    return *tracer != 0 ? kProcessFlagTraced : 0U;
}

std::uint32_t LinuxSystemInformation::currentThreadPort() const {
    return static_cast<std::uint32_t>(::syscall(SYS_gettid));
}

}  // namespace quillmore::platform
