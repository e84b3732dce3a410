#include "Common/Tools/ProcessUtilities.h"

#include "Common/utils/Applications.h"
#include "Common/utils/Logging.h"
#include "Platform/Ports/Services.h"
#include "Platform/Processes/Environment.h"
#include "Platform/Processes/Task.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Values/Exception.h"
#include "Platform/Values/Format.h"

namespace quillmore {

namespace {

/// The bundle's own ps comes first: it does not cut names.
std::vector<std::string> environmentOfPipelines() {
    return platform::withFolderFirstInPath(platform::environmentOfThisProcess(),
                                           platform::services().mainBundle->programsPath());
}

/// True when the pipeline's last command succeeds. One that cannot run finds nothing.
bool pipelineMatches(std::string pipeline) {
    try {
        platform::Task task(*platform::services().processes);
        task.setLaunchPath("/bin/sh");
        task.setArguments({"-c", std::move(pipeline)});
        task.setEnvironment(environmentOfPipelines());
        task.launch();
        task.waitUntilExit();
        return task.terminationStatus() == 0;
    } catch (const platform::Exception&) {
        return false;
    }
}

}  // namespace

bool ProcessUtilities::quillmoreCoreAlreadyRunning(const std::string& processName) {
    if (!platform::isProgramInPath(environmentOfPipelines(), "ps")) {
        logError("Cannot see whether \"%@\" is running: there is no program \"ps\"", processName);
    }
    // Deliberate: the name goes between the quotes as it is, and all three searches always run; the
    // last two look for the fixed product word, whatever the name.
    const bool namedProcessRuns = pipelineMatches(platform::format(
        "ps ax -o comm | fgrep '%@' | grep -v grep | grep -v relaunchqm > /dev/null", processName));
    const bool macClientRuns = pipelineMatches(platform::format(
        "ps ax -o comm | grep '%@ %@' | grep -v grep >/dev/null", "Quillmore", "Mac"));
    const bool coreRuns = pipelineMatches(platform::format(
        "ps ax -o comm | grep '%@%@' | grep -v grep >/dev/null", "Quillmore", "Core"));
    return namedProcessRuns || macClientRuns || coreRuns;
}

std::optional<platform::Dictionary> ProcessUtilities::getRunningiTunesInfo() {
    return launchedApplication("com.apple.iTunes");
}

std::optional<platform::Dictionary> ProcessUtilities::getRunningFinder() {
    return launchedApplication("com.apple.finder");
}

std::string ProcessUtilities::currentLanguage() {
    return "en";
}

}  // namespace quillmore
