#include "tests/apple/doubles/KernelDouble.h"

#include <CoreServices/CoreServices.h>
#include <mach-o/dyld.h>
#include <pthread.h>
#include <sys/sysctl.h>

#include <cerrno>
#include <cstring>

#include "tests/apple/doubles/EventsDouble.h"
#include "tests/apple/doubles/Ledger.h"

using namespace quillmore::apple;

extern "C" const double NSAppKitVersionNumber;
const double NSAppKitVersionNumber = 1038.36;

namespace quillmore::apple {

namespace {

kinfo_proc recordOf(const ProcessEntry& process) {
    kinfo_proc record{};
    record.kp_proc.p_flag = static_cast<int>(process.flags);
    record.kp_proc.p_pid = process.process;
    record.kp_eproc.e_ppid = process.parent;
    record.kp_eproc.e_ucred.cr_uid = process.effectiveUser;
    return record;
}

/// The records that a name stands for.
std::vector<kinfo_proc> recordsOf(const int* name, unsigned length) {
    std::vector<kinfo_proc> records;
    const bool all = length == 3 && name[2] == KERN_PROC_ALL;
    const bool one = length == 4 && name[2] == KERN_PROC_PID;
    if (name[0] != CTL_KERN || name[1] != KERN_PROC || !(all || one))
        ledger().problems.emplace_back("sysctl of a name that the double does not know");
    for (const ProcessEntry& process : kernelDouble().processes)
        if (all || (one && process.process == name[3])) records.push_back(recordOf(process));
    return records;
}

}  // namespace

KernelDouble& kernelDouble() {
    static KernelDouble instance;
    return instance;
}

void resetKernelDouble() {
    kernelDouble() = KernelDouble();
}

}  // namespace quillmore::apple

OSErr Gestalt(OSType selector, SInt32* response) {
    ledger().enter("Gestalt", {fourCharacters(selector)});
    const auto found = kernelDouble().selectors.find(selector);
    if (found == kernelDouble().selectors.end()) return -5551;  // gestaltUndefSelectorErr
    *response = found->second;
    return noErr;
}

int sysctl(int* name, u_int namelen, void* oldp, size_t* oldlenp, void* newp, size_t newlen) {
    if (newp != nullptr || newlen != 0) ledger().problems.emplace_back("sysctl that writes");
    const int error = ledger().enter("sysctl");
    const std::vector<kinfo_proc> records = recordsOf(name, namelen);
    std::size_t size = records.size() * sizeof(kinfo_proc);
    if (error != 0) {
        errno = error;
        return -1;
    }
    if (oldp != nullptr && kernelDouble().growths > 0) {
        --kernelDouble().growths;
        errno = ENOMEM;
        return -1;
    }
    if (oldp != nullptr && *oldlenp < size) {
        errno = ENOMEM;
        return -1;
    }
    if (oldp != nullptr && size > 0) std::memcpy(oldp, records.data(), size);
    *oldlenp = size;
    return 0;
}

mach_port_t pthread_mach_thread_np(pthread_t thread) {
    if (!pthread_equal(thread, pthread_self()))
        ledger().problems.emplace_back("the port of another thread");
    return kernelDouble().threadPort;
}

int _NSGetExecutablePath(char* buf, uint32_t* bufsize) {
    const std::string& path = kernelDouble().executablePath;
    const auto needed = static_cast<uint32_t>(path.size() + 1);
    const bool fits = *bufsize >= needed;
    *bufsize = needed;
    if (!fits) return -1;
    std::memcpy(buf, path.c_str(), needed);
    return 0;
}
