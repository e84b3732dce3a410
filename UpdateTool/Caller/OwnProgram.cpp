#include "UpdateTool/Caller/OwnProgram.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#ifdef __APPLE__
#include <dirent.h>
#include <mach-o/dyld.h>

#include <cstdint>
#include <cstdlib>
#else
#include <sched.h>
#include <sys/syscall.h>
#endif

namespace quillmore::updatetool {

namespace {
void raisePriority() {
    if (::getpriority(PRIO_PROCESS, 0) > 0) ::setpriority(PRIO_PROCESS, 0, 0);
}
}  // namespace

#ifdef __APPLE__

std::string ownProgramPath() {
    std::uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::string path(size, '\0');
    if (_NSGetExecutablePath(path.data(), &size) != 0) return "";
    return path.c_str();
}

std::vector<gid_t> trustedGroups() {
    constexpr gid_t kAdministrators = 80;
    return {0, kAdministrators};
}

const char* systemLogFolder() {
    return "/private/var/log";
}

bool closeOtherDescriptors() {
    std::vector<int> open;
    if (DIR* folder = ::opendir("/dev/fd")) {
        while (const dirent* entry = ::readdir(folder)) {
            const int descriptor = std::atoi(entry->d_name);
            if (descriptor > 2 && descriptor != ::dirfd(folder)) open.push_back(descriptor);
        }
        ::closedir(folder);
    } else {
        for (int descriptor = 3; descriptor < ::getdtablesize(); ++descriptor)
            open.push_back(descriptor);
    }
    for (const int descriptor : open) ::close(descriptor);
    return true;
}

void takeOrdinaryPriority() {
    raisePriority();
}

bool isAdministratorsRun(const std::string& programPath) {
    if (::geteuid() != 0) return false;
    if (::getuid() == 0) return true;
    // The system's administrator execution leaves the real user as it is.
    struct stat status {};
    return ::stat(programPath.c_str(), &status) == 0 && (status.st_mode & S_ISUID) == 0;
}

#else

std::string ownProgramPath() {
    return "/proc/self/exe";
}

std::vector<gid_t> trustedGroups() {
    return {};
}

const char* systemLogFolder() {
    return "/var/log";
}

bool closeOtherDescriptors() {
    // Not a walk of /dev/fd: that takes a descriptor, and the caller may have left none.
    return ::close_range(3, ~0U, 0) == 0;
}

void takeOrdinaryPriority() {
    constexpr int kThisProcess = 1, kAsTheProcessorsShare = 0;
    const sched_param none{};
    ::sched_setscheduler(0, SCHED_OTHER, &none);
    raisePriority();
    cpu_set_t any;
    CPU_ZERO(&any);
    for (std::size_t processor = 0; processor < CPU_SETSIZE; ++processor) CPU_SET(processor, &any);
    ::sched_setaffinity(0, sizeof any, &any);
    ::syscall(SYS_ioprio_set, kThisProcess, 0, kAsTheProcessorsShare);
    const int killer = ::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
    [[maybe_unused]] const ssize_t written = ::write(killer, "0", 1);
    if (killer >= 0) ::close(killer);
}

bool isAdministratorsRun(const std::string&) {
    return ::geteuid() == 0 && ::getuid() == 0;
}

#endif

}  // namespace quillmore::updatetool
