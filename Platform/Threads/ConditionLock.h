// A mutex with an integer condition: a thread may ask for it only when the value is the one it
// wants.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace quillmore::platform {

class ConditionLock {
public:
    using Deadline = std::chrono::steady_clock::time_point;

    explicit ConditionLock(std::int64_t condition = 0) : condition_(condition) {}

    void lock();
    void unlock();
    /// Gives the lock back with a new condition.
    void unlockWithCondition(std::int64_t condition);
    /// False when the deadline passed first; then the lock is not held.
    bool lockWhenConditionBefore(std::int64_t condition, Deadline deadline);
    /// Exact only while the caller holds the lock.
    std::int64_t condition() const;

    void setName(std::optional<std::string> name);
    std::optional<std::string> name() const;
    /// What `%@` prints: class and address.
    std::string description() const;

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool held_ = false;
    std::int64_t condition_;
    std::optional<std::string> name_;
};

}  // namespace quillmore::platform
