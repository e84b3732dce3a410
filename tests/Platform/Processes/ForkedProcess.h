// A process of a test's own, forked from it: for what changes a whole process (signals, standard
// streams, its end).
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "Platform/Processes/ProcessSpawner.h"
#include "Platform/Processes/Task.h"

namespace quillmore::tests {

/// Lets one process wait for another. Make it before the fork.
class Gate {
public:
    void open() {
        const char byte = 0;
        [[maybe_unused]] const auto count = ::write(pipe_.writeEnd().get(), &byte, 1);
    }
    void pass() {
        char byte = 0;
        [[maybe_unused]] const auto count = ::read(pipe_.readEnd().get(), &byte, 1);
    }
    /// Every byte written to it opens the gate once.
    int descriptor() { return pipe_.writeEnd().get(); }

private:
    platform::Pipe pipe_;
};

/// Every other thread of this process waits for something; always so where the system does not
/// tell.
inline bool otherThreadsSleep() {
    const std::filesystem::path threads = "/proc/self/task";
    if (!std::filesystem::exists(threads)) return true;
    const std::string own = std::filesystem::read_symlink("/proc/thread-self").filename();
    for (const auto& thread : std::filesystem::directory_iterator(threads)) {
        if (thread.path().filename() == own) continue;
        std::string text;
        std::getline(std::ifstream(thread.path() / "stat"), text);
        // "NUMBER (NAME) STATE ...", and the name may be anything.
        const std::size_t end = text.rfind(')');
        if (end == std::string::npos || text.substr(end, 3) != ") S") return false;
    }
    return true;
}

/// For a process that watches its termination signals.
inline void signalSelf(int number) {
    ::kill(::getpid(), number);
    // Until the waiting thread has taken it, and sleeps again because it may not handle it yet.
    sigset_t pending;
    do {
        std::this_thread::yield();
        ::sigpending(&pending);
    } while (::sigismember(&pending, number) == 1 || !otherThreadsSleep());
}

class ForkedProcess {
public:
    /// The process ends with the number that `body` returns, if it does.
    explicit ForkedProcess(const std::function<int()>& body) {
        std::fflush(nullptr);  // or it would print again what is not yet written
        process_ = ::fork();
        if (process_ == 0) ::_exit(body());
    }
    ~ForkedProcess() {
        if (process_ <= 0) return;
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }
    ForkedProcess(const ForkedProcess&) = delete;
    ForkedProcess& operator=(const ForkedProcess&) = delete;

    void kill(int signal) const { ::kill(process_, signal); }
    platform::ProcessEnd end() {
        int status = 0;
        ::waitpid(process_, &status, 0);
        process_ = 0;
        if (WIFSIGNALED(status)) return {true, WTERMSIG(status)};
        return {false, WEXITSTATUS(status)};
    }
    /// -1 when a signal ended it.
    int exitStatus() {
        const platform::ProcessEnd ended = end();
        return ended.signalled ? -1 : ended.value;
    }

private:
    pid_t process_ = 0;
};

}  // namespace quillmore::tests
