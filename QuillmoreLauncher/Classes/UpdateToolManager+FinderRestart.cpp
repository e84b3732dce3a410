// The repair of a root-owned tool: the Finder must be started again to notice it.
#include "Common/utils/Applications.h"
#include "Common/utils/Errors.h"
#include "Common/utils/Logging.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/Workspace.h"
#include "QuillmoreLauncher/Classes/UpdateToolManager.h"

namespace quillmore {

namespace {

constexpr const char* kFinderIdentifier = "com.apple.finder";
constexpr const char* kFinderPath = "/System/Library/CoreServices/Finder.app";
constexpr double kFinderQuitTimeOut = 4.0;
constexpr std::int64_t kQuitTimedOut = -3;

/// Nothing when the Finder runs again, or goes on running.
std::optional<platform::Error> restartFinder() {
    auto error = quitApplication(kFinderIdentifier, true, kFinderQuitTimeOut);
    if (error && error->code() != kQuitTimedOut) return error;
    if (error) logVerbose("Didn't see Finder restart - continue anyway");
    logVerbose("Launching \"%@\"...", kFinderPath);
    const bool launched = platform::services().workspace->launchApplication(kFinderPath);
    logVerbose("Launched \"%@\"", kFinderPath);
    if (!launched) return launchApplicationError(kFinderPath);
    return std::nullopt;
}

}  // namespace

std::int32_t UpdateToolManager::repairQMToolRoot(const Argument& packagePath,
                                                 const Argument& signaturePath) {
    const std::int32_t result = beginRepair("repairotherroot", {packagePath, signaturePath});
    if (result != UpdateToolStatusOK) return result;
    if (const auto error = restartFinder()) {
        logError("repairQMToolRoot failed (%@)", nserrorToString(error));
        return UpdateToolStatusRunning;
    }
    return endRepair(result);
}

}  // namespace quillmore
