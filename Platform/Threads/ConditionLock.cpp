#include "Platform/Threads/ConditionLock.h"

#include <cstdio>

namespace quillmore::platform {

// `held_` is the lock itself; `mutex_` only guards the fields. Every release wakes all waiters,
// since they wait for different conditions, and does so under `mutex_`, since the one who gets the
// lock may destroy it.

void ConditionLock::lock() {
    std::unique_lock guard(mutex_);
    changed_.wait(guard, [this] { return !held_; });
    held_ = true;
}

void ConditionLock::unlock() {
    const std::lock_guard guard(mutex_);
    held_ = false;
    changed_.notify_all();
}

void ConditionLock::unlockWithCondition(std::int64_t condition) {
    const std::lock_guard guard(mutex_);
    condition_ = condition;
    held_ = false;
    changed_.notify_all();
}

bool ConditionLock::lockWhenConditionBefore(std::int64_t condition, Deadline deadline) {
    std::unique_lock guard(mutex_);
    if (!changed_.wait_until(guard, deadline, [&] { return !held_ && condition_ == condition; }))
        return false;
    held_ = true;
    return true;
}

std::int64_t ConditionLock::condition() const {
    const std::lock_guard guard(mutex_);
    return condition_;
}

void ConditionLock::setName(std::optional<std::string> name) {
    const std::lock_guard guard(mutex_);
    name_ = std::move(name);
}

std::optional<std::string> ConditionLock::name() const {
    const std::lock_guard guard(mutex_);
    return name_;
}

std::string ConditionLock::description() const {
    char text[64];
    std::snprintf(text, sizeof text, "<NSConditionLock: %p>", static_cast<const void*>(this));
    return text;
}

}  // namespace quillmore::platform
