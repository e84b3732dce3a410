#include "Common/utils/LogState.h"

#include <unistd.h>

#include "Platform/Ports/Services.h"
#include "Platform/Threads/SharedInstance.h"

namespace quillmore {

namespace {
platform::SharedInstance<LogState> sharedState;
}  // namespace

LogState& logState() {
    return sharedState.get();
}

void LogState::recordProcess() {
    _PID = ::getpid();
    if (platform::haveServices()) _ProcessName = platform::services().processName;
}

}  // namespace quillmore
