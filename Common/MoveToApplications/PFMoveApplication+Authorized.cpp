// The move with administrator rights. Old copies are deleted outright here: the Trash is the
// user's.
#include <memory>

#include "Common/MoveToApplications/PFMoveSteps.h"
#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Platform/Ports/Authorization.h"
#include "Platform/Ports/Services.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "Platform/Processes/TerminationSignals.h"
#include "Platform/Values/Exception.h"

namespace quillmore {

namespace {

constexpr const char* kAdministratorRight = "system.privilege.admin";
constexpr std::uint32_t kAskForRights = platform::kAuthorizationFlagInteractionAllowed |
                                        platform::kAuthorizationFlagExtendRights |
                                        platform::kAuthorizationFlagPreAuthorize;

bool isBlank(const std::string& path) {
    return path.find_first_not_of(" \t\r\n\v\f") == std::string::npos;
}

/// The rights for one move; given back when it is over, however it went.
class AdministratorRights {
public:
    AdministratorRights() = default;
    ~AdministratorRights() {
        if (reference_) authorization_.free(std::move(reference_));
    }
    AdministratorRights(const AdministratorRights&) = delete;
    AdministratorRights& operator=(const AdministratorRights&) = delete;

    MoveResult obtain() {
        logVerbose("Asking for authorisation...");
        if (authorization_.create(reference_) != platform::kAuthorizationSuccess)
            return MoveResult::failed;
        const platform::OSStatus answer =
            authorization_.copyRights(*reference_, {kAdministratorRight}, kAskForRights);
        if (answer == platform::kAuthorizationSuccess) return MoveResult::succeeded;
        logVerbose("Authorisation denied");
        return answer == platform::kAuthorizationCanceled ? MoveResult::cancelled
                                                          : MoveResult::failed;
    }
    /// How the tool ended; nothing when it did not start or could not be waited for.
    std::optional<platform::ProcessEnd> run(const char* tool,
                                            const std::vector<std::string>& arguments) {
        platform::PrivilegedProcess started;
        if (authorization_.executeWithPrivileges(*reference_, tool, arguments,
                                                 platform::Authorization::Communications::none,
                                                 started) != platform::kAuthorizationSuccess)
            return std::nullopt;
        try {
            return platform::services().processes->wait(started.process);
        } catch (const platform::Exception&) {
            return std::nullopt;
        }
    }

private:
    platform::Authorization& authorization_ = *platform::services().authorization;
    std::unique_ptr<platform::AuthorizationReference> reference_;
};

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
    // Half a copy under the application's own name would be taken for the application. (Killed
    // together with this process, "cp -p" leaves one that only root may enter: it opens a folder
    // when that is whole.) What could not be removed before stays.
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
    const MoveResult answer = rights.obtain();
    if (answer != MoveResult::succeeded) return answer;
    // From the first removal to the copy's end: between the two no application would be in place.
    const platform::TerminationDelay delay;
    const bool moved =
        removeOldCopies(rights, plan, report) && copyAsAdministrator(rights, plan, report);
    return moved ? MoveResult::succeeded : MoveResult::failed;
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
