#include "Platform/Linux/LinuxTrash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

#include "Platform/Files/FileManager.h"
#include "Platform/Files/Paths.h"
#include "Platform/Linux/TrashFolder.h"

namespace quillmore::platform {

namespace {

enum class Outcome { moved, notHere, failed };

/// Which volume a path lies on. A folder mounted a second time is a volume of its own: nothing can
/// be renamed from one mount to another even of the same file system.
struct Volume {
    std::uint32_t deviceMajor = 0;
    std::uint32_t deviceMinor = 0;
    std::uint64_t mount = 0;  ///< 0 where the kernel does not tell.
    bool operator==(const Volume&) const = default;
};

/// Of the item itself, a link not followed; nothing when it is not there.
std::optional<Volume> volumeOf(const std::string& hostPath) {
    struct statx status = {};
    if (::statx(AT_FDCWD, hostPath.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE | STATX_MNT_ID,
                &status) != 0)
        return std::nullopt;
    const bool tellsMount = (status.stx_mask & STATX_MNT_ID) != 0;
    return Volume{status.stx_dev_major, status.stx_dev_minor,
                  tellsMount ? std::uint64_t{status.stx_mnt_id} : 0};
}

/// The mount point of the volume that an existing folder lies on; the folder is a path without
/// symbolic links.
std::string topFolderOfVolume(std::string folder) {
    const auto volume = volumeOf(folder);
    while (folder != "/") {
        std::string parent = pathByDeletingLastComponent(folder);
        if (parent.empty() || volumeOf(parent) != volume) break;
        folder = std::move(parent);
    }
    return folder;
}

/// The path without symbolic links above the item, which must not be the top of a volume.
std::optional<std::string> resolvedPath(const std::string& path) {
    const std::string name = lastPathComponent(path);
    if (!path.starts_with('/') || !isPlainName(name)) return std::nullopt;
    const std::unique_ptr<char, void (*)(void*)> folder(
        ::realpath(pathByDeletingLastComponent(path).c_str(), nullptr), ::free);
    if (!folder) return std::nullopt;
    return pathByAppending(folder.get(), name);
}

Outcome moveInto(const TrashFolder& trash, const std::string& path,
                 const std::string& pathInEntry) {
    auto place = trash.makePlace(lastPathComponent(path), pathInEntry);
    if (!place) return Outcome::notHere;
    const int error = renameExclusively(path, place->item());
    if (error == 0) {
        place->keep();
        return Outcome::moved;
    }
    return error == EXDEV ? Outcome::notHere : Outcome::failed;
}

/// An administrator's folder for all users counts only with the sticky bit: without it one user
/// could take away another's.
bool isSharedTrash(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           (status.st_mode & S_ISVTX) != 0;
}

bool liesInside(const std::string& path, const std::string& folder) {
    return path.starts_with(folder + "/");
}

Outcome moveIntoTrashOfVolume(const std::string& top, const std::string& path, uid_t user) {
    const std::string inEntry = path.substr(top == "/" ? 1 : top.size() + 1);
    const std::string number = std::to_string(user);
    const std::string shared = pathByAppending(top, ".Trash");
    const std::string ofUser = pathByAppending(shared, number);
    const std::string own = pathByAppending(top, ".Trash-" + number);
    if (liesInside(path, ofUser) || liesInside(path, own)) return Outcome::moved;
    Outcome outcome = Outcome::notHere;
    if (isSharedTrash(shared)) {
        if (const auto trash = TrashFolder::open(ofUser, user))
            outcome = moveInto(*trash, path, inEntry);
    }
    if (outcome != Outcome::notHere) return outcome;
    const auto trash = TrashFolder::open(own, user);
    return trash ? moveInto(*trash, path, inEntry) : Outcome::notHere;
}

/// The item goes only when its copy is whole, and only from a folder that lets it go.
Outcome copyInto(const TrashFolder& trash, const std::string& path) {
    if (::access(pathByDeletingLastComponent(path).c_str(), W_OK) != 0) return Outcome::failed;
    auto place = trash.makePlace(lastPathComponent(path), path);
    if (!place) return Outcome::failed;
    const FileManager files;
    if (files.copyItem(path, place->item())) {
        files.removeItem(place->item());
        return Outcome::failed;
    }
    place->keep();
    return files.removeItem(path) ? Outcome::failed : Outcome::moved;
}

/// The home folder's Trash may be a link to a place with more room.
std::string resolvedHomeTrash(const std::string& path) {
    FileManager().createDirectory(path, 0700);
    const std::unique_ptr<char, void (*)(void*)> resolved(::realpath(path.c_str(), nullptr),
                                                          ::free);
    return resolved ? resolved.get() : path;
}

}  // namespace

std::string homeTrashFolder(const std::string& homeFolder) {
    const char* data = std::getenv("XDG_DATA_HOME");
    const bool isUsable = data != nullptr && data[0] == '/';
    return pathByAppending(isUsable ? data : pathByAppending(homeFolder, ".local/share"), "Trash");
}

LinuxTrash::LinuxTrash(std::string homeTrash, uid_t user)
    : homeTrash_(std::move(homeTrash)), user_(user) {}

bool LinuxTrash::recycle(const std::string& path) const {
    const auto item = resolvedPath(path);
    const auto volume = item ? volumeOf(*item) : std::nullopt;
    if (!volume) return false;
    const std::string folder = pathByDeletingLastComponent(*item);
    if (volumeOf(folder) != volume) return false;  // a mount point cannot be moved

    const std::string homeTrash = resolvedHomeTrash(homeTrash_);
    if (liesInside(*item, homeTrash)) return true;
    const auto home = TrashFolder::open(homeTrash, user_);
    Outcome outcome = Outcome::notHere;
    if (home && volumeOf(homeTrash) == volume) outcome = moveInto(*home, *item, *item);
    if (outcome == Outcome::notHere)
        outcome = moveIntoTrashOfVolume(topFolderOfVolume(folder), *item, user_);
    if (outcome == Outcome::notHere && home) outcome = copyInto(*home, *item);
    return outcome == Outcome::moved;
}

}  // namespace quillmore::platform
