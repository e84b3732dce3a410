// What the file manager makes in one stroke: files, folders, and another path for an item.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/FileManager.h"

namespace quillmore::platform {

namespace {

/// A new file under a name of its own; removed again unless it was renamed into place.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string pattern) : path_(std::move(pattern)) {
        file_ = FileDescriptor(::mkostemp(path_.data(), O_CLOEXEC));
        exists_ = static_cast<bool>(file_);
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

    // The name is short whatever the target's: a long one must not make the file impossible.
    TemporaryFile file(folder + ".quillmore-XXXXXX");
    if (!file.exists()) return Error::posix(errno);
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
