#include "UpdateTool/Disk/RunningProgram.h"

#include <fcntl.h>

#include <cerrno>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/FileDigests.h"
#include "UpdateTool/Disk/VolumeEntries.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {

/// Each repair installs the program anew, mostly from the same package, and a run that waited for
/// it is then another file with the same bytes: it knows the same key and the same rules.
bool isInstalledAnew(const Context& context, int productFolder, const struct stat& installed) {
    if (!S_ISREG(installed.st_mode) || installed.st_uid != context.owner ||
        (installed.st_mode & S_ISUID) == 0)
        return false;
    const platform::FileDescriptor running(
        ::open(context.programPath.c_str(), O_RDONLY | O_CLOEXEC));
    const platform::FileDescriptor file =
        openEntry(productFolder, kUpdateToolName, O_RDONLY | O_NONBLOCK);
    return running && file &&
           digestOfFile(running.get(), kUpdateToolName) ==
               digestOfFile(file.get(), kUpdateToolName);
}

}  // namespace

bool isRunningProgram(const Context& context, const struct stat& status) {
    struct stat program {};
    return ::stat(context.programPath.c_str(), &program) == 0 && program.st_dev == status.st_dev &&
           program.st_ino == status.st_ino;
}

void requireInstalledProgram(const Context& context, int productFolder) {
    if (context.administrator) return;
    struct stat program {};
    struct stat installed {};
    const bool isWhole = ::stat(context.programPath.c_str(), &program) == 0 &&
                         program.st_nlink != 0 && (program.st_mode & S_ISUID) != 0;
    const bool isThere = examineEntry(productFolder, kUpdateToolName, installed);
    const bool isInstalled = isThere ? isRunningProgram(context, installed) : errno == ENOENT;
    if (isWhole && isInstalled) return;
    if (!isThere || !isInstalledAnew(context, productFolder, installed))
        fail(EX_NOPERM, "this program is no longer the one that is installed: start it again");
}

}  // namespace quillmore::updatetool
