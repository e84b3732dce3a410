// The program that this process runs; each system tells it in its own way (LinuxExecutable.cpp,
// MacExecutable.cpp).
#pragma once

#include <optional>
#include <string>

namespace quillmore::platform {

/// The path of this process's executable file; nothing when the system does not tell.
std::optional<std::string> executablePathOfThisProcess();

}  // namespace quillmore::platform
