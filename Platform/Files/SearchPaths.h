// The folders that the platform keeps applications and downloads in.
#pragma once

#include <string>
#include <vector>

namespace quillmore::platform {

class FileManager;

/// Values are the platform's masks.
enum class Domain { user = 1, local = 2, network = 4, system = 8 };

/// The Applications folders of a domain, with the tilde expanded, whether or not they exist.
std::vector<std::string> applicationsFolders(Domain domain, const std::string& homeFolder);

/// The Downloads folders of a domain; only the user has one. Where the desktop keeps the user's
/// choice ("XDG_DOWNLOAD_DIR" in ~/.config/user-dirs.dirs, the folder ~/.config being moved by
/// XDG_CONFIG_HOME), that choice; the home folder itself stands for none at all. Elsewhere
/// ~/Downloads.
std::vector<std::string> downloadsFolders(const FileManager& fileManager, Domain domain,
                                          const std::string& homeFolder);

}  // namespace quillmore::platform
