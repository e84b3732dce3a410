// Copying a file, a link or a folder tree.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>

#include "Platform/Files/FileManager.h"
#include "Platform/Files/FolderCursor.h"
#include "Platform/Files/Paths.h"

namespace quillmore::platform {

namespace {

/// The copy is ours: the set-user-ID bit of a file of someone else would come to mean us.
mode_t modeOfCopy(const struct stat& original) {
    return original.st_mode & (original.st_uid == ::geteuid() ? 07777 : 0777);
}

std::array<timespec, 2> datesOf(const struct stat& original) {
#ifdef __APPLE__
    return {original.st_atimespec, original.st_mtimespec};
#else
    return {original.st_atim, original.st_mtim};
#endif
}

/// 0 or an error number, as the functions below.
int setModeAndDates(int copy, const struct stat& original) {
    if (::fchmod(copy, modeOfCopy(original)) != 0) return errno;
    return ::futimens(copy, datesOf(original).data()) == 0 ? 0 : errno;
}

int copyBytes(int from, int to) {
    constexpr std::size_t kBlock = 256 * 1024;
    const auto block = std::make_unique<char[]>(kBlock);
    for (;;) {
        const ssize_t count = ::read(from, block.get(), kBlock);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        if (count == 0) return 0;
        const int error = writeAll(to, {block.get(), static_cast<std::size_t>(count)});
        if (error != 0) return error;
    }
}

/// Returns when what was written to the copy's volume is on disk. One call for the whole tree: a
/// bundle has too many files to wait for each.
int synchronizeVolume([[maybe_unused]] int copy) {
#ifdef __linux__
    return ::syncfs(copy) == 0 ? 0 : errno;
#else
    ::sync();
    return 0;
#endif
}

/// One copy run: two cursors that walk the original and the copy side by side.
class TreeCopy {
public:
    /// `to` lies in the existing folder `toFolder`.
    std::optional<Error> run(const std::string& from, const std::string& to);

private:
    struct Level {
        std::string name;  ///< Of the folder, in the folder above.
        struct stat original;
        std::vector<std::string> names;  ///< Still to be copied, the next one last.
    };
    int copyEntry(const std::string& name, const std::string& newName);
    int copyFile(const std::string& name, const std::string& newName);
    int copyLink(const std::string& name, const std::string& newName, const struct stat& original);
    int beginFolder(const std::string& name, const std::string& newName);
    int endFolder();
    int finish(int copy, const struct stat& original) const;

