// What is there: questions about files and folders, and reading them.
#include "Platform/Files/FileManager.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "Platform/Files/FolderCursor.h"
#include "Platform/Files/Paths.h"

namespace quillmore::platform {

namespace {

/// The kernel would take an empty path below a root for the root itself, and cut one at a NUL.
bool isUsable(std::string_view path) {
    return !path.empty() && path.find('\0') == std::string_view::npos;
}

Error unusablePathError(std::string_view path) {
    return Error::posix(path.empty() ? ENOENT : EINVAL);
}

FileType typeOf(mode_t mode) {
    if (S_ISREG(mode)) return FileType::regular;
    if (S_ISDIR(mode)) return FileType::directory;
    if (S_ISLNK(mode)) return FileType::symbolicLink;
    return FileType::other;
}

std::string accountName(uid_t user) {
    std::string buffer(1024, '\0');
    passwd entry = {};
    passwd* found = nullptr;
    int error = 0;
    while ((error = ::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found)) == ERANGE)
        buffer.resize(buffer.size() * 2);
    return error == 0 && found != nullptr ? found->pw_name : std::to_string(user);
}

Error notRegularError() {
    return Error::file("is not a regular file");
}

Error tooLargeError(std::uint64_t maximum) {
    return Error::file("is larger than " + std::to_string(maximum) + " bytes");
}

/// Reads to the end. A file may grow meanwhile, and one of /proc claims no size: `expected` is only
/// the first guess, `maximum` holds in any case.
Result<std::string> readToEnd(int file, std::uint64_t expected, std::uint64_t maximum) {
    std::string bytes(expected + 1, '\0');  // one more, so that the end shows without growing
    std::size_t filled = 0;
    for (;;) {
        const ssize_t count = ::read(file, bytes.data() + filled, bytes.size() - filled);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return Error::posix(errno);
        if (count == 0) break;
        filled += static_cast<std::size_t>(count);
        if (filled > maximum) return tooLargeError(maximum);
        if (filled == bytes.size()) bytes.resize(std::max<std::size_t>(filled * 2, 4096));
    }
    bytes.resize(filled);
    return bytes;
}

}  // namespace

Result<std::string> FileManager::hostPathOfItem(std::string_view path) const {
    if (!isUsable(path)) return unusablePathError(path);
    const std::string_view::size_type last = path.find_last_not_of('/');
    if (last == std::string_view::npos) return Error::posix(EINVAL);
    const std::string_view item = path.substr(0, last + 1);
    const std::string name = lastPathComponent(item);
    if (name == "." || name == "..") return Error::posix(EINVAL);
    return hostPath(item);
}

bool FileManager::fileExists(std::string_view path) const {
    return identity(path).has_value();
}

bool FileManager::isDirectory(std::string_view path) const {
    struct stat status = {};
    return isUsable(path) && ::stat(hostPath(path).c_str(), &status) == 0 &&
           S_ISDIR(status.st_mode);
}

bool FileManager::isWritable(std::string_view path) const {
    return isUsable(path) && ::access(hostPath(path).c_str(), W_OK) == 0;
}

std::optional<FileAttributes> FileManager::attributes(std::string_view path) const {
    struct stat status = {};
    if (!isUsable(path) || ::lstat(hostPath(path).c_str(), &status) != 0) return std::nullopt;
    return FileAttributes{typeOf(status.st_mode), accountName(status.st_uid),
                          static_cast<mode_t>(status.st_mode & 07777),
                          static_cast<std::uint64_t>(status.st_size)};
}

Result<std::vector<std::string>> FileManager::contentsOfDirectory(std::string_view path) const {
    if (!isUsable(path)) return unusablePathError(path);
    FileDescriptor folder(
        ::open(hostPath(path).c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
    if (!folder) return Error::posix(errno);
    std::vector<std::string> names;
    const int error = namesInFolder(std::move(folder), names);
    if (error != 0) return Error::posix(error);
    return names;
}

std::optional<std::pair<std::uint64_t, std::uint64_t>> FileManager::identity(
    std::string_view path) const {
    struct stat status = {};
    if (!isUsable(path) || ::stat(hostPath(path).c_str(), &status) != 0) return std::nullopt;
    return std::pair{static_cast<std::uint64_t>(status.st_dev),
                     static_cast<std::uint64_t>(status.st_ino)};
}

Result<std::string> FileManager::contents(std::string_view path, std::uint64_t maximum) const {
    if (!isUsable(path)) return unusablePathError(path);
    // Not blocking: the open of a FIFO without a writer, or of a silent terminal, would never end.
    const FileDescriptor file(
        ::open(hostPath(path).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file) return errno == ENXIO ? notRegularError() : Error::posix(errno);  // ENXIO: a socket
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0) return Error::posix(errno);
    if (!S_ISREG(status.st_mode)) return notRegularError();
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size > maximum) return tooLargeError(maximum);
    return readToEnd(file.get(), size, maximum);
}

}  // namespace quillmore::platform
