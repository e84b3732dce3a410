// The move with the user's own rights: what is in the way goes to the Trash. The copy grows under
// another name and is renamed when it is whole, so that a launcher which is killed meanwhile leaves
// nothing that looks like an application.
#include "Common/MoveToApplications/PFMoveApplication+Steps.h"
#include "Common/MoveToApplications/PFMoveApplication.h"
#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/FileManager.h"
#include "Platform/Processes/TerminationSignals.h"

namespace quillmore {

namespace {

std::optional<platform::Error> removeIfThere(const std::string& path) {
    const platform::FileManager& files = __QMCurrentThreadFileManager();
    return files.attributes(path) ? files.removeItem(path) : std::nullopt;
}

std::optional<platform::Error> copyInStages(const MovePlan& plan, MoveReport& report) {
    const platform::FileManager& files = __QMCurrentThreadFileManager();
    const std::string staging = stagingPath(plan.destination);
    if (auto error = removeIfThere(staging)) return error;
    auto error = files.copyItem(plan.source, staging);
    if (!error) error = files.moveItem(staging, plan.destination);
    if (error && removeIfThere(staging)) report.incomplete = staging;
    return error;
}

bool trashOldCopies(const MovePlan& plan, MoveReport& report) {
    const platform::FileManager& files = __QMCurrentThreadFileManager();
    if (files.fileExists(plan.destination)) {
        if (!Trash(plan.destination)) return false;
        report.trashed.push_back(plan.destination);
    }
    for (const std::string& path : plan.alsoRemove) {
        if (!files.fileExists(path)) continue;
        if (Trash(path)) {
            report.trashed.push_back(path);
        } else {
            logVerbose("Failed to trash \"%@\"", path);
        }
    }
    return true;
}

}  // namespace

MoveResult moveWithTrash(const MovePlan& plan, MoveReport& report) {
    const platform::TerminationDelay delay;
    if (!trashOldCopies(plan, report)) return MoveResult::failed;
    if (plan.framework != PFFramework::above949) {
        logError("Could not copy myself to %@", plan.destination);
        return MoveResult::failed;
    }
    if (const auto error = copyInStages(plan, report)) {
        logError("Could not copy '%@' to '%@' (%@)", plan.source, plan.destination, *error);
        logError("Could not copy myself to %@", plan.destination);
        return MoveResult::failed;
    }
    return MoveResult::succeeded;
}

void removeInterruptedCopy(const std::string& destination) {
    const std::string staging = stagingPath(destination);
    if (!__QMCurrentThreadFileManager().attributes(staging)) return;
    const MoveLock lock;
    if (lock.isHeldByAnother()) return;
    if (const auto error = removeIfThere(staging)) {
        logError("Could not remove \"%@\", which an interrupted move left (%@)", staging, *error);
    } else {
        logNormal("Removed \"%@\", which an interrupted move left", staging);
    }
}

}  // namespace quillmore
