// The move with administrator rights. Old copies are deleted outright here: the Trash is the
// user's.
#include "Common/BrandingManager.h"
#include "Common/MoveToApplications/PFMoveApplication+Steps.h"
#include "Common/Tools/AdministratorRights.h"
#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Platform/Processes/TerminationSignals.h"

namespace quillmore {

namespace {

bool isBlank(const std::string& path) {
    return path.find_first_not_of(" \t\r\n\v\f") == std::string::npos;
}

MoveResult obtain(AdministratorRights& rights) {
    logVerbose("Asking for authorisation...");
    if (rights.create() != platform::kAuthorizationSuccess) return MoveResult::failed;
    const platform::OSStatus answer = rights.ask(platform::AuthorizationPurpose::moveToApplications,
                                                 QMLocalizedString("QuillmoreLauncher_AskToMove"));
    if (answer == platform::kAuthorizationSuccess) return MoveResult::succeeded;
    logVerbose("Authorisation denied");
    return answer == platform::kAuthorizationCanceled ? MoveResult::cancelled : MoveResult::failed;
}

std::optional<platform::ProcessEnd> removeAsAdministrator(AdministratorRights& rights,
                                                          const std::string& path) {
    logVerbose("Removing \"%@\"", path);
    return rights.run("/bin/rm", {"-rf", path});
}

bool removeOldCopies(AdministratorRights& rights, const MovePlan& plan, MoveReport& report) {
    const platform::FileManager& files = __QMCurrentThreadFileManager();
    std::vector<std::string> paths = {plan.destination};
    paths.insert(paths.end(), plan.alsoRemove.begin(), plan.alsoRemove.end());
    for (const std::string& path : paths) {
        if (!files.fileExists(path)) continue;
        const auto end = removeAsAdministrator(rights, path);
        if (!files.fileExists(path)) {
            report.removed.push_back(path);
        } else if (end && end->signalled) {
            report.incomplete = path;
        }
        // Deliberate: only a signal counts, not the exit status.
        if (!end || end->signalled) return false;
    }
    return true;
}

bool copyAsAdministrator(AdministratorRights& rights, const MovePlan& plan, MoveReport& report) {
    const platform::FileManager& files = __QMCurrentThreadFileManager();
    const bool placeIsFree = !files.fileExists(plan.destination);
    logVerbose("Copying \"%@\" to \"%@\"", plan.source, plan.destination);
    const auto end = rights.run("/bin/cp", {"-pR", plan.source, plan.destination});
    if (end && end->succeeded()) return true;
    // Half a copy under the application's own name would be taken for the application. What could
    // not be removed before stays.
    if (placeIsFree && files.fileExists(plan.destination)) {
        removeAsAdministrator(rights, plan.destination);
        if (files.fileExists(plan.destination)) report.incomplete = plan.destination;
    }
    return false;
}

MoveResult moveAsAdministrator(const MovePlan& plan, MoveReport& report) {
    if (!plan.destination.ends_with(".app") || isBlank(plan.destination) || isBlank(plan.source))
        return MoveResult::failed;
    AdministratorRights rights;
    const MoveResult answer = obtain(rights);
    if (answer != MoveResult::succeeded) return answer;
    // From the first removal to the copy's end: between the two no application would be in place.
    const platform::TerminationDelay delay;
    const bool moved =
        removeOldCopies(rights, plan, report) && copyAsAdministrator(rights, plan, report);
    if (moved) return MoveResult::succeeded;
    return rights.wasCancelled() ? MoveResult::cancelled : MoveResult::failed;
}

}  // namespace

MoveResult moveWithAuthorization(const MovePlan& plan, MoveReport& report) {
    const MoveResult result = moveAsAdministrator(plan, report);
    if (result == MoveResult::cancelled)
        logNormal("Not moving because user canceled authorization");
    if (result == MoveResult::failed)
        logError("Could not copy myself to /Applications with authorization");
    return result;
}

}  // namespace quillmore
