// Decides whether everything that the client needs is installed, shows the window that says so, and
// runs the repair. One shared instance for the life of the process. Everything runs on the main
// thread but runSelfRepairThread and what it calls: that thread only reads the catalogue and the
// statuses, which stay as they are while the progress sheet is up, and hands over to the main
// thread by queued work.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Common/QuillmoreHeaderView.h"
#include "Platform/Interface/Outlets.h"
#include "Platform/Values/Value.h"
#include "QuillmoreLauncher/Classes/RequiredItem.h"

namespace quillmore {

/// What the check knows: the catalogue, and the outcome of the last status update.
struct InstallCheckState {
    /// The whole catalogue file; absent when it is missing or unreadable.
    std::optional<platform::Dictionary> requiredItems;
    std::vector<RequiredItem> requiredItemsList;
    /// One localised status word an item; empty before the first update.
    std::vector<std::string> requiredItemsStatusList;
    /// Items that a repair will be run for by the update tool.
    std::int32_t numberRepairsRequired = 0;
    /// Items that are not in order.
    std::int32_t numberItemsMissing = 0;
    bool m_MacFuseRepairRequired = false;
    bool m_HelperRepairRequired = false;
    /// Index of the Finder overlay entry found out of date; survives updates.
    std::int32_t restartIndex = -1;
};

/// What the user-interface file "InstallCheck" lays out: the install-check window and the progress
/// sheet over it.
struct InstallCheckOutlets {
    platform::Window checkWindow{"InstallCheck", "checkWindow"};
    QuillmoreHeaderView checkHeaderView{"checkHeaderView"};
    platform::TextField checkText{"checkText"};
    platform::Button checkInstall{"checkInstall"};
    platform::Button checkDontInstall{"checkDontInstall"};
    platform::Window repairProgressWindow{"InstallCheck", "repairProgressWindow"};
    platform::ProgressIndicator repairProgressIndicator{"repairProgressIndicator"};
    platform::TextField repairProgressText{"repairProgressText"};
};

class InstallCheckManager : private InstallCheckState, private InstallCheckOutlets {
public:
    static InstallCheckManager& sharedManager();
    /// Loads the interface, then the catalogue: the resource "RequiredItems.plist".
    InstallCheckManager();

    const InstallCheckState& state() const { return *this; }
    const InstallCheckOutlets& outlets() const { return *this; }

    // Status. Each rule `updateRequiredItemStatus...:atIndex:` may replace the "OK" at the index;
    // an index without a status raises NSRangeException.
    /// True: nothing to repair. Otherwise the window has been shown.
    bool checkForRequiredItems();
    void updateStatus();
    void updateRequiredItemStatusCoreApp(const RequiredItem& item, std::int32_t atIndex);
    void updateRequiredItemStatusFramework(const RequiredItem& item, std::int32_t atIndex);
    void updateRequiredItemStatusBundle(const RequiredItem& item, std::int32_t atIndex);
    void updateRequiredItemStatusTool(const RequiredItem& item, std::int32_t atIndex);
    void updateRequiredItemStatusToolRoot(const RequiredItem& item, std::int32_t atIndex);
    void updateRequiredItemStatusFinderCM(const RequiredItem& item, std::int32_t atIndex);
    void updateRequiredItemStatusFinderOverlayInsert(const RequiredItem& item,
                                                     std::int32_t atIndex);
    bool verifyCoreAppPermissions(const RequiredItem& item) const;
    bool verifyQMToolPermissions(const RequiredItem& item) const;

    // Repair. Each repair answers true for success and for nothing to do. A missing key gives the
    // resource folder itself.
    std::string pathToRequiredItemInResources(const RequiredItem& item) const;
    std::string pathToRequiredItemInstallerInResources(const RequiredItem& item) const;
    std::string pathToRequiredItemSignatureInResources(const RequiredItem& item) const;
    bool repairUpdateQM(const RequiredItem& item);
    bool repairCoreApp(const RequiredItem& item);
    bool repairQMTool(const RequiredItem& item);
    bool repairQMToolRoot(const RequiredItem& item);
    bool repairFramework(const RequiredItem& item);
    bool repairBundle(const RequiredItem& item);
    bool repairZIPArchiveItem(const RequiredItem& item);
    bool areIntel_10_5FixesRequired() const;
    bool installIntel_10_5_Fixes();
    /// The body of the repair thread.
    void runSelfRepairThread();
    void _repairFailed();  ///< Asks the main thread for repairFailed. From any thread.
    void repairFailed();
    void bringWindowBackToFront();
    void runQuillmore();

    // Window.
    void awakeFromNib();
    void runSelfRepair();
    void installButtonClick();
    void dontInstallButtonClick();
    void windowWillClose(const platform::Window& closing);
    /// `sheetDidEnd:returnCode:contextInfo:`
    void sheetDidEnd(platform::Window& sheet, std::int32_t returnCode, void* contextInfo);

private:
    void loadInterface();
    void readCatalogue();
    void setStatus(std::int32_t atIndex, const char* word);
    void count(std::int32_t atIndex, const char* word);
    bool hasStatus(const RequiredItem& item, const char* word) const;
    bool isOutdated(const RequiredItem& item) const;
    bool repairItem(const RequiredItem& item);
    bool repairEverything();
    std::string repairText() const;
};

}  // namespace quillmore
