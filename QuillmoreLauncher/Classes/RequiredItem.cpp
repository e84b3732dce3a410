#include "QuillmoreLauncher/Classes/RequiredItem.h"

#include "Platform/Files/FileManager.h"

namespace quillmore {

std::optional<std::string> RequiredItem::installPathByAppending(const char* relativePath) const {
    const auto path = installPath();
    if (!path) return std::nullopt;
    return platform::pathByAppending(*path, relativePath);
}

std::optional<std::string> RequiredItem::value(const char* key) const {
    return platform::stringForKey(entry_, key);
}

}  // namespace quillmore
