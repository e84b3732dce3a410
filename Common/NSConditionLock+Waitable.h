// A condition lock as a state that threads hand to each other: waiting for a state without keeping
// the lock, and announcing one. Any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Threads/Clock.h"
#include "Platform/Threads/ConditionLock.h"

namespace quillmore::Waitable {

/// How long one try of waitCondition() lasts.
inline constexpr std::chrono::seconds kWaitConditionTry{10};

/// `condition:name:`: a new lock; named only when there is a name.
std::shared_ptr<platform::ConditionLock> condition(std::int64_t condition,
                                                   const std::optional<std::string>& name);

/// Blocks until the condition is `condition`, without end, and logs at "detailed" after every ten
/// seconds that this takes.
void waitCondition(platform::ConditionLock& lock, std::int64_t condition);
/// The same with tries that end when `deadlineOfTry` says, which is asked before each.
void _waitCondition(platform::ConditionLock& lock, std::int64_t condition,
                    const std::function<platform::ConditionLock::Deadline()>& deadlineOfTry);
/// `waitCondition:beforeDate:`: one try; false when the date passed first.
bool waitCondition(platform::ConditionLock& lock, std::int64_t condition,
                   platform::Clock::WallTime beforeDate);

/// These never wait for a condition, only for a holder of the lock, and return the old condition.
std::int64_t signalCondition(platform::ConditionLock& lock, std::int64_t condition);
std::int64_t signalIncCondition(platform::ConditionLock& lock);
std::int64_t signalDecCondition(platform::ConditionLock& lock);

bool isCondition(platform::ConditionLock& lock, std::int64_t condition);

}  // namespace quillmore::Waitable
