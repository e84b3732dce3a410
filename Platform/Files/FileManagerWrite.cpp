// What the file manager makes in one stroke: files, folders, and another path for an item.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/FileManager.h"
#include "Platform/Files/FolderCursor.h"

namespace quillmore::platform {

namespace {

// The name is short whatever the target's: a long one must not make the file impossible.
constexpr std::string_view kTemporaryPrefix = ".quillmore-";
constexpr std::string_view kTemporaryPattern = "XXXXXX";

/// A new file under a name of its own; removed again unless it was renamed into place. It is locked
/// while it is in use, so that others can tell it from what a killed process has left.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& folder)
        : path_(folder + std::string(kTemporaryPrefix) + std::string(kTemporaryPattern)) {
        file_ = FileDescriptor(::mkostemp(path_.data(), O_CLOEXEC));
        exists_ = static_cast<bool>(file_);
        // Without a lock (some file systems know none) its age alone protects it.
        if (exists_) ::flock(file_.get(), LOCK_EX | LOCK_NB);
    }
    ~TemporaryFile() {
        if (exists_) ::unlink(path_.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    bool exists() const { return exists_; }
    int descriptor() const { return file_.get(); }
    /// 0 or an error number.
    int renameTo(const std::string& target) {
        if (::rename(path_.c_str(), target.c_str()) != 0) return errno;
        exists_ = false;
        return 0;
    }

private:
    std::string path_;
    FileDescriptor file_;
    bool exists_ = false;
};

/// Makes a rename in the folder last. A folder that may be written but not read cannot be synced,
/// and some file systems have no such call (EINVAL): the rename itself has then still been done.
int syncFolder(const std::string& path) {
    const FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder || ::fsync(folder.get()) == 0 || errno == EINVAL) return 0;
    return errno;
}

/// Of the user's own, older by far than a write takes, and held by nobody.
bool isLeftOver(int folder, const std::string& name, time_t now) {
    constexpr time_t kOld = 10 * 60;
    const FileDescriptor file(
        ::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status = {};
    return file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_uid == ::geteuid() && now - status.st_mtime > kOld &&
           ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

/// Removes what writers that were killed have left in the folder. `now` by the folder's own clock.
/// What does not go stays for the next writer.
void removeLeftOvers(const std::string& path, time_t now) {
    const FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    FileDescriptor listed(folder ? ::fcntl(folder.get(), F_DUPFD_CLOEXEC, 0) : -1);
    std::vector<std::string> names;
    if (!listed || namesInFolder(std::move(listed), names) != 0) return;
    for (const std::string& name : names) {
        const bool isOurs = name.starts_with(kTemporaryPrefix) &&
                            name.size() == kTemporaryPrefix.size() + kTemporaryPattern.size();
        if (isOurs && isLeftOver(folder.get(), name, now))
            ::unlinkat(folder.get(), name.c_str(), 0);
    }
}

bool isFolder(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// mkdir which is content with a folder that is there, whoever made it.
int makeFolder(const std::string& path, mode_t mode) {
    if (::mkdir(path.c_str(), mode) == 0) return 0;
    const int error = errno;
    return error == EEXIST && isFolder(path) ? 0 : error;
}

}  // namespace

std::optional<Error> FileManager::writeAtomically(std::string_view path, std::string_view bytes,
                                                  mode_t mode) const {
    if (path.empty()) return Error::posix(ENOENT);
    if (path.find('\0') != std::string_view::npos) return Error::posix(EINVAL);
    const std::string target = hostPath(path);
    const std::string::size_type slash = target.rfind('/');
    const std::string folder = slash == std::string::npos ? "./" : target.substr(0, slash + 1);

    TemporaryFile file(folder);
    if (!file.exists()) return Error::posix(errno);
    struct stat created = {};
    if (::fstat(file.descriptor(), &created) == 0) removeLeftOvers(folder, created.st_mtime);
    int error = writeAll(file.descriptor(), bytes);
    if (error == 0 && ::fchmod(file.descriptor(), mode) != 0) error = errno;
    if (error == 0 && ::fsync(file.descriptor()) != 0) error = errno;
    if (error == 0) error = file.renameTo(target);
    if (error == 0) error = syncFolder(folder);
    if (error != 0) return Error::posix(error);
    return std::nullopt;
}

std::optional<Error> FileManager::createDirectory(std::string_view path, mode_t mode) const {
    if (path.empty()) return Error::posix(ENOENT);
    if (path.find('\0') != std::string_view::npos) return Error::posix(EINVAL);
    const std::string target = hostPath(path);
    int error = makeFolder(target, mode);
    if (error != ENOENT) return error == 0 ? std::nullopt : std::optional(Error::posix(error));

    // From the top, without a look at what is there already: folders above may be out of reach for
    // writing, and mkdir answers EEXIST for them.
    for (std::string::size_type end = target.find('/', 1); end != std::string::npos;
         end = target.find('/', end + 1)) {
        const std::string level = target.substr(0, end);
        if (isFolder(level)) continue;
        error = makeFolder(level, mode);
        if (error != 0) return Error::posix(error);
    }
    error = makeFolder(target, mode);
    if (error != 0) return Error::posix(error);
    return std::nullopt;
}

std::optional<Error> FileManager::moveItem(std::string_view from, std::string_view to) const {
    const auto original = hostPathOfItem(from);
    if (!original) return original.error();
    const auto target = hostPathOfItem(to);
    if (!target) return target.error();
    // The system would put a file in the place of another one without a word.
    struct stat existing = {};
    if (::lstat(target->c_str(), &existing) == 0) return Error::posix(EEXIST);
    if (::rename(original->c_str(), target->c_str()) != 0) return Error::posix(errno);
    return std::nullopt;
}

}  // namespace quillmore::platform
