#include "UpdateTool/Disk/TimedLock.h"

#include <sys/file.h>
#include <sys/time.h>

#include <cerrno>
#include <csignal>

namespace quillmore::updatetool {

namespace {

void interrupt(int) {}

/// Interrupts what blocks, once a second: again and again, or one that comes a moment too early
/// would be lost.
class SecondBell {
public:
    SecondBell() {
        setHandler(interrupt);
        const itimerval second{{1, 0}, {1, 0}};
        ::setitimer(ITIMER_REAL, &second, nullptr);
    }
    ~SecondBell() {
        const itimerval off{};
        ::setitimer(ITIMER_REAL, &off, nullptr);
        setHandler(SIG_IGN);
    }
    SecondBell(const SecondBell&) = delete;
    SecondBell& operator=(const SecondBell&) = delete;

private:
    static void setHandler(void (*handler)(int)) {
        struct sigaction action {};
        action.sa_handler = handler;
        ::sigaction(SIGALRM, &action, nullptr);
    }
};

}  // namespace

bool lockWhile(int file, const std::function<bool()>& goesOn) {
    if (::flock(file, LOCK_EX | LOCK_NB) == 0) return true;
    const SecondBell bell;
    while (::flock(file, LOCK_EX) != 0) {
        if (errno != EINTR) return false;
        if (goesOn()) continue;
        errno = EWOULDBLOCK;
        return false;
    }
    return true;
}

}  // namespace quillmore::updatetool
