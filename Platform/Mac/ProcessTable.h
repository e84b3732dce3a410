// The kernel's table of processes. Reads afresh on every call: safe on any thread.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace quillmore::platform {

struct ChildProcess {
    pid_t process = 0;
    uid_t effectiveUser = 0;
};

/// Nothing when there is no such process or the query fails.
std::optional<std::uint32_t> flagsOfProcess(pid_t process);
/// The children of this process, those that ended and were not waited for included. Empty when the
/// query fails.
std::vector<ChildProcess> childrenOfThisProcess();
/// The one child that came between two looks; among several the one that runs as root. 0 when there
/// is none or it cannot be told.
pid_t childStartedAsRoot(const std::vector<ChildProcess>& before,
                         const std::vector<ChildProcess>& after);

}  // namespace quillmore::platform
