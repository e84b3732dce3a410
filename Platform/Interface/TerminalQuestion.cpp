#include "Platform/Interface/TerminalQuestion.h"

#include <fcntl.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <mutex>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::platform {

namespace {

struct Question {
    std::mutex drawing;  ///< Apart from the other, and first: the end never waits for an output.
    std::mutex mutex;
    FileDescriptor terminal;  ///< Open while the question is.
    termios before{};         ///< The modes to go back to.
};

// Never destroyed: the end of the program closes the question whatever else is left.
Question& question() {
    static Question* const only = new Question;
    return *only;
}

/// From the background too, where a terminal stops the process that changes its modes. Does not
/// wait for output, which may be held (Ctrl-S).
bool setModes(int terminal, const termios& modes) {
    sigset_t stop;
    sigset_t before;
    ::sigemptyset(&stop);
    ::sigaddset(&stop, SIGTTOU);
    ::pthread_sigmask(SIG_BLOCK, &stop, &before);
    const bool set = ::tcsetattr(terminal, TCSANOW, &modes) == 0;
    ::tcflush(terminal, TCIFLUSH);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return set;
}

/// On a descriptor of its own: the asker's may be gone when the question is closed.
bool open(Question& shared, int terminal) {
    if (::tcgetattr(terminal, &shared.before) != 0) return false;
    shared.terminal = FileDescriptor(::fcntl(terminal, F_DUPFD_CLOEXEC, 0));
    return static_cast<bool>(shared.terminal);
}

}  // namespace

bool beginTerminalQuestion(int terminal, TerminalEcho echo) {
    Question& shared = question();
    const std::lock_guard undrawn(shared.drawing);
    const std::lock_guard lock(shared.mutex);
    if (!shared.terminal && !open(shared, terminal)) return false;
    termios modes = shared.before;
    modes.c_lflag |= ICANON;
    if (echo == TerminalEcho::off)
        modes.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
    modes.c_cc[VSUSP] = _POSIX_VDISABLE;
    if (setModes(shared.terminal.get(), modes)) return true;
    shared.terminal.reset();
    return false;
}

void endTerminalQuestion() {
    Question& shared = question();
    const std::lock_guard lock(shared.mutex);
    if (!shared.terminal) return;
    setModes(shared.terminal.get(), shared.before);
    shared.terminal.reset();
}

bool drawUnlessTerminalQuestion(int terminal, const std::function<void()>& draw) {
    Question& shared = question();
    const std::lock_guard drawing(shared.drawing);
    {
        const std::lock_guard lock(shared.mutex);
        if (shared.terminal) return false;
    }
    termios modes{};
    if (::tcgetattr(terminal, &modes) == 0 && (modes.c_lflag & ECHO) == 0) return false;
    draw();
    return true;
}

}  // namespace quillmore::platform
