// Moving an item by its name alone.
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "Platform/Files/FileManager.h"
#include "Platform/Files/FileManagerTree.h"

namespace quillmore::platform {

std::optional<Error> FileManager::moveItem(std::string_view from, std::string_view to) const {
    const auto original = checkedHostPath(*this, from);
    if (!original) return original.error();
    const auto target = checkedHostPath(*this, to);
    if (!target) return target.error();
    // The system would put a file in the place of another one without a word.
    struct stat existing = {};
    if (::lstat(target->c_str(), &existing) == 0) return Error::posix(EEXIST);
    if (::rename(original->c_str(), target->c_str()) != 0) return Error::posix(errno);
    return std::nullopt;
}

}  // namespace quillmore::platform
