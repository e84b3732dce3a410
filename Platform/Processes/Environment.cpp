#include "Platform/Processes/Environment.h"

#include <unistd.h>

#include <algorithm>

extern "C" char** environ;

namespace quillmore::platform {

namespace {

constexpr std::string_view kPath = "PATH=";
constexpr const char* kUsualFolders = "/usr/bin:/bin:/usr/sbin:/sbin";

}  // namespace

std::vector<std::string> environmentOfThisProcess() {
    std::vector<std::string> environment;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry)
        environment.emplace_back(*entry);
    return environment;
}

std::vector<std::string> withFolderFirstInPath(std::vector<std::string> environment,
                                               const std::string& folder) {
    const auto entry = std::find_if(environment.begin(), environment.end(),
                                    [](const auto& text) { return text.starts_with(kPath); });
    if (entry == environment.end()) {
        environment.push_back(std::string(kPath) + folder + ":" + kUsualFolders);
    } else {
        // An empty one would leave the current folder behind the colon.
        entry->insert(kPath.size(),
                      folder + ":" + (entry->size() == kPath.size() ? kUsualFolders : ""));
    }
    return environment;
}

bool isProgramInPath(const std::vector<std::string>& environment, std::string_view program) {
    const auto entry =
        std::ranges::find_if(environment, [](const auto& text) { return text.starts_with(kPath); });
    std::string_view folders = entry == environment.end()
                                   ? std::string_view(kUsualFolders)
                                   : std::string_view(*entry).substr(kPath.size());
    for (;;) {
        const std::size_t end = std::min(folders.find(':'), folders.size());
        std::string path(folders.substr(0, end));
        path.append("/").append(program);
        if (::access(path.c_str(), X_OK) == 0) return true;
        if (end == folders.size()) return false;
        folders.remove_prefix(end + 1);
    }
}

std::string pathWithoutFolder(std::string_view path, std::string_view folder) {
    std::string result;
    bool isFirst = true;
    for (;;) {
        const std::size_t end = std::min(path.find(':'), path.size());
        if (path.substr(0, end) != folder) {
            if (!isFirst) result += ':';
            result += path.substr(0, end);
            isFirst = false;
        }
        if (end == path.size()) return result;
        path.remove_prefix(end + 1);
    }
}

}  // namespace quillmore::platform
