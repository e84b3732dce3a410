// Removing a file, a link or a folder tree.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/Files/FileManager.h"
#include "Platform/Files/FolderCursor.h"

namespace quillmore::platform {

namespace {

/// One removal run. Functions give 0 or an error number.
class TreeRemoval {
public:
    std::optional<Error> run(const std::string& path);

private:
    struct Level {
        std::string name;                ///< Of the folder, in the folder above.
        std::vector<std::string> names;  ///< Still to be removed, the next one last.
    };
    int removeNext();
    int removeEntry(const std::string& name);
    int beginFolder(const std::string& name, const struct stat& status);
    int endFolder();

    FolderCursor cursor_;
    std::vector<Level> levels_;
    std::string current_;  ///< The entry at work, `levels_.size()` folders deep; for the error.
};

std::optional<Error> TreeRemoval::run(const std::string& path) {
    int error = removeEntry(path);
    while (error == 0 && !levels_.empty()) {
        error = levels_.back().names.empty() ? endFolder() : removeNext();
        if (error == ENOENT) error = 0;  // someone else removed it first
    }
    if (error == 0) return std::nullopt;
    return errorInTree(error, cursor_.innerPath(current_, levels_.size()));
}

int TreeRemoval::removeNext() {
    std::vector<std::string>& names = levels_.back().names;
    const std::string name = std::move(names.back());
    names.pop_back();
    return removeEntry(name);
}

int TreeRemoval::removeEntry(const std::string& name) {
    current_ = name;
    struct stat status = {};
    if (::fstatat(cursor_.descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (S_ISDIR(status.st_mode)) return beginFolder(name, status);
    return ::unlinkat(cursor_.descriptor(), name.c_str(), 0) == 0 ? 0 : errno;
}

int TreeRemoval::beginFolder(const std::string& name, const struct stat& status) {
    // A folder of our own that is closed even to us may be opened by us: it is to go anyway.
    const bool closedToUs = (status.st_mode & S_IRWXU) != S_IRWXU;
    if (closedToUs && status.st_uid == ::geteuid() &&
        ::fchmodat(cursor_.descriptor(), name.c_str(), S_IRWXU, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (int error = cursor_.enter(name); error != 0) return error;
    levels_.push_back({name, {}});
    std::vector<std::string> names;
    const int error = cursor_.names(names);
    levels_.back().names = {names.rbegin(), names.rend()};
    return error;
}

int TreeRemoval::endFolder() {
    current_ = std::move(levels_.back().name);
    levels_.pop_back();
    if (int error = cursor_.leave(); error != 0) return error;
    return ::unlinkat(cursor_.descriptor(), current_.c_str(), AT_REMOVEDIR) == 0 ? 0 : errno;
}

}  // namespace

std::optional<Error> FileManager::removeItem(std::string_view path) const {
    const auto target = hostPathOfItem(path);
    if (!target) return target.error();
    return TreeRemoval().run(*target);
}

}  // namespace quillmore::platform
