#ifdef __linux__

#include <cap-ng.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "UpdateTool/Caller/Confinement.h"

namespace quillmore::updatetool {

namespace {

// Files and modes of others; becoming the caller and root; what the caller lowered; an old run.
constexpr unsigned kNeeded[] = {CAP_CHOWN,  CAP_DAC_OVERRIDE, CAP_FOWNER,
                                CAP_FSETID, CAP_KILL,         CAP_SETGID,
                                CAP_SETUID, CAP_SYS_NICE,     CAP_SYS_RESOURCE};

constexpr const char* kForbidden[] = {"execve",
                                      "execveat",
                                      "ptrace",
                                      "process_vm_readv",
                                      "process_vm_writev",
                                      "process_madvise",
                                      "pidfd_getfd",
                                      "kcmp",
                                      "mount",
                                      "umount",
                                      "umount2",
                                      "pivot_root",
                                      "chroot",
                                      "move_mount",
                                      "open_tree",
                                      "fsopen",
                                      "fsconfig",
                                      "fsmount",
                                      "fspick",
                                      "mount_setattr",
                                      "unshare",
                                      "setns",
                                      "socket",
                                      "socketpair",
                                      "bind",
                                      "listen",
                                      "accept",
                                      "accept4",
                                      "io_uring_setup",
                                      "io_uring_enter",
                                      "io_uring_register",
                                      "bpf",
                                      "perf_event_open",
                                      "userfaultfd",
                                      "init_module",
                                      "finit_module",
                                      "delete_module",
                                      "kexec_load",
                                      "kexec_file_load",
                                      "reboot",
                                      "swapon",
                                      "swapoff",
                                      "add_key",
                                      "request_key",
                                      "keyctl",
                                      "open_by_handle_at",
                                      "mknod",
                                      "mknodat",
                                      "iopl",
                                      "ioperm",
                                      "acct",
                                      "quotactl",
                                      "settimeofday",
                                      "clock_settime",
                                      "sethostname",
                                      "personality",
                                      "uselib"};

struct ReleaseFilter {
    void operator()(void* filter) const { ::seccomp_release(filter); }
};

}  // namespace

bool keepNeededCapabilities() {
    if (::geteuid() != 0) return true;
    ::capng_get_caps_process();
    bool has[CAP_LAST_CAP + 1]{};
    for (const unsigned capability : kNeeded)
        has[capability] = ::capng_have_capability(CAPNG_PERMITTED, capability) != 0;
    ::capng_clear(CAPNG_SELECT_BOTH);
    constexpr auto kSets = static_cast<capng_type_t>(CAPNG_EFFECTIVE | CAPNG_PERMITTED);
    constexpr auto kBounds = CAPNG_BOUNDING_SET;
    for (const unsigned capability : kNeeded) {
        if (!has[capability]) continue;
        ::capng_update(CAPNG_ADD, kSets, capability);
        ::capng_update(CAPNG_ADD, kBounds, capability);
    }
    return ::capng_apply(CAPNG_SELECT_BOTH) == 0;
}

void forbidWhatNobodyNeeds() {
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    const std::unique_ptr<void, ReleaseFilter> filter(::seccomp_init(SCMP_ACT_ALLOW));
    if (filter == nullptr) return;
    for (const char* name : kForbidden) {
        const int call = ::seccomp_syscall_resolve_name(name);
        // Not every system has each of them.
        if (call != __NR_SCMP_ERROR)
            ::seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(EPERM), call, 0);
    }
    ::seccomp_load(filter.get());
}

void makeUndumpable() {
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

}  // namespace quillmore::updatetool

#endif
