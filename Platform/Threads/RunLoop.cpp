#include "Platform/Threads/RunLoop.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "Platform/Values/Exception.h"

namespace quillmore::platform {

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;
using std::chrono::milliseconds;

/// Far-off times are cut to one that the clock's unit can hold; what is no number counts as now.
SteadyTime deadlineAfter(RunLoop::Seconds delay) {
    constexpr RunLoop::Seconds longest = std::chrono::years(10);
    if (!(delay > RunLoop::Seconds::zero())) delay = RunLoop::Seconds::zero();
    return std::chrono::steady_clock::now() +
           std::chrono::duration_cast<SteadyTime::duration>(std::min(delay, longest));
}

/// Rounded up, so that nothing spins while less than one is left.
int millisecondsUntil(SteadyTime deadline) {
    constexpr milliseconds longest = std::chrono::hours(1);
    const auto left = std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp(left, milliseconds::zero(), longest).count());
}

[[noreturn]] void raiseCannotWait() {
    throw Exception(kGenericException,
                    "Couldn't wait for events (" + std::generic_category().message(errno) + ")");
}

/// A bad descriptor reads like one at its end; one too many is a failure of this process.
FileDescriptor copyOf(int descriptor) {
    FileDescriptor copy(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
    if (!copy && errno != EBADF) raiseCannotWait();
    return copy;
}

}  // namespace

RunLoop::Wait::Wait(RunLoop& loop, FileDescriptor copy, std::function<void()> handler)
    : loop_(&loop), copy_(std::move(copy)), handler_(std::move(handler)) {
    loop_->waits_.push_back(this);
}

RunLoop::Wait::~Wait() {
    if (loop_ != nullptr) std::erase(loop_->waits_, this);
}

RunLoop& RunLoop::current() {
    thread_local RunLoop loop;
    return loop;
}

std::unique_ptr<RunLoop::Wait> RunLoop::waitForDataInBackground(int descriptor,
                                                                std::function<void()> handler) {
    return std::unique_ptr<Wait>(new Wait(*this, copyOf(descriptor), std::move(handler)));
}

bool RunLoop::runOnce(Seconds limit) {
    Wait* const ready = firstReady(deadlineAfter(limit));
    if (ready == nullptr) return false;
    std::erase(waits_, ready);
    ready->loop_ = nullptr;
    ready->copy_.reset();
    const auto handler = std::exchange(ready->handler_, nullptr);  // it may drop the wait
    handler();
    return true;
}

/// Null when the deadline has passed or there is nothing to wait for.
RunLoop::Wait* RunLoop::firstReady(Deadline deadline) const {
    std::vector<pollfd> polled;
    for (const Wait* wait : waits_) {
        if (!wait->copy_) deadline = {};  // ready as it is; the poll is for those before it
        polled.push_back({wait->copy_.get(), POLLIN, 0});
    }
    const auto isReady = [](const pollfd& entry) { return entry.fd < 0 || entry.revents != 0; };
    while (!polled.empty()) {
        // What is ready without time left still counts: asked first, looked at the clock after.
        const int left = millisecondsUntil(deadline);
        if (::poll(polled.data(), static_cast<nfds_t>(polled.size()), left) < 0 && errno != EINTR)
            raiseCannotWait();
        const auto found = std::find_if(polled.begin(), polled.end(), isReady);
        if (found != polled.end()) return waits_[static_cast<std::size_t>(found - polled.begin())];
        if (left == 0) break;
    }
    return nullptr;
}

}  // namespace quillmore::platform
