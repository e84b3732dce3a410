#include "Platform/Processes/Executable.h"

#include <mach-o/dyld.h>

#include <cstdint>
#include <filesystem>

namespace quillmore::platform {

std::optional<std::string> executablePathOfThisProcess() {
    std::uint32_t size = 0;
    ::_NSGetExecutablePath(nullptr, &size);  // too small: tells the size, the final zero included
    std::string path(size, '\0');
    if (::_NSGetExecutablePath(path.data(), &size) != 0) return std::nullopt;
    std::error_code failure;
    const std::filesystem::path real = std::filesystem::canonical(path.c_str(), failure);
    if (failure) return std::nullopt;
    return real.string();
}

}  // namespace quillmore::platform
