#include "Platform/Files/SearchPaths.h"

#include <cstdlib>

#include "Platform/Files/FileManager.h"
#include "Platform/Files/Paths.h"
#include "Platform/Files/UserFolders.h"

namespace quillmore::platform {

namespace {

constexpr std::uint64_t kMaximumUserFoldersFile = 64 * 1024;

std::string userFoldersFile(const std::string& homeFolder) {
    const char* configuration = std::getenv("XDG_CONFIG_HOME");
    const bool isUsable = configuration != nullptr && configuration[0] == '/';
    return pathByAppending(isUsable ? configuration : pathByAppending(homeFolder, ".config"),
                           "user-dirs.dirs");
}

}  // namespace

std::vector<std::string> applicationsFolders(Domain domain, const std::string& homeFolder) {
    switch (domain) {
        case Domain::user:
            return {pathByAppending(homeFolder, "Applications")};
        case Domain::local:
            return {"/Applications"};
        case Domain::network:
            return {"/Network/Applications"};
        case Domain::system:
            return {"/System/Applications"};
    }
    return {};
}

std::vector<std::string> downloadsFolders(const FileManager& fileManager, Domain domain,
                                          const std::string& homeFolder) {
    if (domain != Domain::user) return {};
    const auto text = fileManager.contents(userFoldersFile(homeFolder), kMaximumUserFoldersFile);
    const auto chosen =
        text ? userFolderInText(*text, "XDG_DOWNLOAD_DIR", homeFolder) : std::nullopt;
    if (!chosen) return {pathByAppending(homeFolder, "Downloads")};
    if (*chosen == pathByAppending(homeFolder, "")) return {};
    return {*chosen};
}

}  // namespace quillmore::platform
