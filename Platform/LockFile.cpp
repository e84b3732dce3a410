#include "Platform/LockFile.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <thread>

namespace quillmore::platform {

Result<LockFile> LockFile::take(const std::string& hostPath, std::chrono::milliseconds patience) {
    FileDescriptor file(::open(
        hostPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0600));
    if (!file) return Error::posix(errno);
    // flock itself knows no time limit: it is asked again and again.
    constexpr std::chrono::milliseconds kPause(2);
    const auto end = std::chrono::steady_clock::now() + patience;
    while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= end)
            return Error::posix(errno);
        std::this_thread::sleep_for(kPause);
    }
    return LockFile(std::move(file));
}

}  // namespace quillmore::platform
