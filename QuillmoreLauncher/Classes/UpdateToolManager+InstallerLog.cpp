// The repair of a framework, and what its installer leaves behind: a log for the support.
#include <cerrno>

#include "Common/utils/Errors.h"
#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/Paths.h"
#include "Platform/Ports/Services.h"
#include "Platform/Values/Text.h"
#include "QuillmoreLauncher/Classes/UpdateToolManager.h"

namespace quillmore {

namespace {

constexpr const char* kInstallerLog = "/tmp/.macfuse-install.log";
constexpr const char* kInstallerLogFolder = "~/Library/Logs/Quillmore/MacFUSE";
constexpr const char* kInstallerLogName = "macfuse-install.log";

bool namesMacFUSE(const std::string& path) {
    return platform::lowerCase(path).find("macfuse") != std::string::npos;
}

/// The installer writes its log where the next restart would remove it.
void keepInstallerLog() {
    platform::FileManager& files = __QMCurrentThreadFileManager();
    if (!files.fileExists(kInstallerLog)) {
        logVerbose("\"%@\" doesn't exists - no MacFUSE log will be available", kInstallerLog);
        return;
    }
    const std::string folder =
        platform::expandTilde(kInstallerLogFolder, platform::services().homeFolder);
    const std::string target = platform::pathByAppending(folder, kInstallerLogName);
    try {
        ensureFolderPathExists(folder);
        const bool isFirst = !files.fileExists(target);
        logVerbose("Copying \"%@\" to \"%@\"...", kInstallerLog, target);
        const auto error = files.copyItem(kInstallerLog, target);
        if (error) {
            logError("Failed to copy \"%@\" to \"%@\" (%@)", kInstallerLog, target,
                     nserrorToString(error));
            // What was there stays; half a copy would be in the way of the next one.
            if (isFirst && error->code() != EEXIST) files.removeItem(target);
        } else {
            logVerbose("Copied \"%@\" to \"%@\" - MacFUSE log available", kInstallerLog, target);
        }
    } catch (const platform::Exception& exception) {
        logErrorException(exception);
    }
}

}  // namespace

std::int32_t UpdateToolManager::repairFrameworkUsingPackage(const std::string& packagePath) {
    const std::int32_t result = beginRepair("repairpackage", {packagePath});
    if (namesMacFUSE(packagePath)) keepInstallerLog();
    return endRepair(result);
}

}  // namespace quillmore
