#include "Platform/Files/FolderCursor.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

namespace quillmore::platform {

namespace {

/// Ordinary trees are flatter than this, so that they never need the way through "..".
constexpr std::size_t kFoldersKeptOpen = 16;

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

}  // namespace

int FolderCursor::descriptor() const {
    return frames_.empty() ? AT_FDCWD : frames_.back().folder.get();
}

int FolderCursor::enter(const std::string& name) {
    FileDescriptor folder(::openat(descriptor(), name.c_str(),
                                   O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (!folder || ::fstat(folder.get(), &status) != 0) return errno;
    frames_.push_back({name, std::move(folder), status.st_dev, status.st_ino});
    if (frames_.size() > kFoldersKeptOpen)
        frames_[frames_.size() - 1 - kFoldersKeptOpen].folder.reset();
    return 0;
}

int FolderCursor::leave(FileDescriptor* left) {
    FileDescriptor child = std::move(frames_.back().folder);
    frames_.pop_back();
    int error = 0;
    if (!frames_.empty() && !frames_.back().folder) {
        Frame& parent = frames_.back();
        FileDescriptor above(
            ::openat(child.get(), "..", O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
        struct stat found = {};
        if (!above || ::fstat(above.get(), &found) != 0) {
            error = errno;
        } else if (found.st_dev != parent.device || found.st_ino != parent.inode) {
            error = ESTALE;
        } else {
            parent.folder = std::move(above);
        }
    }
    if (left != nullptr) *left = std::move(child);
    return error;
}

int FolderCursor::status(struct stat& status) const {
    return ::fstat(descriptor(), &status) == 0 ? 0 : errno;
}

int FolderCursor::names(std::vector<std::string>& names) const {
    FileDescriptor copy(::fcntl(descriptor(), F_DUPFD_CLOEXEC, 0));
    if (!copy) return errno;
    return namesInFolder(std::move(copy), names);
}

std::string FolderCursor::innerPath(const std::string& name, std::size_t depth) const {
    if (depth == 0) return {};
    std::string path;
    for (std::size_t i = 1; i < depth; ++i) path += frames_[i].name + "/";
    return path + name;
}

Error errorInTree(int errorNumber, const std::string& innerPath) {
    const Error error = Error::posix(errorNumber);
    if (innerPath.empty()) return error;
    Dictionary userInfo = error.userInfo();
    userInfo.insert_or_assign(kLocalizedDescriptionKey,
                              error.localizedDescription() + ": \"" + innerPath + "\"");
    return Error(error.domain(), error.code(), std::move(userInfo));
}

int namesInFolder(FileDescriptor folder, std::vector<std::string>& names) {
    const std::unique_ptr<DIR, DirectoryCloser> directory(::fdopendir(folder.get()));
    if (directory == nullptr) return errno;
    folder.release();
    names.clear();
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(directory.get());
        if (entry == nullptr) break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    if (errno != 0) return errno;
    std::sort(names.begin(), names.end());
    return 0;
}

}  // namespace quillmore::platform
