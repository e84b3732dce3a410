// Access to the file system. Every path is taken relative to a root folder, "" in the program
// itself; a test gives a folder of its own and the absolute paths of the system fall inside it. An
// object has no state besides the root: cheap to make, safe to use from several threads.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Values/Result.h"

namespace quillmore::platform {

enum class FileType { regular, directory, symbolicLink, other };

struct FileAttributes {
    FileType type = FileType::other;
    std::string ownerAccountName;  ///< The user id in decimal when the id has no account.
    mode_t posixPermissions = 0;   ///< The twelve bits 07777.
    std::uint64_t size = 0;
};

class FileManager {
public:
    FileManager() = default;
    explicit FileManager(std::string root) : root_(std::move(root)) {}
    FileManager(const FileManager&) = delete;
    FileManager& operator=(const FileManager&) = delete;
    virtual ~FileManager() = default;

    /// The path as the kernel is given it.
    std::string hostPath(std::string_view path) const { return root_ + std::string(path); }

    /// Symbolic links are followed: a dangling one does not exist. An empty path does not exist.
    bool fileExists(std::string_view path) const;
    bool isDirectory(std::string_view path) const;
    virtual bool isWritable(std::string_view path) const;
    /// Of the item itself: a final symbolic link is not followed.
    virtual std::optional<FileAttributes> attributes(std::string_view path) const;
    /// Names in the folder, in byte order, without "." and "..".
    Result<std::vector<std::string>> contentsOfDirectory(std::string_view path) const;
    /// Device and inode, to recognise a folder met before; nothing when there is none.
    std::optional<std::pair<std::uint64_t, std::uint64_t>> identity(std::string_view path) const;

    /// The bytes of a regular file. Anything else (folder, FIFO, device) and files over `maximum`
    /// bytes give an error of `kFileErrorDomain` at once; a missing file one of `kPosixErrorDomain`
    /// (ENOENT).
    Result<std::string> contents(std::string_view path, std::uint64_t maximum) const;
    /// Writes beside the target and renames into place, synced to disk; a kill leaves old or new,
    /// and perhaps a file ".quillmore-XXXXXX" there, which a later write into the folder removes.
    std::optional<Error> writeAtomically(std::string_view path, std::string_view bytes,
                                         mode_t mode) const;
    /// Creates the folder and missing parents; `mode` applies to each, under the umask. A folder
    /// that exists is a success and stays as it is; a file in its place is an error (EEXIST, above
    /// it ENOTDIR).
    virtual std::optional<Error> createDirectory(std::string_view path, mode_t mode) const;
    /// Copies a file, link or folder tree with modes and dates. The copy belongs to the user, so a
    /// set-user-ID bit is kept only of an original of the user's own. Errors: an existing target
    /// (EEXIST), a folder into itself (EINVAL), FIFOs and devices (EOPNOTSUPP). After an error what
    /// has been copied so far is still there: to remove it is the caller's decision.
    virtual std::optional<Error> copyItem(std::string_view from, std::string_view to) const;
    /// Gives an item another path on the same volume, in one stroke. Errors: an existing target
    /// (EEXIST), another volume (EXDEV).
    virtual std::optional<Error> moveItem(std::string_view from, std::string_view to) const;
    /// Removes a file, link or folder tree; links are removed, not followed. Folders of the user's
    /// own that nobody may read or write are opened and removed too. Nothing there: ENOENT.
    virtual std::optional<Error> removeItem(std::string_view path) const;

private:
    /// The host path of an item without trailing slashes, which would follow a link. An error for a
    /// path that names no item of a folder: an empty one (ENOENT), the root folder, one with a NUL,
    /// and one that ends with "." or ".." (EINVAL).
    Result<std::string> hostPathOfItem(std::string_view path) const;

    std::string root_;
};

}  // namespace quillmore::platform
