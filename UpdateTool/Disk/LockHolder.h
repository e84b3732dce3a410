// Who holds the lock of the product folder, and since when: written into the lock's file, which
// only root reads and writes, so that a run which somebody froze or slowed down can be told from
// one that works, and be ended. Without a record a holder is unknown and nobody ends it.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace quillmore::updatetool {

struct LockHolder {
    pid_t process = 0;
    std::string started;  ///< Tells it from a later process of the same number.
    std::chrono::seconds since{};
};

/// Of a clock that all processes share and that stands still while the machine sleeps.
std::chrono::seconds clockNow();

/// Call when the lock was got, and before it is let go. A full disk keeps it from being written.
void writeHolder(int file);
void removeHolder(int file);
std::optional<LockHolder> readHolder(int file);

/// Kills that very process, and no other one that has its number by now. Returns at once.
void endHolder(const LockHolder& holder);

/// When a process was started, in words of the system's own; "" when there is none.
std::string startOfProcess(pid_t process);

}  // namespace quillmore::updatetool
