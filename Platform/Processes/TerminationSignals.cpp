#include "Platform/Processes/TerminationSignals.h"

#include <pthread.h>
#include <signal.h>

#include <condition_variable>
#include <mutex>

#include "Platform/Threads/Thread.h"

namespace quillmore::platform {

namespace {

struct State {
    std::mutex mutex;
    std::condition_variable changed;
    int delays = 0;
    bool signalled = false;  ///< One has come and is not handled yet.
    /// Work that would put off a signal may begin: none is to be handled right now.
    bool delayMayBegin() const { return !signalled || delays > 0; }
};

// Never destroyed: the waiting thread uses it until the process ends.
State& state() {
    static State* const only = new State;
    return *only;
}

// A shell's nohup and background jobs ask for signals to be ignored; that is the user's wish.
bool isIgnored(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

[[noreturn]] void handleSignals(const sigset_t& watched, const std::function<void(int)>& onSignal) {
    for (;;) {
        int number = 0;
        if (::sigwait(&watched, &number) != 0) continue;
        State& shared = state();
        std::unique_lock lock(shared.mutex);
        shared.signalled = true;
        shared.changed.wait(lock, [&] { return shared.delays == 0; });
        lock.unlock();
        onSignal(number);
        lock.lock();
        shared.signalled = false;
        shared.changed.notify_all();
    }
}

}  // namespace

void watchTerminationSignals(std::function<void(int)> onSignal) {
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGXFSZ, SIG_IGN);
    sigset_t watched;
    ::sigemptyset(&watched);
    bool any = false;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        if (isIgnored(signal)) continue;
        ::sigaddset(&watched, signal);
        any = true;
    }
    if (!any) return;
    ::pthread_sigmask(SIG_BLOCK, &watched, nullptr);
    detachNewThread(
        [watched, onSignal = std::move(onSignal)] { handleSignals(watched, onSignal); });
}

TerminationDelay::TerminationDelay() {
    State& shared = state();
    std::unique_lock lock(shared.mutex);
    // Otherwise one command after the other could put the signal off for ever.
    shared.changed.wait(lock, [&] { return shared.delayMayBegin(); });
    ++shared.delays;
}

TerminationDelay::~TerminationDelay() {
    State& shared = state();
    const std::lock_guard lock(shared.mutex);
    if (--shared.delays == 0) shared.changed.notify_all();
}

}  // namespace quillmore::platform
