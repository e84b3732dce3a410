// The second privileged helper: the tool that puts the overlay into the Finder.
#include "Common/utils/Logging.h"
#include "Platform/Ports/Services.h"
#include "Platform/Processes/Task.h"
#include "Platform/Processes/TerminationSignals.h"
#include "QuillmoreLauncher/Classes/UpdateToolManager.h"

namespace quillmore {

std::int32_t UpdateToolManager::runFinderOverlayTool(const std::vector<std::string>& args,
                                                     bool waitUntilExit) {
    const platform::TerminationDelay delay;
    const std::string path = installedToolPath("finderoverlaytool");
    logVerbose("Running FinderOverlayTool \"%@\"...", path);
    platform::Task task(*platform::services().processes);
    task.setLaunchPath(path);
    task.setArguments(args);
    task.launch();
    if (waitUntilExit) {
        task.waitUntilExit();
        if (task.terminationStatus() != 0) {
            logVerbose("FinderOverlayTool \"%@\" did fail", path);
            return UpdateToolStatusFailed;
        }
    }
    // Deliberate: a run that is not waited for counts as successful.
    logVerbose("FinderOverlayTool \"%@\" did succeed", path);
    return UpdateToolStatusOK;
}

std::int32_t UpdateToolManager::insertFinderOverlayBundle() {
    status_ = UpdateToolStatusRunning;
    return endRepair(runFinderOverlayTool({"insertfinderoverlay"}, true));
}

}  // namespace quillmore
