// The system has no mount of a folder beside its volume: device numbers tell them apart.
#ifdef __APPLE__

#include <fcntl.h>

#include <cerrno>

#include "UpdateTool/Disk/VolumeEntries.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

FileDescriptor openEntry(int folder, const std::string& name, int flags) {
    struct stat status {};
    if (!examineEntry(folder, name, status)) return {};
    FileDescriptor entry(::openat(folder, name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC));
    struct stat opened {};
    if (entry && (::fstat(entry.get(), &opened) != 0 || opened.st_dev != status.st_dev)) {
        entry.reset();
        errno = EXDEV;
    }
    return entry;
}

bool examineEntry(int folder, const std::string& name, struct stat& status) {
    struct stat own {};
    if (::fstat(folder, &own) != 0 ||
        ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    if (own.st_dev == status.st_dev) return true;
    errno = EXDEV;
    return false;
}

}  // namespace quillmore::updatetool

#endif
