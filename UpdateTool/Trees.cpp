#include "UpdateTool/Trees.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <vector>

#include "Platform/FileDescriptor.h"
#include "UpdateTool/Failure.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kNewFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
/// Archives are refused long before they are as deep; each level holds two descriptors.
constexpr int kMaximumDepth = 100;

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

std::vector<std::string> namesIn(const FileDescriptor& folder) {
    FileDescriptor own(::openat(folder.get(), ".", kFolderFlags));
    const std::unique_ptr<DIR, CloseFolder> stream(own ? ::fdopendir(own.get()) : nullptr);
    if (stream == nullptr) return {};
    own.release();
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(stream.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    return names;
}

bool removeAtDepth(int parent, const std::string& name, int depth) {
    if (::unlinkat(parent, name.c_str(), 0) == 0 || errno == ENOENT) return true;
    const FileDescriptor folder(::openat(parent, name.c_str(), kFolderFlags));
    if (!folder || depth > kMaximumDepth) return false;
    for (const std::string& child : namesIn(folder)) removeAtDepth(folder.get(), child, depth + 1);
    return ::unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0;
}

}  // namespace

bool removeTree(int parent, const std::string& name) {
    return removeAtDepth(parent, name, 0);
}

void writeAll(int file, const void* bytes, std::size_t size, const std::string& shown) {
    const char* start = static_cast<const char*>(bytes);
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = ::write(file, start + done, size - done);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) failWithSystemError(EX_CANTCREAT, "cannot write " + quoted(shown));
        done += static_cast<std::size_t>(count);
    }
}

void finishFile(const Context& context, int file, mode_t mode, const std::string& shown) {
    // The owner first: changing it takes set-user-ID bits away.
    if (::fchown(file, context.owner, context.group) != 0 || ::fchmod(file, mode) != 0 ||
        ::fsync(file) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot finish " + quoted(shown));
}

void writeFile(const Context& context, int folder, const std::string& name, const Bytes& bytes,
               mode_t mode) {
    const FileDescriptor file(::openat(folder, name.c_str(), kNewFileFlags, 0600));
    if (!file) failWithSystemError(EX_CANTCREAT, "cannot write " + quoted(name));
    writeAll(file.get(), bytes.data(), bytes.size(), name);
    finishFile(context, file.get(), mode, name);
}

}  // namespace quillmore::updatetool