    FolderCursor from_;
    FolderCursor to_;
    std::vector<Level> levels_;
    std::string current_;  ///< The entry at work, `levels_.size()` folders deep; for the error.
};

std::optional<Error> TreeCopy::run(const std::string& from, const std::string& to) {
    int error = copyEntry(from, to);
    while (error == 0 && !levels_.empty()) {
        std::vector<std::string>& names = levels_.back().names;
        if (names.empty()) {
            error = endFolder();
            continue;
        }
        const std::string name = std::move(names.back());
        names.pop_back();
        error = copyEntry(name, name);
    }
    if (error == 0) return std::nullopt;
    return errorInTree(error, from_.innerPath(current_, levels_.size()));
}

int TreeCopy::copyEntry(const std::string& name, const std::string& newName) {
    current_ = name;
    struct stat original = {};
    if (::fstatat(from_.descriptor(), name.c_str(), &original, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (S_ISREG(original.st_mode)) return copyFile(name, newName);
    if (S_ISLNK(original.st_mode)) return copyLink(name, newName, original);
    if (S_ISDIR(original.st_mode)) return beginFolder(name, newName);
    return EOPNOTSUPP;  // a FIFO or a device has no content that a copy could hold
}

int TreeCopy::copyFile(const std::string& name, const std::string& newName) {
    const FileDescriptor from(
        ::openat(from_.descriptor(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat original = {};
    if (!from || ::fstat(from.get(), &original) != 0) return errno;
    if (!S_ISREG(original.st_mode)) return EOPNOTSUPP;
    FileDescriptor to(::openat(to_.descriptor(), newName.c_str(),
                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!to) return errno;
    int error = copyBytes(from.get(), to.get());
    if (error == 0) error = finish(to.get(), original);
    // Remote file systems say only now that there was no room.
    if (::close(to.release()) != 0 && error == 0 && errno != EINTR) error = errno;
    return error;
}

int TreeCopy::copyLink(const std::string& name, const std::string& newName,
                       const struct stat& original) {
    std::string target(256, '\0');
    for (;;) {
        const ssize_t length =
            ::readlinkat(from_.descriptor(), name.c_str(), target.data(), target.size());
        if (length < 0) return errno;
        if (static_cast<std::size_t>(length) < target.size()) {
            target.resize(static_cast<std::size_t>(length));
            break;
        }
        target.resize(target.size() * 2);
    }
    if (::symlinkat(target.c_str(), to_.descriptor(), newName.c_str()) != 0) return errno;
    const auto dates = datesOf(original);
    return ::utimensat(to_.descriptor(), newName.c_str(), dates.data(), AT_SYMLINK_NOFOLLOW) == 0
               ? 0
               : errno;
}

int TreeCopy::beginFolder(const std::string& name, const std::string& newName) {
    Level level = {name, {}, {}};
    if (int error = from_.enter(name); error != 0) return error;
    if (int error = from_.status(level.original); error != 0) return error;
    if (int error = from_.names(level.names); error != 0) return error;
    level.names = {level.names.rbegin(), level.names.rend()};
    // Writable for now, whatever the original says; endFolder gives it the original's mode.
    if (::mkdirat(to_.descriptor(), newName.c_str(), 0700) != 0) return errno;
    if (int error = to_.enter(newName); error != 0) return error;
    levels_.push_back(std::move(level));
    return 0;
}

int TreeCopy::endFolder() {
    const struct stat original = levels_.back().original;
    current_ = std::move(levels_.back().name);
    levels_.pop_back();
    FileDescriptor copy;
    int error = to_.leave(&copy);
    if (error == 0) error = from_.leave();
    return error == 0 ? finish(copy.get(), original) : error;
}

/// The original may be removed, or the copy renamed into its place, as soon as the copy is done: it
/// must not be lost with the power then.
int TreeCopy::finish(int copy, const struct stat& original) const {
    if (int error = setModeAndDates(copy, original); error != 0) return error;
    return levels_.empty() ? synchronizeVolume(copy) : 0;
}

/// True when the folder is the tree itself or somewhere inside it.
bool liesInside(std::string folder, const struct stat& tree) {
    struct stat below = {};
    struct stat here = {};
    while (::stat(folder.c_str(), &here) == 0) {
        if (here.st_dev == tree.st_dev && here.st_ino == tree.st_ino) return true;
        if (here.st_dev == below.st_dev && here.st_ino == below.st_ino) return false;  // the root
        below = here;
        folder += "/..";
    }
    return false;
}

}  // namespace

std::optional<Error> FileManager::copyItem(std::string_view from, std::string_view to) const {
    const auto original = hostPathOfItem(from);
    if (!original) return original.error();
    const auto copy = hostPathOfItem(to);
    if (!copy) return copy.error();
    struct stat status = {};
    if (::lstat(original->c_str(), &status) != 0) return Error::posix(errno);
    struct stat existing = {};
    if (::lstat(copy->c_str(), &existing) == 0) return Error::posix(EEXIST);
    // A tree copied into itself would find its own copy, and never end.
    std::string parent = pathByDeletingLastComponent(*copy);
    if (parent.empty()) parent = ".";
    if (S_ISDIR(status.st_mode) && liesInside(std::move(parent), status))
        return Error::posix(EINVAL);
    return TreeCopy().run(*original, *copy);
}

}  // namespace quillmore::platform
