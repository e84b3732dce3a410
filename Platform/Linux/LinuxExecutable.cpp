#include "Platform/Processes/Executable.h"

#include <filesystem>

namespace quillmore::platform {

std::optional<std::string> executablePathOfThisProcess() {
    std::error_code failure;
    const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", failure);
    if (failure) return std::nullopt;
    return path.string();
}

}  // namespace quillmore::platform
