// The system's installer gets the copy that was verified, never the caller's file.
#ifdef __APPLE__

#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>

#include "UpdateTool/Commands/PackageInstallation.h"
#include "UpdateTool/Disk/FileContents.h"
#include "UpdateTool/Disk/TreeRemoval.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {
constexpr const char* kInstaller = "/usr/sbin/installer";
constexpr const char* kCopyName = ".package.pkg";
}  // namespace

void installStagedPackage(const Context& context, const Bytes& package, Staging& staging,
                          const std::string& name) {
    // What was unpacked served the checks; the installer also knows scripts and keeps records.
    if (!removeTree(context, staging.folder(), name))
        failWithSystemError(EX_CANTCREAT, "cannot remove the staged " + quoted(name));
    writeFile(context, staging.folder(), kCopyName, package, 0600);
    const std::string copy =
        context.root + staging.targetFolder() + "/" + Staging::kFolderName + "/" + kCopyName;
    std::string words[] = {"installer", "-pkg", copy, "-target", "/"};
    char* arguments[] = {words[0].data(), words[1].data(), words[2].data(),
                         words[3].data(), words[4].data(), nullptr};
    char path[] = "PATH=/usr/bin:/bin:/usr/sbin:/sbin";
    char* environment[] = {path, nullptr};
    pid_t child = 0;
    if ((errno = ::posix_spawn(&child, kInstaller, nullptr, nullptr, arguments, environment)) != 0)
        failWithSystemError(EX_OSERR, "cannot run the system's installer");
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
        if (errno != EINTR) failWithSystemError(EX_OSERR, "cannot wait for the system's installer");
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        fail(EX_SOFTWARE, "the system's installer could not install the package");
}

}  // namespace quillmore::updatetool

#endif
