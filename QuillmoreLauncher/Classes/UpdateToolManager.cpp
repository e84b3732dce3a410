#include "QuillmoreLauncher/Classes/UpdateToolManager.h"

#include <cerrno>

#include "Common/Tools/AdministratorRights.h"
#include "Common/utils/Applications.h"
#include "Common/utils/Errors.h"
#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/Workspace.h"
#include "Platform/Processes/Task.h"
#include "Platform/Processes/TerminationSignals.h"
#include "Platform/Threads/SharedInstance.h"

namespace quillmore {

namespace {

platform::SharedInstance<UpdateToolManager> _updateToolManager;

constexpr const char* kInstalledTool = "/Library/Application Support/Quillmore/%@";
constexpr const char* kUpdateToolName = "updateqm";
constexpr mode_t kSetUserIdTool = 04755;

constexpr const char* kInstallerLog = "/tmp/.macfuse-install.log";
constexpr const char* kInstallerLogFolder = "~/Library/Logs/Quillmore/MacFUSE";
constexpr const char* kInstallerLogName = "macfuse-install.log";

constexpr const char* kFinderIdentifier = "com.apple.finder";
constexpr const char* kFinderPath = "/System/Library/CoreServices/Finder.app";
constexpr double kFinderQuitTimeOut = 4.0;
constexpr std::int64_t kQuitTimedOut = -3;

char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool namesMacFUSE(std::string path) {
    for (char& c : path) c = lowered(c);
    return path.find("macfuse") != std::string::npos;
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

std::string installedToolPath(const std::optional<std::string>& name) {
    return platform::format(kInstalledTool, name);
}

UpdateToolManager& UpdateToolManager::sharedManager() {
    return _updateToolManager.get();
}

std::int32_t UpdateToolManager::verifyUpdateTool(const Argument& name) {
    const std::string path = installedToolPath(name);
    platform::FileManager& files = __QMCurrentThreadFileManager();
    if (!files.fileExists(path)) return status_ = UpdateToolStatusMissing;
    const auto attributes = files.attributes(path);
    const bool intact = attributes && attributes->ownerAccountName == "root" &&
                        attributes->posixPermissions == kSetUserIdTool;
    return status_ = intact ? UpdateToolStatusOK : UpdateToolStatusWrongPermissions;
}

std::int32_t UpdateToolManager::runExe(const std::string& launchPath,
                                       const std::vector<std::string>& withArgs,
                                       bool waitUntilExit) {
    const platform::TerminationDelay delay;
    logVerbose("UpdateToolManager:runExe: Running \"%@\"...", launchPath);
    bool succeeded = false;
    try {
        platform::Task task(*platform::services().processes);
        task.setLaunchPath(launchPath);
        task.setArguments(withArgs);
        task.launch();
        // Deliberate: a run that is not waited for counts as failed.
        if (waitUntilExit) {
            task.waitUntilExit();
            succeeded = task.terminationStatus() == 0;
        }
    } catch (const platform::Exception& exception) {
        logError("UpdateToolManager:runExe: Exception during running \"%@\" (%@)", launchPath,
                 errorExceptionToString(exception));
    }
    if (!succeeded) {
        logError("UpdateToolManager:runExe: Failed running \"%@\"", launchPath);
        return UpdateToolStatusFailed;
    }
    logVerbose("UpdateToolManager:runExe: Succeeded running \"%@\"", launchPath);
    return UpdateToolStatusOK;
}

std::int32_t UpdateToolManager::runUpdateTool(const std::vector<std::string>& args,
                                              bool waitUntilExit) {
    return runExe(installedToolPath(kUpdateToolName), args, waitUntilExit);
}

std::int32_t UpdateToolManager::runUpdateToolAsAdmin(const std::vector<std::string>& args) {
    return runAsAdmin("runUpdateToolAsAdmin", installedToolPath(kUpdateToolName), args, false);
}

std::int32_t UpdateToolManager::runUninstalledUpdateToolAsAdmin(
    const std::string& toolPath, const std::vector<std::string>& args) {
    return runAsAdmin("runUninstalledUpdateToolAsAdmin", toolPath, args, true);
}

std::int32_t UpdateToolManager::runAsAdmin(const char* method, const std::string& toolPath,
                                           const std::vector<std::string>& args, bool logsPath) {
    logNormal("UpdateToolManager:%@: Starting...", method);
    AdministratorRights rights;
    if (rights.create() != platform::kAuthorizationSuccess) return UpdateToolStatusFailed;
    platform::OSStatus answer = rights.ask();
    if (answer != platform::kAuthorizationSuccess) {
        logError("UpdateToolManager:%@: AuthorizationCopyRights failed (OSStatus %d)", method,
                 answer);
        return UpdateToolStatusFailed;
    }
    if (logsPath) logDetail("Running %@", toolPath);
    {
        const platform::TerminationDelay delay;
        answer = rights.startUnattended(toolPath, args);
    }
    rights.free();
    if (answer != platform::kAuthorizationSuccess) {
        logError("UpdateToolManager:%@: AuthorizationExecuteWithPrivileges failed (OSStatus %d)",
                 method, answer);
        return status_ = UpdateToolStatusFailed;
    }
    logNormal("UpdateToolManager:%@: Succeeded", method);
    return status_ = UpdateToolStatusOK;
}

std::int32_t UpdateToolManager::beginRepair(const char* word,
                                            std::initializer_list<Argument> arguments) {
    status_ = UpdateToolStatusRunning;
    std::vector<std::string> line{word};
    for (const Argument& argument : arguments) {
        if (!argument) break;
        line.push_back(*argument);
    }
    return runUpdateTool(line, true);
}

std::int32_t UpdateToolManager::endRepair(std::int32_t result) {
    if (result == UpdateToolStatusOK) status_ = UpdateToolStatusOK;
    return result;
}

std::int32_t UpdateToolManager::repair(const char* word,
                                       std::initializer_list<Argument> arguments) {
    return endRepair(beginRepair(word, arguments));
}

std::int32_t UpdateToolManager::repairUpdateTool(const std::string& toolPath,
                                                 const std::string& updateQMSignaturePath) {
    status_ = UpdateToolStatusRunning;
    logDetail("updateQMSignaturePath is %@", updateQMSignaturePath);
    return endRepair(runUninstalledUpdateToolAsAdmin(toolPath, {"repair", updateQMSignaturePath}));
}

std::int32_t UpdateToolManager::repairPermissions() {
    status_ = UpdateToolStatusRunning;
    return endRepair(runUpdateToolAsAdmin({"repairpermissions"}));
}

std::int32_t UpdateToolManager::repairCoreAppPermissions(const Argument& path) {
    return repair("repaircore", {path});
}

std::int32_t UpdateToolManager::repairQMTool(const Argument& packagePath,
                                             const Argument& signaturePath) {
    return repair("repairother", {packagePath, signaturePath});
}

std::int32_t UpdateToolManager::repairQMToolPermissions(const Argument& name) {
    return repair("repairpermissionsother", {name});
}

std::int32_t UpdateToolManager::repairBundleUsingPackage(const Argument& packagePath) {
    return repair("repairpackage", {packagePath});
}

std::int32_t UpdateToolManager::repairFrameworkUsingPackage(const std::string& packagePath) {
    const std::int32_t result = beginRepair("repairpackage", {packagePath});
    if (namesMacFUSE(packagePath)) keepInstallerLog();
    return endRepair(result);
}

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

std::int32_t UpdateToolManager::repairQMToolRootPermissions(const Argument& name) {
    return repair("repairpermissionsotherroot", {name});
}

std::int32_t UpdateToolManager::repairZIPArchive(const Argument& archivePath,
                                                 const Argument& signaturePath,
                                                 const Argument& installPath) {
    return repair("repairzipitem", {archivePath, signaturePath, installPath});
}

std::int32_t UpdateToolManager::repairIntel10_5(const Argument& packagePath,
                                                const Argument& signaturePath) {
    return repair("repairintel10_5", {packagePath, signaturePath});
}

std::int32_t UpdateToolManager::installClientUpdate(const Argument& packagePath,
                                                    const Argument& signaturePath,
                                                    const Argument& installPath) {
    return repair("applyfullupdate", {packagePath, signaturePath, installPath});
}

std::int32_t UpdateToolManager::repairMonoKeypairPermissions() {
    return beginRepair(
        "fixmonokeypairs",
        {platform::pathByAppending(platform::services().homeFolder, ".config/.mono/keypairs")});
}

}  // namespace quillmore
