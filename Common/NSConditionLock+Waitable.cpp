#include "Common/NSConditionLock+Waitable.h"

#include <algorithm>

#include "Common/utils/Logging.h"
#include "Platform/Ports/Services.h"

namespace quillmore::Waitable {

namespace {

using Deadline = platform::ConditionLock::Deadline;

/// The lock counts by a clock that nobody sets; far-off dates are cut to what it can hold.
Deadline deadlineOfDate(platform::Clock::WallTime date) {
    const platform::Clock::WallTime now = platform::services().clock->now();
    const Deadline deadline = std::chrono::steady_clock::now();
    if (date <= now) return deadline;
    return deadline +
           std::min<platform::Clock::WallTime::duration>(date - now, std::chrono::years(10));
}

/// Wraps at the ends of the range.
std::int64_t signalChangedBy(platform::ConditionLock& lock, std::uint64_t difference) {
    lock.lock();
    const std::int64_t old = lock.condition();
    lock.unlockWithCondition(
        static_cast<std::int64_t>(static_cast<std::uint64_t>(old) + difference));
    return old;
}

}  // namespace

std::shared_ptr<platform::ConditionLock> condition(std::int64_t condition,
                                                   const std::optional<std::string>& name) {
    auto lock = std::make_shared<platform::ConditionLock>(condition);
    if (name) lock->setName(name);
    return lock;
}

void waitCondition(platform::ConditionLock& lock, std::int64_t condition) {
    _waitCondition(lock, condition,
                   [] { return std::chrono::steady_clock::now() + kWaitConditionTry; });
}

void _waitCondition(platform::ConditionLock& lock, std::int64_t condition,
                    const std::function<Deadline()>& deadlineOfTry) {
    while (!lock.lockWhenConditionBefore(condition, deadlineOfTry()))
        logDetail("Waiting for condition %ld in %@ \"%@\"", condition, lock.description(),
                  lock.name());
    lock.unlock();
}

bool waitCondition(platform::ConditionLock& lock, std::int64_t condition,
                   platform::Clock::WallTime beforeDate) {
    if (!lock.lockWhenConditionBefore(condition, deadlineOfDate(beforeDate))) return false;
    lock.unlock();
    return true;
}

std::int64_t signalCondition(platform::ConditionLock& lock, std::int64_t condition) {
    lock.lock();
    const std::int64_t old = lock.condition();
    lock.unlockWithCondition(condition);
    return old;
}

std::int64_t signalIncCondition(platform::ConditionLock& lock) {
    return signalChangedBy(lock, 1);
}

std::int64_t signalDecCondition(platform::ConditionLock& lock) {
    return signalChangedBy(lock, ~std::uint64_t{0});
}

bool isCondition(platform::ConditionLock& lock, std::int64_t condition) {
    lock.lock();
    const bool same = lock.condition() == condition;
    lock.unlock();
    return same;
}

}  // namespace quillmore::Waitable
