#include "UpdateTool/Commands/FinderOverlay.h"

#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Ground/Failure.h"

#ifdef __APPLE__
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#endif

namespace quillmore::updatetool {

namespace {

#ifdef __APPLE__

/// Asks the Finder; fails (EX_UNAVAILABLE) when it does not run or declines.
void insertIntoFinder() {
    // The event that makes an application load the plug-ins of that folder.
    char program[] = "osascript", flag[] = "-e";
    char script[] = "tell application \"Finder\" to «event SIMeload»";
    char* arguments[] = {program, flag, script, nullptr};
    char* environment[] = {nullptr};
    pid_t child = 0;
    if ((errno = ::posix_spawn(&child, "/usr/bin/osascript", nullptr, nullptr, arguments,
                               environment)) != 0)
        failWithSystemError(EX_OSERR, "cannot reach the Finder");
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
        if (errno != EINTR) failWithSystemError(EX_OSERR, "cannot reach the Finder");
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        fail(EX_UNAVAILABLE, "the Finder did not load the overlay");
}

#else

void insertIntoFinder() {
    fail(EX_UNAVAILABLE, "the Finder does not run");
}

#endif

}  // namespace

int runFinderOverlayCommand(const Context& context, const std::vector<std::string>& commandLine,
                            std::ostream& errors) {
    try {
        if (commandLine.size() != 1 || commandLine.front() != "insertfinderoverlay")
            fail(EX_USAGE, "usage: finderoverlaytool insertfinderoverlay");
        // What others could have changed must not run inside the Finder.
        openTrustedFolder(context, std::string(kFinderOverlayFolder) + "/" + kFinderOverlayName);
        insertIntoFinder();
        return EX_OK;
    } catch (const Failure& failure) {
        errors << "finderoverlaytool: " << failure.description() << std::endl;
        return failure.exitStatus();
    }
}

}  // namespace quillmore::updatetool
