#include "Platform/Linux/Administrator/TreeCopy.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <vector>

#include "Platform/Files/FolderCursor.h"
#include "Platform/Linux/Administrator/Actor.h"
#include "Platform/Linux/Administrator/FolderEntry.h"
#include "Platform/Linux/Administrator/TreeRemoval.h"

namespace quillmore::platform::administrator {

namespace {

constexpr int kNewFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

std::array<timespec, 2> datesOf(const struct stat& original) {
    return {original.st_atim, original.st_mtim};
}

int copyBytes(int from, int to) {
    std::vector<char> block(256 * 1024);
    for (;;) {
        const ssize_t count = ::read(from, block.data(), block.size());
        if (count == 0) return 0;
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        if (const int error = writeAll(to, {block.data(), static_cast<std::size_t>(count)}))
            return error;
    }
}

/// An entry of the original, and who may read it.
struct Original {
    int folder;
    uid_t reader;
    const std::string& name;

    int status(struct stat& status) const {
        const ActingAs acting(reader);
        return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
    }
    FileDescriptor open() const {
        const ActingAs acting(reader);
        return openEntry(folder, name);
    }
    int linkTarget(std::string& target) const {
        const ActingAs acting(reader);
        target.resize(PATH_MAX);
        const ssize_t size = ::readlinkat(folder, name.c_str(), target.data(), target.size());
        if (size < 0) return errno;
        target.resize(static_cast<std::size_t>(size));
        return size < PATH_MAX ? 0 : ENAMETOOLONG;
    }
};

/// Every function gives 0 or an error number. Who reads never becomes root again on the way down,
/// and all of the copy is made as one and the same `maker`.
class Copy {
public:
    explicit Copy(uid_t maker) : maker_(maker) {}

    int entry(const Original& from, int to, const std::string& newName, int level) const {
        struct stat status {};
        if (const int error = from.status(status); error != 0) return error;
        if (S_ISLNK(status.st_mode)) return link(from, status, to, newName);
        // Before it is opened, and again afterwards: opening a device can do things.
        if (!hasContent(status)) return EOPNOTSUPP;
        FileDescriptor opened = from.open();
        if (!opened || ::fstat(opened.get(), &status) != 0) return errno;
        if (!hasContent(status)) return EOPNOTSUPP;
        if (S_ISREG(status.st_mode)) return file(opened.get(), status, to, newName);
        if (level >= kMostLevels) return ELOOP;
        const uid_t inside = from.reader == 0 ? status.st_uid : from.reader;
        return folder(std::move(opened), status, inside, to, newName, level);
    }

private:
    static bool hasContent(const struct stat& status) {
        return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
    }
    int file(int original, const struct stat& status, int to, const std::string& newName) const {
        const ActingAs acting(maker_);
        const FileDescriptor copy(::openat(to, newName.c_str(), kNewFileFlags, S_IRUSR | S_IWUSR));
        if (!copy) return errno;
        const int error = copyBytes(original, copy.get());
        return error != 0 ? error : finish(copy.get(), status);
    }
    int folder(FileDescriptor original, const struct stat& status, uid_t reader, int to,
               const std::string& newName, int level) const {
        const FileDescriptor copy = makeFolder(to, newName);
        FileDescriptor list(::fcntl(original.get(), F_DUPFD_CLOEXEC, 0));
        if (!copy || !list) return errno;
        std::vector<std::string> names;
        int error = namesInFolder(std::move(list), names);
        for (auto name = names.begin(); error == 0 && name != names.end(); ++name)
            error = entry({original.get(), reader, *name}, copy.get(), *name, level + 1);
        if (error != 0) return error;
        const ActingAs acting(maker_);
        return finish(copy.get(), status);
    }
    /// Its maker's alone until finish().
    FileDescriptor makeFolder(int to, const std::string& name) const {
        const ActingAs acting(maker_);
        if (::mkdirat(to, name.c_str(), S_IRWXU) != 0) return {};
        return openEntry(to, name, O_DIRECTORY);
    }
    int link(const Original& from, const struct stat& status, int to,
             const std::string& newName) const {
        std::string target;
        if (const int error = from.linkTarget(target); error != 0) return error;
        const ActingAs acting(maker_);
        const auto dates = datesOf(status);
        const char* const name = newName.c_str();
        if (::symlinkat(target.c_str(), to, name) != 0) return errno;
        if (maker_ == 0 &&
            ::fchownat(to, name, status.st_uid, status.st_gid, AT_SYMLINK_NOFOLLOW) != 0)
            return errno;
        return ::utimensat(to, name, dates.data(), AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
    }
    int finish(int copy, const struct stat& original) const {
        const auto dates = datesOf(original);
        // The owner first: changing it takes bits of the mode away.
        if (maker_ == 0 && ::fchown(copy, original.st_uid, original.st_gid) != 0) return errno;
        const bool isDone =
            ::fchmod(copy, original.st_mode & 0777) == 0 && ::futimens(copy, dates.data()) == 0;
        return isDone ? 0 : errno;
    }

    const uid_t maker_;
};

/// No application's name.
std::string nameOfPiece(const Place& copy) {
    return "." + copy.name + ".incomplete";
}

int giveName(const Place& copy) {
    const ActingAs acting(copy.actor);
    const int folder = copy.folder.get();
    const std::string piece = nameOfPiece(copy);
    if (::renameat2(folder, piece.c_str(), folder, copy.name.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    // Not every file system can refuse to replace; what is there was looked for before.
    if (errno != EINVAL) return errno;
    return ::renameat(folder, piece.c_str(), folder, copy.name.c_str()) == 0 ? 0 : errno;
}

/// The original may be removed as soon as the copy is done: it must not be lost with the power.
int synchronize(const Place& place) {
    const ActingAs acting(place.actor);
    const FileDescriptor folder = openEntry(place.folder.get(), ".", O_DIRECTORY);
    return folder && ::syncfs(folder.get()) == 0 ? 0 : errno;
}

int makeCopy(const Place& original, const Place& copy) {
    struct stat status {};
    if (::fstatat(copy.folder.get(), copy.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0)
        return EEXIST;
    int error = Copy(copy.actor)
                    .entry({original.folder.get(), original.actor, original.name},
                           copy.folder.get(), nameOfPiece(copy), 0);
    if (error == 0) error = synchronize(copy);
    return error == 0 ? giveName(copy) : error;
}

}  // namespace

int copyTree(const Place& original, const Place& copy) {
    // What a killed program left makes room.
    if (const int error = removePiece(copy); error != 0) return error;
    const int error = makeCopy(original, copy);
    if (error != 0) removePiece(copy);
    return error;
}

int removePiece(const Place& copy) {
    Place piece;
    piece.folder = FileDescriptor(::fcntl(copy.folder.get(), F_DUPFD_CLOEXEC, 0));
    piece.name = nameOfPiece(copy);
    piece.actor = copy.actor;
    piece.reachedByUsersLink = copy.reachedByUsersLink;
    return piece.folder ? removeTree(piece) : errno;
}

}  // namespace quillmore::platform::administrator
