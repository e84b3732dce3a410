// The environment that a child process gets.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillmore::platform {

/// "NAME=value" of this process. Not while another thread changes the environment.
std::vector<std::string> environmentOfThisProcess();
/// The environment with a folder in front of those that programs are searched in. Without a PATH
/// the system's usual folders follow.
std::vector<std::string> withFolderFirstInPath(std::vector<std::string> environment,
                                               const std::string& folder);
/// Whether a shell with the environment would find a program by its name.
bool isProgramInPath(const std::vector<std::string>& environment, std::string_view program);
/// The value of a PATH without a folder.
std::string pathWithoutFolder(std::string_view path, std::string_view folder);

}  // namespace quillmore::platform
