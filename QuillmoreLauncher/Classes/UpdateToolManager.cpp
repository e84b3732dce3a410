#include "QuillmoreLauncher/Classes/UpdateToolManager.h"

#include <sstream>

#include "Common/utils/Errors.h"
#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/Paths.h"
#include "Platform/Ports/Services.h"
#include "Platform/Processes/ErrorTee.h"
#include "Platform/Processes/Task.h"
#include "Platform/Processes/TerminationSignals.h"
#include "Platform/Threads/SharedInstance.h"
#include "Platform/Values/TextEncoding.h"
#include "QuillmoreLauncher/Classes/RequiredItem.h"

namespace quillmore {

namespace {

platform::SharedInstance<UpdateToolManager> _updateToolManager;

constexpr const char* kInstalledTool = "/Library/Application Support/Quillmore/%@";
constexpr mode_t kSetUserIdTool = 04755;

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
    std::optional<platform::ErrorTee> words;
    try {
        platform::Task task(*platform::services().processes);
        task.setLaunchPath(launchPath);
        task.setArguments(withArgs);
        if (repairedItem_ && waitUntilExit) task.setStandardError(words.emplace().pipe());
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
    if (words) logWords(words->take(), launchPath, withArgs);
    if (!succeeded) {
        logError("UpdateToolManager:runExe: Failed running \"%@\"", launchPath);
        return UpdateToolStatusFailed;
    }
    logVerbose("UpdateToolManager:runExe: Succeeded running \"%@\"", launchPath);
    return UpdateToolStatusOK;
}

/// Not on the terminal: there the words are already.
void UpdateToolManager::logWords(const std::string& words, const std::string& launchPath,
                                 const std::vector<std::string>& arguments) const {
    std::istringstream lines(words);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) continue;
        _logErrorToFile(platform::format(
            "Repair of \"%@\" (%@ %@): %@", *repairedItem_, platform::lastPathComponent(launchPath),
            arguments.empty() ? "" : arguments.front(), platform::repairedUtf8(line)));
    }
}

std::int32_t UpdateToolManager::runUpdateTool(const std::vector<std::string>& args,
                                              bool waitUntilExit) {
    return runExe(installedToolPath(kNameUpdateTool), args, waitUntilExit);
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
