#include "UpdateTool/Commands/FinderOverlay.h"
#include "UpdateTool/Ground/Failure.h"

#ifdef __APPLE__
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#endif

namespace quillmore::updatetool {

#ifdef __APPLE__

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

}  // namespace quillmore::updatetool
