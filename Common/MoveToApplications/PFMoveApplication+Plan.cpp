// What would be moved where, and what that takes.
#include <algorithm>
#include <cmath>

#include "Common/MoveToApplications/PFMoveApplication+Steps.h"
#include "Common/MoveToApplications/PFMoveApplication.h"
#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/Paths.h"
#include "Platform/Files/SearchPaths.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/SystemInformation.h"
#include "Platform/Settings/Bundle.h"

namespace quillmore {

namespace {

std::string sourcePath() {
    return PFCurrentMoveSettings().gAltSrcBundlePath.value_or(
        platform::services().mainBundle->bundlePath());
}

std::string destinationFolder() {
    if (const auto& folder = PFCurrentMoveSettings().gAltDstBundleParentPath) return *folder;
    const auto folders =
        platform::applicationsFolders(platform::Domain::local, platform::services().homeFolder);
    return folders.empty() ? std::string() : folders.back();
}

std::vector<std::string> pathsToRemove(const std::string& source) {
    std::vector<std::string> paths;
    for (const std::string& path :
         PFCurrentMoveSettings().gAlsoRemoveBundlePaths.value_or(std::vector<std::string>())) {
        std::string expanded = platform::expandTilde(path, platform::services().homeFolder);
        if (holdsSource(expanded, source)) {
            logVerbose("\"%@\" is this application - not to be removed", expanded);
        } else {
            paths.push_back(std::move(expanded));
        }
    }
    return paths;
}

}  // namespace

PFFramework currentFramework() {
    const double version =
        std::floor(platform::services().systemInformation->applicationFrameworkVersion());
    if (version > 949.0) return PFFramework::above949;
    return version > 824.0 ? PFFramework::upTo949 : PFFramework::upTo824;
}

std::string moveDestination() {
    return platform::pathByAppending(destinationFolder(),
                                     platform::lastPathComponent(sourcePath()));
}

MovePlan makeMovePlan() {
    MovePlan plan;
    plan.source = sourcePath();
    plan.destination = moveDestination();
    plan.alsoRemove = pathsToRemove(plan.source);
    plan.framework = currentFramework();
    plan.startedFromDiskImage = plan.source.starts_with("/Volumes/") &&
                                !__QMCurrentThreadFileManager().isWritable(plan.source);
    return plan;
}

bool needsAdministrator(const MovePlan& plan) {
    const platform::FileManager& files = __QMCurrentThreadFileManager();
    if (!files.isWritable(platform::pathByDeletingLastComponent(plan.destination))) return true;
    // Deliberate: a destination that is not there yet is not writable, so that the password is
    // asked for whenever no writable copy is in place.
    if (!files.isWritable(plan.destination)) return true;
    return std::any_of(plan.alsoRemove.begin(), plan.alsoRemove.end(), [&](const auto& path) {
        return files.fileExists(path) && !files.isWritable(path);
    });
}

bool holdsSource(const std::string& path, const std::string& source) {
    const auto attributes = __QMCurrentThreadFileManager().attributes(path);
    return attributes && attributes->type != platform::FileType::symbolicLink &&
           leadsTo(path, source);
}

bool leadsTo(const std::string& path, const std::string& source) {
    const platform::FileManager& files = __QMCurrentThreadFileManager();
    if (!files.fileExists(path)) return false;
    const auto identity = files.identity(path);
    for (std::string folder = source; !folder.empty();
         folder = platform::pathByDeletingLastComponent(folder)) {
        if (files.identity(folder) == identity) return true;
        if (folder == "/") return false;
    }
    return false;
}

std::string stagingPath(const std::string& destination) {
    return platform::pathByAppending(platform::pathByDeletingLastComponent(destination),
                                     "." + platform::lastPathComponent(destination) + ".partial");
}

}  // namespace quillmore
