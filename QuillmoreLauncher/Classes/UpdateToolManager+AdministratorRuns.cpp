// Runs with administrator rights: started and left to themselves, once the user has agreed.
#include "Common/BrandingManager.h"
#include "Common/Tools/AdministratorRights.h"
#include "Common/utils/Logging.h"
#include "Platform/Processes/TerminationSignals.h"
#include "QuillmoreLauncher/Classes/RequiredItem.h"
#include "QuillmoreLauncher/Classes/UpdateToolManager.h"

namespace quillmore {

std::int32_t UpdateToolManager::runUpdateToolAsAdmin(const std::vector<std::string>& args) {
    return runAsAdmin("runUpdateToolAsAdmin", installedToolPath(kNameUpdateTool), args, false);
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
    platform::OSStatus answer = rights.ask(platform::AuthorizationPurpose::installComponents,
                                           QMLocalizedString("QuillmoreLauncher_AskToInstall"));
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

}  // namespace quillmore
