// What the user is asked, and told when it went wrong.
#include <algorithm>

#include "Common/BrandingManager.h"
#include "Common/MoveToApplications/PFMoveApplication+Steps.h"
#include "Common/MoveToApplications/PFMoveApplication.h"
#include "Common/utils/Errors.h"
#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/Paths.h"
#include "Platform/Files/SearchPaths.h"
#include "Platform/Interface/UserInterface.h"
#include "Platform/Ports/Services.h"
#include "Platform/Settings/UserDefaults.h"

namespace quillmore {

namespace {

constexpr const char* kEscapeKey = "\033";

bool liesInDownloadsFolder(const MovePlan& plan) {
    if (plan.framework == PFFramework::upTo824) {
        return platform::lastPathComponent(platform::pathByDeletingLastComponent(plan.source)) ==
               "Downloads";
    }
    using platform::Domain;
    for (const Domain domain : {Domain::user, Domain::local, Domain::network, Domain::system}) {
        const auto folders = platform::downloadsFolders(__QMCurrentThreadFileManager(), domain,
                                                        platform::services().homeFolder);
        if (std::any_of(folders.begin(), folders.end(),
                        [&](const auto& folder) { return plan.source.starts_with(folder); }))
            return true;
    }
    return false;
}

platform::Alert question(const MovePlan& plan, bool needsRights) {
    platform::Alert alert;
    alert.messageText = QMLocalizedString("Move to Applications folder?");
    alert.informativeText =
        QMLocalizedString("I can move myself to the Applications folder if you'd like.");
    if (needsRights) {
        alert.informativeText +=
            " " + QMLocalizedString("Note that this will require an administrator password.");
    } else if (liesInDownloadsFolder(plan)) {
        alert.informativeText +=
            " " + QMLocalizedString("This will keep your Downloads folder uncluttered.");
    }
    alert.buttons = {{QMLocalizedString("Move to Applications Folder"), ""},
                     {QMLocalizedString("Do Not Move"), kEscapeKey}};
    alert.showsSuppressionButton = plan.framework != PFFramework::upTo824;
    return alert;
}

void neverAskAgain() {
    platform::UserDefaults& defaults = *platform::services().standardUserDefaults;
    defaults.setObject(kMoveToApplicationsFolderAlertSuppress, true);
    if (const auto error = defaults.synchronize()) logNSError(error);
}

}  // namespace

bool askToMove(const MovePlan& plan, bool needsRights) {
    const platform::Alert alert = question(plan, needsRights);
    const platform::AlertAnswer answer = platform::services().userInterface->runModal(alert);
    if (answer.button == 0) return true;
    // Deliberate: without the box, declining once is declining for good.
    if (!alert.showsSuppressionButton || answer.suppressed) neverAskAgain();
    return false;
}

void showFailedMove(const MovePlan& plan, const MoveReport& report) {
    for (const std::string& path : report.trashed)
        logNormal("What was at \"%@\" is in the Trash.", path);
    for (const std::string& path : report.removed)
        logNormal("What was at \"%@\" has been removed.", path);
    if (report.incomplete) logNormal("\"%@\" is an incomplete copy.", *report.incomplete);
    const bool isThere = __QMCurrentThreadFileManager().fileExists(plan.source);
    logNormal(isThere ? "I am still at \"%@\"." : "\"%@\" is no longer there.", plan.source);
    platform::Alert alert;
    alert.messageText = QMLocalizedString("Could not move to Applications folder");
    alert.buttons = {{QMLocalizedString("OK"), ""}};
    platform::services().userInterface->runModal(alert);
}

}  // namespace quillmore
