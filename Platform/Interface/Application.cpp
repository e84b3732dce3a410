#include "Platform/Interface/Application.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <system_error>
#include <thread>

#include "Platform/Interface/TerminalQuestion.h"

namespace quillmore::platform {

namespace {
// Flushing waits for the lock of every stream, and for room in a pipe that nobody may be reading:
// the end of the process must not hang on either, so it is given a second.
void flushStreams() {
    std::promise<void> flushed;
    std::future<void> done = flushed.get_future();
    try {
        std::thread([flushed = std::move(flushed)]() mutable {
            std::fflush(nullptr);
            flushed.set_value();
        }).detach();
    } catch (const std::system_error&) {
        std::fflush(nullptr);  // no thread to be had
        return;
    }
    done.wait_for(std::chrono::seconds(1));
}
}  // namespace

void MainApplication::terminate() {
    exitProcess(0);
}

void MainApplication::exitProcess(int status) {
    flushStreams();
    // A thread may be asking for a password: the shell wants its echo back.
    endTerminalQuestion();
    // Not exit(): a repair thread or the signal thread may still run, and would meet static objects
    // that are being destroyed.
    std::_Exit(status);
}

}  // namespace quillmore::platform
