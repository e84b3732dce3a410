#include "Common/MoveToApplications/PFMoveApplication.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "Common/MoveToApplications/PFMoveApplication+Steps.h"
#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/Paths.h"
#include "Platform/Files/SearchPaths.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/Workspace.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Settings/UserDefaults.h"
#include "Platform/Threads/SharedInstance.h"
#include "Platform/Values/Text.h"

namespace quillmore {

namespace {

platform::SharedInstance<PFMoveSettings> moveSettings;

constexpr const char* kApplications = "Applications";
constexpr const char* kVolumes = "/Volumes/";

bool liesInApplicationsFolder(const std::string& path) {
    using platform::Domain;
    for (const Domain domain : {Domain::user, Domain::local, Domain::network, Domain::system}) {
        const auto folders = platform::applicationsFolders(domain, platform::services().homeFolder);
        // Deliberate: the texts are compared, "/Applications 2" begins like "/Applications". The
        // user's own may be a link, which the path of a running program does not show.
        if (std::any_of(folders.begin(), folders.end(), [&](const auto& folder) {
                return path.starts_with(folder) ||
                       (domain == Domain::user && leadsTo(folder, path));
            }))
            return true;
    }
    const auto components = platform::componentsSeparatedBy(path, '/');
    return std::find(components.begin(), components.end(), kApplications) != components.end();
}

/// Started twice, both launchers ask; while the second waits for its answer the first may have
/// moved. What it put in place must not make room for a source that is no longer there.
bool mayMove(const MovePlan& plan, const MoveLock& lock) {
    if (lock.isHeldByAnother()) {
        logError("Another copy of this application is moving itself");
        return false;
    }
    if (__QMCurrentThreadFileManager().fileExists(plan.source)) return true;
    logError("Could not copy myself to %@", plan.destination);
    return false;
}

void moveAsPlanned(const MovePlan& plan, bool needsRights) {
    MoveReport report;
    const MoveLock lock;
    logNormal("Moving myself to the Applications folder");
    if (!mayMove(plan, lock)) return showFailedMove(plan, report);
    switch (needsRights ? moveWithAuthorization(plan, report) : moveWithTrash(plan, report)) {
        case MoveResult::succeeded:
            return finishMove(plan);
        case MoveResult::cancelled:
            return;
        case MoveResult::failed:
            return showFailedMove(plan, report);
    }
}

platform::Result<platform::LockFile> takeMoveLock() {
    const platform::FileManager& files = __QMCurrentThreadFileManager();
    const platform::Services& services = platform::services();
    const std::string folder = platform::pathByAppending(services.homeFolder, "Library/Caches");
    files.createDirectory(folder, 0700);
    const std::string name =
        services.mainBundle->bundleIdentifier().value_or(services.processName) + ".move.lock";
    return platform::LockFile::take(files.hostPath(platform::pathByAppending(folder, name)), {});
}

}  // namespace

MoveLock::MoveLock() : lock_(takeMoveLock()) {}

bool MoveLock::isHeldByAnother() const {
    return !lock_ && lock_.error().code() == EWOULDBLOCK;
}

const PFMoveSettings& PFCurrentMoveSettings() {
    return moveSettings.get();
}

std::optional<std::string> PFAltSrcBundlePath(std::optional<std::string> path) {
    return moveSettings.get().gAltSrcBundlePath = std::move(path);
}

std::optional<std::string> PFAltDstBundleParentPath(std::optional<std::string> path) {
    return moveSettings.get().gAltDstBundleParentPath = std::move(path);
}

std::optional<std::string> PFAltDstBundleName(std::optional<std::string> name) {
    return moveSettings.get().gAltDstBundleName = std::move(name);
}

PFPaths PFAlsoRemoveBundles(PFPaths paths) {
    return moveSettings.get().gAlsoRemoveBundlePaths = std::move(paths);
}

void PFMoveToApplicationsFolderIfNecessary() {
    // Deliberate: whatever was set, this program moves itself, to the usual place.
    PFAltSrcBundlePath(std::nullopt);
    PFAltDstBundleParentPath(std::nullopt);
    removeInterruptedCopy(moveDestination());
    if (platform::services().standardUserDefaults->boolForKey(
            kMoveToApplicationsFolderAlertSuppress))
        return;
    if (liesInApplicationsFolder(platform::services().mainBundle->bundlePath())) return;
    PFMove();
}

void PFMove() {
    const MovePlan plan = makeMovePlan();
    if (!__QMCurrentThreadFileManager().isWritable(plan.source) &&
        !plan.source.starts_with(kVolumes)) {
        logNormal("No access to delete the app. Not offering to move it.");
        return;
    }
    // By another path it is in its place already; making room there would remove it.
    if (holdsSource(plan.destination, plan.source)) {
        logNormal("\"%@\" is this application. Not offering to move it.", plan.destination);
        return;
    }
    const bool needsRights = needsAdministrator(plan);
    if (askToMove(plan, needsRights)) moveAsPlanned(plan, needsRights);
}

bool Trash(const std::string& path) {
    logVerbose("Trashing \"%@\"...", path);
    const bool trashed = platform::services().workspace->recycleFile(
        platform::pathByDeletingLastComponent(path), platform::lastPathComponent(path));
    if (trashed) {
        logVerbose("Trashed \"%@\"", path);
    } else {
        logError("Could not trash \"%@\"", path);
    }
    return trashed;
}

}  // namespace quillmore
