#include "UpdateTool/Disk/TreeRemoval.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/VolumeEntries.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

/// Archives are refused long before they are as deep; each level holds a descriptor.
constexpr int kMaximumDepth = 100;
/// Four times what an archive may hold, and no more than others may be kept waiting for.
constexpr std::size_t kMaximumRemovals = 200'000;

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// What an installed tool's rights were ends with it, also under a second name that somebody gave
/// it.
void takeBitsAway(int folder, const std::string& name) {
    struct stat status {};
    if (!examineEntry(folder, name, status) || !S_ISREG(status.st_mode) ||
        (status.st_mode & (S_ISUID | S_ISGID)) == 0)
        return;
    const FileDescriptor file = openEntry(folder, name, O_RDONLY | O_NONBLOCK);
    if (file) ::fchmod(file.get(), status.st_mode & 0777);
}

class Removal {
public:
    explicit Removal(const Context& context) : context_(context) {}

    bool remove(int parent, const struct stat& above, const std::string& name, int depth) {
        if (depth > kMaximumDepth || left_ == 0) return false;
        --left_;
        if (isTrusted(context_, above)) takeBitsAway(parent, name);
        if (::unlinkat(parent, name.c_str(), 0) == 0 || errno == ENOENT) return true;
        const FileDescriptor folder = openFolder(parent, name);
        struct stat status {};
        if (!folder || ::fstat(folder.get(), &status) != 0 || !belongs(status, above)) return false;
        for (const std::string& child : namesIn(folder.get(), left_).value_or(Names()))
            remove(folder.get(), status, child, depth + 1);
        return ::unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0;
    }

private:
    /// What is in a folder that root alone may write, root has put there. Into another one somebody
    /// may have moved a third one's. What is mounted there is not even opened.
    bool belongs(const struct stat& folder, const struct stat& above) const {
        return folder.st_uid == above.st_uid || isTrusted(context_, above);
    }

    const Context& context_;
    std::size_t left_ = kMaximumRemovals;
};

}  // namespace

std::optional<Names> namesIn(int folder, std::size_t maximum) {
    FileDescriptor own = openFolder(folder, ".");
    const std::unique_ptr<DIR, CloseFolder> stream(own ? ::fdopendir(own.get()) : nullptr);
    if (stream == nullptr) return std::nullopt;
    own.release();
    Names names;
    while (const dirent* entry = names.size() < maximum ? ::readdir(stream.get()) : nullptr) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    return names;
}

bool removeTree(const Context& context, int parent, const std::string& name) {
    struct stat above {};
    return ::fstat(parent, &above) == 0 && Removal(context).remove(parent, above, name, 0);
}

}  // namespace quillmore::updatetool
