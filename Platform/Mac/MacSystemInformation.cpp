#include "Platform/Mac/MacSystemInformation.h"

#include <CoreServices/CoreServices.h>
#include <pthread.h>
#include <sys/proc.h>
#include <unistd.h>

#include "Platform/Mac/ProcessTable.h"

// Declared by AppKit in a header that only Objective-C can read.
extern "C" const double NSAppKitVersionNumber;

namespace quillmore::platform {

static_assert(kProcessFlagTraced == P_TRACED);
static_assert(fourCharCode("sys1") == gestaltSystemVersionMajor);
static_assert(fourCharCode("sys2") == gestaltSystemVersionMinor);
static_assert(fourCharCode("sys3") == gestaltSystemVersionBugFix);
static_assert(fourCharCode("sysa") == gestaltSysArchitecture);

std::optional<std::int32_t> MacSystemInformation::gestalt(FourCharCode selector) const {
    SInt32 response = 0;
    if (::Gestalt(selector, &response) != noErr) return std::nullopt;
    return response;
}

std::optional<std::uint32_t> MacSystemInformation::processFlags() const {
    return flagsOfProcess(::getpid());
}

std::uint32_t MacSystemInformation::currentThreadPort() const {
    // Unlike mach_thread_self() this hands out no reference that would have to be given back.
    return ::pthread_mach_thread_np(::pthread_self());
}

double MacSystemInformation::applicationFrameworkVersion() const {
    return NSAppKitVersionNumber;
}

}  // namespace quillmore::platform
