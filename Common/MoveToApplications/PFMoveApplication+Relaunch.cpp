// After a move: the source goes, and a shell waits for the end of this process to start the copy.
#include <unistd.h>

#include "Common/MoveToApplications/PFMoveApplication+Steps.h"
#include "Common/MoveToApplications/PFMoveApplication.h"
#include "Common/utils/Errors.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/Paths.h"
#include "Platform/Interface/Application.h"
#include "Platform/Ports/Services.h"
#include "Platform/Processes/Environment.h"
#include "Platform/Processes/Task.h"
#include "Platform/Processes/TerminationSignals.h"

namespace quillmore {

namespace {

// Deliberate: single quotes are all the quoting there is; a path with one in it breaks the line.

std::string quarantineCommand(const MovePlan& plan) {
    switch (plan.framework) {
        case PFFramework::upTo824:
            return {};
        case PFFramework::upTo949:
            return platform::format("/usr/bin/xattr -d com.apple.quarantine '%@';",
                                    plan.destination);
        case PFFramework::above949:
            break;
    }
    return platform::format("/usr/bin/xattr -d -r com.apple.quarantine '%@';", plan.destination);
}

std::string relaunchLine(const MovePlan& plan) {
    return platform::format(
        "(while [ `ps -p %d | wc -l` -gt 1 ]; do sleep 0.1; done; %@ open '%@') &", ::getpid(),
        quarantineCommand(plan), plan.destination);
}

/// The programs that the line names and a system may lack are looked for in the moved copy first:
/// the source is in the Trash by now, or about to be unmounted.
void startShell(const MovePlan& plan, const std::string& line) {
    platform::Task task(*platform::services().processes);
    task.setLaunchPath("/bin/sh");
    task.setArguments({"-c", line});
    task.setEnvironment(platform::withFolderFirstInPath(
        platform::environmentOfThisProcess(),
        platform::pathByAppending(plan.destination, "Contents/SharedSupport/bin")));
    // Nobody listens any more when it runs, and it has to outlive this process's terminal.
    task.setDetached();
    try {
        task.launch();
    } catch (const platform::Exception& exception) {
        logErrorException(exception);
    }
}

}  // namespace

void finishMove(const MovePlan& plan) {
    {
        const platform::TerminationDelay delay;
        if (!plan.startedFromDiskImage && !Trash(plan.source)) {
            logNormal(
                "Warning! Could not delete application after moving it to Applications folder");
        }
        startShell(plan, relaunchLine(plan));
        if (plan.startedFromDiskImage) {
            startShell(plan, platform::format("(sleep 5 && hdiutil detach '%@') &",
                                              platform::pathByDeletingLastComponent(plan.source)));
        }
    }
    platform::services().application->terminate();
}

}  // namespace quillmore
