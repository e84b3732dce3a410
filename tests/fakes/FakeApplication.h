// Application double: the main queue is run by hand, and the end of the process is a thrown
// Termination.
#pragma once

#include <deque>
#include <functional>
#include <mutex>

#include "Platform/Interface/Application.h"

namespace quillmore::tests {

/// Thrown where the real process would end. Deliberately no platform::Exception: nobody catches it.
struct Termination {
    int status = 0;
    bool requested = false;  ///< True for terminate(), false for exitProcess().
};

class FakeApplication final : public platform::Application {
public:
    void performOnMainThread(std::function<void()> work) override {
        const std::lock_guard lock(mutex_);
        queue_.push_back(std::move(work));
    }
    [[noreturn]] void terminate() override { throw Termination{0, true}; }
    [[noreturn]] void exitProcess(int status) override { throw Termination{status, false}; }

    /// Runs what is queued, also what gets queued meanwhile; returns how many pieces ran.
    int runMainQueue() {
        int count = 0;
        while (auto work = take()) {
            ++count;
            work();
        }
        return count;
    }
    std::size_t queued() {
        const std::lock_guard lock(mutex_);
        return queue_.size();
    }

private:
    std::function<void()> take() {
        const std::lock_guard lock(mutex_);
        if (queue_.empty()) return nullptr;
        auto work = std::move(queue_.front());
        queue_.pop_front();
        return work;
    }
    std::mutex mutex_;
    std::deque<std::function<void()>> queue_;
};

}  // namespace quillmore::tests
