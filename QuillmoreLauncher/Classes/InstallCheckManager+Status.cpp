// What is installed, item by item: a status word each, two counters and two flags.
#include "Common/BrandingManager.h"
#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Platform/Values/Exception.h"
#include "QuillmoreLauncher/Classes/InstallCheckManager+Version.h"
#include "QuillmoreLauncher/Classes/InstallCheckManager.h"
#include "QuillmoreLauncher/Classes/ItemTypes.h"
#include "QuillmoreLauncher/Classes/UpdateToolManager.h"

namespace quillmore {

namespace {

constexpr mode_t kToolPermissions = 0755;  // exactly: no bit more, no bit less

bool isInstalled(const RequiredItem& item) {
    const auto path = item.installPath();
    return path && __QMCurrentThreadFileManager().fileExists(*path);
}

void logExamining(const RequiredItem& item) {
    logDetail("Examining installed \"%@\"", item.installPath());
}

}  // namespace

bool InstallCheckManager::checkForRequiredItems() {
    updateStatus();
    if (numberRepairsRequired == 0 && numberItemsMissing == 0) return true;
    runSelfRepair();
    return false;
}

void InstallCheckManager::updateStatus() {
    logDetail("Updating status...");
    requiredItemsStatusList.assign(requiredItemsList.size(), QMLocalizedString(kStatusOK));
    numberRepairsRequired = 0;
    numberItemsMissing = 0;
    m_MacFuseRepairRequired = false;
    m_HelperRepairRequired = false;
    std::int32_t index = 0;
    for (const RequiredItem& item : requiredItemsList) {
        logDetail("Checking %@ \"%@\"...", item.type(), item.name());
        if (const ItemType* type = itemTypeOf(item)) (this->*type->updateStatus)(item, index);
        logVerbose("Install check: %@ \"%@\" is \"%@\"", item.type(), item.name(),
                   requiredItemsStatusList[static_cast<std::size_t>(index)]);
        ++index;
    }
    logDetail("Updated status");
}

void InstallCheckManager::setStatus(std::int32_t atIndex, const char* word) {
    if (atIndex < 0 || static_cast<std::size_t>(atIndex) >= requiredItemsStatusList.size()) {
        throw platform::Exception("NSRangeException",
                                  platform::format("no status at index %d", atIndex));
    }
    requiredItemsStatusList[static_cast<std::size_t>(atIndex)] = QMLocalizedString(word);
}

void InstallCheckManager::count(std::int32_t atIndex, const char* word) {
    setStatus(atIndex, word);
    ++numberRepairsRequired;
    ++numberItemsMissing;
    m_HelperRepairRequired = true;
}

void InstallCheckManager::updateRequiredItemStatusCoreApp(const RequiredItem& item,
                                                          std::int32_t atIndex) {
    logDetail("Examining \"%@\"", pathToRequiredItemInResources(item));
    if (!verifyCoreAppPermissions(item)) count(atIndex, kStatusWrongPermissions);
}

// Deliberate: the rule tests nothing, so a framework is always in order, "Mono" like any other.
void InstallCheckManager::updateRequiredItemStatusFramework(const RequiredItem& item,
                                                            std::int32_t) {
    logExamining(item);
}

void InstallCheckManager::updateRequiredItemStatusBundle(const RequiredItem& item,
                                                         std::int32_t atIndex) {
    logExamining(item);
    if (!isInstalled(item))
        setStatus(atIndex, kStatusMissing);
    else if (const auto version = getBundleVersion(item); !version)
        setStatus(atIndex, kStatusInvalid);
    else if (!checkFrameworkVersion(item, *version))
        setStatus(atIndex, kStatusOldVersion);
    else
        return;
    // Deliberate: a bundle counts as missing only, and the flag is assigned: a later bundle with
    // another name takes back what an earlier file system had set.
    ++numberItemsMissing;
    m_MacFuseRepairRequired = item.name() == kNameFileSystem;
}

void InstallCheckManager::updateRequiredItemStatusTool(const RequiredItem& item,
                                                       std::int32_t atIndex) {
    logExamining(item);
    if (!isInstalled(item))
        count(atIndex, kStatusMissing);
    else if (doesToolNeedUpdate(item))
        count(atIndex, kStatusOldVersion);
    else if (!verifyQMToolPermissions(item))
        count(atIndex, kStatusWrongPermissions);
}

void InstallCheckManager::updateRequiredItemStatusToolRoot(const RequiredItem& item,
                                                           std::int32_t atIndex) {
    logExamining(item);
    if (!checkMinMacOSXVersion(item))
        setStatus(atIndex, kStatusNotRequired);
    else if (!isInstalled(item))
        count(atIndex, kStatusMissing);
    else if (doesToolNeedUpdate(item))
        count(atIndex, kStatusOldVersion);
    else if (UpdateToolManager::sharedManager().verifyUpdateTool(item.name()) ==
             UpdateToolStatusWrongPermissions)
        count(atIndex, kStatusWrongPermissions);
}

void InstallCheckManager::updateRequiredItemStatusFinderCM(const RequiredItem& item,
                                                           std::int32_t atIndex) {
    logExamining(item);
    if (!checkMaxMacOSXVersion(item))
        setStatus(atIndex, kStatusNotRequired);
    else if (!isInstalled(item))
        count(atIndex, kStatusMissing);
    else if (doesBundleNeedUpdate(item))
        count(atIndex, kStatusOldVersion);
}

void InstallCheckManager::updateRequiredItemStatusFinderOverlayInsert(const RequiredItem& item,
                                                                      std::int32_t atIndex) {
    logExamining(item);
    if (!checkMinMacOSXVersion(item)) {
        setStatus(atIndex, kStatusNotRequired);
    } else if (!isInstalled(item)) {
        count(atIndex, kStatusMissing);
    } else if (doesBundleNeedUpdate(item)) {
        count(atIndex, kStatusOldVersion);
        restartIndex = atIndex;
    }
}

// The owner does not matter: the core lies in the launcher's own bundle.
bool InstallCheckManager::verifyCoreAppPermissions(const RequiredItem& item) const {
    const std::string path = pathToRequiredItemInResources(item);
    logDetail("Examining \"%@\"", path);
    const auto attributes = __QMCurrentThreadFileManager().attributes(path);
    return attributes && attributes->posixPermissions == kToolPermissions;
}

bool InstallCheckManager::verifyQMToolPermissions(const RequiredItem& item) const {
    logExamining(item);
    const auto path = item.installPath();
    if (!path) return false;
    const auto attributes = __QMCurrentThreadFileManager().attributes(*path);
    return attributes && attributes->ownerAccountName == "root" &&
           attributes->posixPermissions == kToolPermissions;
}

}  // namespace quillmore
