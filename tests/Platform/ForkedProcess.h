// A process of a test's own, forked from it: for what changes a whole process (signals, standard
// streams, its end).
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>

#include "Platform/ProcessSpawner.h"
#include "Platform/Task.h"

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
