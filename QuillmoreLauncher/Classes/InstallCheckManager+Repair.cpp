// The repair run: the update tool first, then everything else through it.
#include "Common/BrandingManager.h"
#include "Platform/Files/Paths.h"
#include "Platform/Interface/Application.h"
#include "Platform/Interface/UserInterface.h"
#include "Platform/Ports/Services.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Threads/Clock.h"
#include "QuillmoreLauncher/Classes/InstallCheckManager.h"
#include "QuillmoreLauncher/Classes/ItemTypes.h"
#include "QuillmoreLauncher/Classes/UpdateToolManager.h"
#include "QuillmoreLauncher/Quillmore_LauncherAppDelegate.h"

namespace quillmore {

namespace {

constexpr platform::Clock::Seconds kPause(2);

std::string pathInResources(const std::optional<std::string>& relativePath) {
    const std::string folder = platform::services().mainBundle->resourcePath();
    return relativePath ? platform::pathByAppending(folder, *relativePath) : folder;
}

platform::Alert failureAlert(const char* messageKey) {
    platform::Alert alert;
    alert.messageText = QMLocalizedString(messageKey);
    alert.informativeText = QMLocalizedString("RepairFailed");
    alert.buttons = {{QMLocalizedString("OK"), ""}};
    return alert;
}

}  // namespace

std::string InstallCheckManager::pathToRequiredItemInResources(const RequiredItem& item) const {
    return pathInResources(item.resource());
}

std::string InstallCheckManager::pathToRequiredItemInstallerInResources(
    const RequiredItem& item) const {
    return pathInResources(item.installer());
}

std::string InstallCheckManager::pathToRequiredItemSignatureInResources(
    const RequiredItem& item) const {
    return pathInResources(item.signature());
}

/// The status of the first equal entry: a duplicate is repaired with that one's status.
bool InstallCheckManager::hasStatus(const RequiredItem& item, const char* word) const {
    for (std::size_t i = 0; i < requiredItemsList.size(); ++i) {
        if (requiredItemsList[i] != item) continue;
        return i < requiredItemsStatusList.size() &&
               requiredItemsStatusList[i] == QMLocalizedString(word);
    }
    return false;
}

bool InstallCheckManager::isOutdated(const RequiredItem& item) const {
    return hasStatus(item, kStatusMissing) || hasStatus(item, kStatusOldVersion);
}

// Deliberate: acts whatever the status is, and the check's answer does not matter.
bool InstallCheckManager::repairUpdateQM(const RequiredItem& item) {
    UpdateToolManager& tool = UpdateToolManager::sharedManager();
    tool.verifyUpdateTool(item.name());
    return tool.repairUpdateTool(pathToRequiredItemInResources(item),
                                 pathToRequiredItemSignatureInResources(item)) ==
           UpdateToolStatusOK;
}

bool InstallCheckManager::repairCoreApp(const RequiredItem& item) {
    if (!hasStatus(item, kStatusWrongPermissions)) return true;
    return UpdateToolManager::sharedManager().repairCoreAppPermissions(
               pathToRequiredItemInResources(item)) == UpdateToolStatusOK;
}

bool InstallCheckManager::repairQMTool(const RequiredItem& item) {
    UpdateToolManager& tool = UpdateToolManager::sharedManager();
    if (isOutdated(item)) {
        return tool.repairQMTool(pathToRequiredItemInResources(item),
                                 pathToRequiredItemSignatureInResources(item)) ==
               UpdateToolStatusOK;
    }
    if (!hasStatus(item, kStatusWrongPermissions)) return false;
    return tool.repairQMToolPermissions(item.name()) == UpdateToolStatusOK;
}

bool InstallCheckManager::repairQMToolRoot(const RequiredItem& item) {
    UpdateToolManager& tool = UpdateToolManager::sharedManager();
    if (isOutdated(item)) {
        return tool.repairQMToolRoot(pathToRequiredItemInResources(item),
                                     pathToRequiredItemSignatureInResources(item)) ==
               UpdateToolStatusOK;
    }
    if (!hasStatus(item, kStatusWrongPermissions)) return false;
    return tool.repairQMToolRootPermissions(item.name()) == UpdateToolStatusOK;
}

bool InstallCheckManager::repairFramework(const RequiredItem& item) {
    if (!isOutdated(item)) return false;
    return UpdateToolManager::sharedManager().repairFrameworkUsingPackage(
               pathToRequiredItemInstallerInResources(item)) == UpdateToolStatusOK;
}

// Deliberate: an "Invalid" bundle is not repaired and fails the run.
bool InstallCheckManager::repairBundle(const RequiredItem& item) {
    if (!isOutdated(item)) return false;
    return UpdateToolManager::sharedManager().repairBundleUsingPackage(
               pathToRequiredItemInstallerInResources(item)) == UpdateToolStatusOK;
}

bool InstallCheckManager::repairZIPArchiveItem(const RequiredItem& item) {
    if (!isOutdated(item)) return true;
    return UpdateToolManager::sharedManager().repairZIPArchive(
               pathToRequiredItemInResources(item), pathToRequiredItemSignatureInResources(item),
               item.installPath()) == UpdateToolStatusOK;
}

/// One entry of the second pass; true also when there is nothing to do for it.
bool InstallCheckManager::repairItem(const RequiredItem& item) {
    const ItemType* type = itemTypeOf(item);
    if (type == nullptr || !isRepairedByRun(*type, item)) return true;
    if (hasStatus(item, kStatusOK) || hasStatus(item, kStatusNotRequired)) return true;
    UpdateToolManager::sharedManager().setRepairedItem(item.name().value_or(""));
    return (this->*type->repair)(item);
}

bool InstallCheckManager::repairEverything() {
    platform::Clock& clock = *platform::services().clock;
    // Deliberate: the update tool is reinstalled on every run and before anything else, because
    // every other repair runs through it.
    for (const RequiredItem& item : requiredItemsList) {
        if (item.name() == kNameUpdateTool && !repairUpdateQM(item)) return false;
    }
    clock.sleepFor(kPause);
    for (const RequiredItem& item : requiredItemsList) {
        if (!repairItem(item)) return false;
    }
    if (areIntel_10_5FixesRequired() && !installIntel_10_5_Fixes()) return false;
    clock.sleepFor(kPause);
    return true;
}

void InstallCheckManager::runSelfRepairThread() {
    if (!repairEverything()) return _repairFailed();
    platform::services().application->performOnMainThread([this] { bringWindowBackToFront(); });
}

void InstallCheckManager::_repairFailed() {
    platform::services().application->performOnMainThread([this] { repairFailed(); });
}

void InstallCheckManager::repairFailed() {
    platform::UserInterface& userInterface = *platform::services().userInterface;
    userInterface.endSheet(repairProgressWindow);
    userInterface.beginAlertSheet(failureAlert("RepairFailedTitle"), checkWindow);
}

void InstallCheckManager::bringWindowBackToFront() {
    repairProgressIndicator.stopAnimation();
    platform::services().userInterface->endSheet(repairProgressWindow);
    if (!checkForRequiredItems()) return;
    runQuillmore();
    platform::services().application->terminate();
}

void InstallCheckManager::runQuillmore() {
    updateStatus();
    if (numberItemsMissing > 0) {
        platform::services().userInterface->beginAlertSheet(failureAlert("RunFailedTitle"),
                                                            checkWindow);
        return;
    }
    auto* delegate =
        dynamic_cast<Quillmore_LauncherAppDelegate*>(platform::services().application->delegate());
    if (delegate != nullptr) delegate->launchCore();
}

}  // namespace quillmore
