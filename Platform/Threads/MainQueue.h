// Work for the main thread. Any thread posts; only the main thread drains. The descriptor becomes
// readable when there is work, so that any kind of event loop can wait for it.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::platform {

class MainQueue {
public:
    /// Raises an Exception when no descriptor can be had.
    MainQueue();
    /// Queues and returns at once.
    void post(std::function<void()> work);
    /// Runs what was queued when the call began, in order; work queued meanwhile runs next time. An
    /// exception of the work passes through; the rest stays queued. Work may drain by itself.
    void drain();
    /// Readable while there is work.
    int descriptor() const { return readEnd_.get(); }

private:
    std::function<void()> takeFirst();

    std::mutex mutex_;
    std::deque<std::function<void()>> work_;
    std::uint64_t taken_ = 0;  ///< Pieces taken so far.
    FileDescriptor readEnd_;
    FileDescriptor writeEnd_;
};

}  // namespace quillmore::platform
