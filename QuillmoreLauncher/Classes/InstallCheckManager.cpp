#include "QuillmoreLauncher/Classes/InstallCheckManager.h"

#include "Common/utils/Logging.h"
#include "Common/utils/PropertyLists.h"
#include "Platform/Ports/Services.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Threads/SharedInstance.h"

namespace quillmore {

namespace {

platform::SharedInstance<InstallCheckManager> _installCheckManager;

constexpr const char* kCatalogueName = "RequiredItems";
constexpr const char* kKeysRead[] = {kInstallType,     kName,      kResource, kInstallPath,
                                     kInstaller,       kSignature, kVersion,  kMaxMacOSXVersion,
                                     kMinMacOSXVersion};

/// A value of another kind counts as absent; the log says so once, when the catalogue is read.
void reportOddValues(const platform::Dictionary& entry, std::size_t index,
                     const std::string& path) {
    for (const char* key : kKeysRead) {
        const platform::Value* value = platform::find(entry, key);
        if (value == nullptr || value->string() != nullptr) continue;
        logError("\"%@\": \"%@\" of required item %d is not a string - taken as missing", path, key,
                 index);
    }
}

}  // namespace

InstallCheckManager& InstallCheckManager::sharedManager() {
    return _installCheckManager.get();
}

InstallCheckManager::InstallCheckManager() {
    loadInterface();
    readCatalogue();
}

void InstallCheckManager::loadInterface() {
    checkWindow.setViews({&checkHeaderView, &checkText, &checkInstall, &checkDontInstall});
    repairProgressWindow.setViews({&repairProgressText, &repairProgressIndicator});
    checkInstall.setAction([this] { installButtonClick(); });
    checkDontInstall.setAction([this] { dontInstallButtonClick(); });
    checkWindow.setWillClose([this] { windowWillClose(checkWindow); });
    awakeFromNib();
}

// A catalogue that is missing or unreadable asks for nothing: the launcher goes on to the core.
void InstallCheckManager::readCatalogue() {
    const auto path = platform::services().mainBundle->pathForResource(kCatalogueName, "plist");
    if (!path) return;
    requiredItems = dictionaryWithContentsOfFile(*path);
    if (!requiredItems) return;
    const platform::Value* list = platform::find(*requiredItems, kCatalogueName);
    if (list == nullptr) return;
    if (list->array() == nullptr) {
        logError("\"%@\": \"%@\" is not an array - nothing will be checked", *path, kCatalogueName);
        return;
    }
    std::size_t index = 0;
    for (const platform::Value& entry : *list->array()) {
        if (const platform::Dictionary* keys = entry.dictionary()) {
            reportOddValues(*keys, index, *path);
            requiredItemsList.emplace_back(*keys);
        } else {
            logError("\"%@\": required item %d is not a dictionary - skipped", *path, index);
        }
        ++index;
    }
}

}  // namespace quillmore
