#include "Platform/Mac/ProcessTable.h"

#include <sys/sysctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace quillmore::platform {

namespace {

constexpr int kAttempts = 5;

/// The whole table. It may grow between the question for its size and the one for its content.
std::vector<kinfo_proc> allProcesses() {
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL};
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::size_t size = 0;
        if (::sysctl(name, std::size(name), nullptr, &size, nullptr, 0) != 0) return {};
        std::vector<kinfo_proc> entries(size / sizeof(kinfo_proc));
        size = entries.size() * sizeof(kinfo_proc);
        if (::sysctl(name, std::size(name), entries.data(), &size, nullptr, 0) == 0) {
            entries.resize(size / sizeof(kinfo_proc));
            return entries;
        }
        if (errno != ENOMEM) return {};
    }
    return {};
}

}  // namespace

std::optional<std::uint32_t> flagsOfProcess(pid_t process) {
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, process};
    kinfo_proc entry{};
    std::size_t size = sizeof entry;
    if (::sysctl(name, std::size(name), &entry, &size, nullptr, 0) != 0) return std::nullopt;
    if (size != sizeof entry) return std::nullopt;  // success with nothing: no such process
    return static_cast<std::uint32_t>(entry.kp_proc.p_flag);
}

std::vector<ChildProcess> childrenOfThisProcess() {
    const pid_t self = ::getpid();
    std::vector<ChildProcess> children;
    for (const kinfo_proc& entry : allProcesses())
        if (entry.kp_eproc.e_ppid == self)
            children.push_back({entry.kp_proc.p_pid, entry.kp_eproc.e_ucred.cr_uid});
    return children;
}

pid_t childStartedAsRoot(const std::vector<ChildProcess>& before,
                         const std::vector<ChildProcess>& after) {
    std::vector<ChildProcess> started;
    for (const ChildProcess& child : after)
        if (std::none_of(before.begin(), before.end(), [&child](const ChildProcess& known) {
                return known.process == child.process;
            }))
            started.push_back(child);
    if (started.size() > 1)
        std::erase_if(started, [](const ChildProcess& child) { return child.effectiveUser != 0; });
    return started.size() == 1 ? started.front().process : 0;
}

}  // namespace quillmore::platform
