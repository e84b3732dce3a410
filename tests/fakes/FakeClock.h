// Clock double: time stands still until somebody sleeps or turns it.
#pragma once

#include <mutex>
#include <vector>

#include "Platform/Threads/Clock.h"

namespace quillmore::tests {

class FakeClock final : public platform::Clock {
public:
    WallTime now() const override {
        const std::lock_guard lock(mutex_);
        return now_;
    }
    void sleepFor(Seconds duration) override {
        const std::lock_guard lock(mutex_);
        sleeps_.push_back(duration.count());
        now_ += std::chrono::duration_cast<WallTime::duration>(duration);
    }
    void turnTo(WallTime time) {
        const std::lock_guard lock(mutex_);
        now_ = time;
    }
    void advance(Seconds duration) {
        const std::lock_guard lock(mutex_);
        now_ += std::chrono::duration_cast<WallTime::duration>(duration);
    }
    /// The length of every sleep so far, in seconds.
    std::vector<double> sleeps() const {
        const std::lock_guard lock(mutex_);
        return sleeps_;
    }

private:
    mutable std::mutex mutex_;
    WallTime now_ = std::chrono::system_clock::from_time_t(1293887045);  // 2011-01-01 13:04:05 UTC
    std::vector<double> sleeps_;
};

}  // namespace quillmore::tests
