#include "Platform/Linux/Administrator/FolderEntry.h"

#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace quillmore::platform::administrator {

namespace {

/// Somebody has a lease on the file, a file server for one: the system asks for it back, and takes
/// it after 45 seconds at the latest.
constexpr int kMostPauses = 1200;
constexpr useconds_t kPauseMicroseconds = 50'000;

/// Where the system cannot be told to stay on the file system: it is looked at afterwards.
FileDescriptor openAndCompare(int folder, const std::string& name, int flags) {
    FileDescriptor entry(::openat(folder, name.c_str(), flags));
    struct stat inside {
    }, outside{};
    if (!entry || ::fstat(entry.get(), &inside) != 0 || ::fstat(folder, &outside) != 0) return {};
    if (inside.st_dev == outside.st_dev) return entry;
    errno = EXDEV;
    return {};
}

}  // namespace

FileDescriptor openEntry(int folder, const std::string& name, int flags) {
    flags |= O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    open_how how{};
    how.flags = static_cast<unsigned>(flags);
    how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS | RESOLVE_BENEATH;
    for (int pauses = 0;; ++pauses) {
        FileDescriptor entry(
            static_cast<int>(::syscall(SYS_openat2, folder, name.c_str(), &how, sizeof how)));
        if (!entry && errno == ENOSYS) return openAndCompare(folder, name, flags);
        if (entry || errno != EWOULDBLOCK || pauses == kMostPauses) return entry;
        ::usleep(kPauseMicroseconds);
    }
}

}  // namespace quillmore::platform::administrator
