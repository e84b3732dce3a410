// The system's installer is run from here, and root has no parts there: only tracing is refused.
#ifdef __APPLE__

#include <sys/types.h>

#include <sys/ptrace.h>

#include "UpdateTool/Caller/Confinement.h"

namespace quillmore::updatetool {

bool keepNeededCapabilities() {
    return true;
}

void forbidWhatNobodyNeeds() {}

void makeUndumpable() {
    ::ptrace(PT_DENY_ATTACH, 0, nullptr, 0);
}

}  // namespace quillmore::updatetool

#endif
