// A thread's run loop: descriptors that are waited for, whose handlers run on the thread that runs
// the loop. One loop a thread, made on first use; every call from that thread only.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::platform {

class RunLoop {
public:
    using Seconds = std::chrono::duration<double>;

    /// Something that is waited for: forgotten when this goes. One whose handler was not called
    /// must go before its loop does, on the loop's thread.
    class Wait {
    public:
        ~Wait();
        Wait(const Wait&) = delete;
        Wait& operator=(const Wait&) = delete;

    private:
        friend RunLoop;
        Wait(RunLoop& loop, FileDescriptor copy, std::function<void()> handler);

        RunLoop* loop_;  ///< Null once the wait is over.
        FileDescriptor copy_;
        std::function<void()> handler_;
    };

    RunLoop() = default;
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;

    /// The calling thread's loop, living as long as the thread.
    static RunLoop& current();

    /// Calls `handler` once, when a read of the descriptor would not block: something is there, or
    /// the stream has ended. What cannot be waited for counts as ready. The descriptor stays the
    /// caller's and may be closed meanwhile. Raises an Exception when there are no descriptors
    /// left.
    [[nodiscard]] std::unique_ptr<Wait> waitForDataInBackground(int descriptor,
                                                                std::function<void()> handler);
    /// Runs until one handler was called or `limit` has passed; true when a handler was called. Of
    /// several that are ready it is the one that was asked for first. False at once when there is
    /// nothing to wait for. What a handler raises passes through.
    bool runOnce(Seconds limit);

private:
    using Deadline = std::chrono::steady_clock::time_point;

    Wait* firstReady(Deadline deadline) const;

    std::vector<Wait*> waits_;  ///< In the order in which they were asked for.
};

}  // namespace quillmore::platform
