#include "Platform/Files/LockFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

namespace quillmore::platform {

namespace {

// The file holds one byte, which counts the turns: those who wait see by it that the lock goes
// round, however seldom it is free when they look. Where it cannot be written they see no turns.

char turnOf(int file) {
    char turn = 0;
    return ::pread(file, &turn, 1, 0) == 1 ? turn : '\0';
}

void beginTurn(int file) {
    const char turn = static_cast<char>(turnOf(file) + 1);
    [[maybe_unused]] const ssize_t written = ::pwrite(file, &turn, 1, 0);
}

}  // namespace

Result<LockFile> LockFile::take(const std::string& hostPath, std::chrono::milliseconds patience) {
    return _take(hostPath, patience, [] { std::this_thread::sleep_for(kPause); });
}

Result<LockFile> LockFile::_take(const std::string& hostPath, std::chrono::milliseconds patience,
                                 const std::function<void()>& pause) {
    FileDescriptor file(::open(
        hostPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0600));
    if (!file) return Error::posix(errno);
    // flock itself knows no time limit: it is asked again and again.
    char turn = turnOf(file.get());
    std::chrono::milliseconds left = patience;
    while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno != EWOULDBLOCK) return Error::posix(errno);
        if (const char current = turnOf(file.get()); current != turn) {
            turn = current;
            left = patience;
        }
        if (left <= std::chrono::milliseconds::zero()) return Error::posix(EWOULDBLOCK);
        pause();
        left -= kPause;
    }
    beginTurn(file.get());
    return LockFile(std::move(file));
}

}  // namespace quillmore::platform
