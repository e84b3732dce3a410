#include "Platform/Threads/MainQueue.h"

#include <unistd.h>

#include <cerrno>

#include "Platform/Files/Pipe.h"

namespace quillmore::platform {

// The pipe holds one byte exactly while there is work, and changes only under the lock: so neither
// end can ever block, however much is posted.

MainQueue::MainQueue() {
    Pipe pipe;
    readEnd_ = std::move(pipe.readEnd());
    writeEnd_ = std::move(pipe.writeEnd());
}

void MainQueue::post(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    if (work_.empty()) {
        const char byte = 0;
        while (::write(writeEnd_.get(), &byte, 1) < 0 && errno == EINTR) {
        }
    }
    work_.push_back(std::move(work));
}

void MainQueue::drain() {
    std::unique_lock lock(mutex_);
    // Counted from the first piece ever, so that work which drains by itself (a sheet's own loop)
    // leaves the outer drain nothing to run that came later.
    const std::uint64_t limit = taken_ + work_.size();
    while (taken_ < limit) {
        const std::function<void()> work = takeFirst();
        lock.unlock();
        work();
        lock.lock();
    }
}

std::function<void()> MainQueue::takeFirst() {
    std::function<void()> work = std::move(work_.front());
    work_.pop_front();
    ++taken_;
    if (work_.empty()) {
        char byte = 0;
        while (::read(readEnd_.get(), &byte, 1) < 0 && errno == EINTR) {
        }
    }
    return work;
}

}  // namespace quillmore::platform
