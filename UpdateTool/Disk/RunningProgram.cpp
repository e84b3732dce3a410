#include "UpdateTool/Disk/RunningProgram.h"

#include <cerrno>

#include "UpdateTool/Disk/VolumeEntries.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

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
    const bool isInstalled = examineEntry(productFolder, kUpdateToolName, installed)
                                 ? isRunningProgram(context, installed)
                                 : errno == ENOENT;
    if (!isWhole || !isInstalled)
        fail(EX_NOPERM, "this program is no longer the one that is installed: start it again");
}

}  // namespace quillmore::updatetool
