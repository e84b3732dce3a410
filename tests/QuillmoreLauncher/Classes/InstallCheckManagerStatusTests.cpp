// The status rules, type by type.
#include "QuillmoreLauncher/Classes/UpdateToolManager.h"
#include "tests/QuillmoreLauncher/Classes/InstallCheckStatusFixture.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using testing::ElementsAre;
using testing::IsEmpty;

// CoreApp

class CoreAppStatus : public InstallCheckStatus {
protected:
    const Dictionary core{{"Type", "CoreApp"}, {"Name", "core"}, {"Resource", "Core.app/x"}};
};

TEST_F(CoreAppStatus, Mode0755IsInOrderWhoeverOwnsIt) {
    services.makeResource("Core.app/x", std::string("core"), 0755);
    faults->owners[resource("Core.app/x")] = "jo";
    expectStatus(core, "OK", kNothing);
}

TEST_F(CoreAppStatus, AnyOtherModeIsWrongPermissions) {
    for (const mode_t mode : {0775, 0754, 04755, 01755, 0700}) {
        services.makeResource("Core.app/x", std::string("core"), mode);
        platform::SharedInstanceBase::forgetAll();
        expectStatus(core, "Wrong Permissions", kCounted);
    }
}

TEST_F(CoreAppStatus, AbsentCoreIsWrongPermissions) {
    expectStatus(core, "Wrong Permissions", kCounted);
}

TEST_F(CoreAppStatus, LogsThePathInTheResources) {
    makeCatalogue({core});
    manager();
    logLines();
    manager().updateStatus();
    const std::string examining = "(dtl) Examining \"" + resource("Core.app/x") + "\"";
    EXPECT_THAT(
        logLines(),
        ElementsAre("(dtl) Updating status...", "(dtl) Checking CoreApp \"core\"...", examining,
                    examining, "(vrb) Install check: CoreApp \"core\" is \"Wrong Permissions\"",
                    "(dtl) Updated status"));
}

// Framework and unknown types

TEST_F(InstallCheckStatus, FrameworkIsAlwaysInOrder) {
    for (const char* name : {"Mono", "MacFUSE"}) {
        platform::SharedInstanceBase::forgetAll();
        expectStatus({{"Type", "Framework"}, {"Name", name}, {"InstallPath", "/none"}}, "OK",
                     kNothing);
    }
}

TEST_F(InstallCheckStatus, OtherTypesAreInOrder) {
    for (const char* type : {"qmtool", "QMTOOL", "Tool", "", "CoreApp "}) {
        platform::SharedInstanceBase::forgetAll();
        expectStatus({{"Type", type}, {"InstallPath", "/none"}}, "OK", kNothing);
    }
}

TEST_F(InstallCheckStatus, EntryWithoutTypeIsInOrder) {
    expectStatus({{"Name", "a"}}, "OK", kNothing);
}

TEST_F(InstallCheckStatus, FrameworkLogsItsInstallPath) {
    makeCatalogue({{{"Type", "Framework"}, {"Name", "Mono"}, {"InstallPath", "/none"}}});
    manager();
    logLines();
    manager().updateStatus();
    EXPECT_THAT(
        logLines(),
        ElementsAre("(dtl) Updating status...", "(dtl) Checking Framework \"Mono\"...",
                    "(dtl) Examining installed \"/none\"",
                    "(vrb) Install check: Framework \"Mono\" is \"OK\"", "(dtl) Updated status"));
}

TEST_F(InstallCheckStatus, AbsentKeysPrintAsNull) {
    makeCatalogue({{{"Image", "x"}}});
    manager();
    logLines();
    manager().updateStatus();
    EXPECT_THAT(
        logLines(),
        ElementsAre("(dtl) Updating status...", "(dtl) Checking (null) \"(null)\"...",
                    "(vrb) Install check: (null) \"(null)\" is \"OK\"", "(dtl) Updated status"));
}

// Bundle

constexpr bool kIsFileSystem = true;

TEST_F(InstallCheckStatus, MissingBundleIsCountedMissingOnly) {
    expectStatus(bundle(), "Missing", {0, 1, kIsFileSystem, false});
}

TEST_F(InstallCheckStatus, BundleOlderThanRequiredIsCountedMissingOnly) {
    installBundle(kBundle, "2.0.9");
    expectStatus(bundle(), "Old Version", {0, 1, kIsFileSystem, false});
    EXPECT_FALSE(manager().checkForRequiredItems());
}

TEST_F(InstallCheckStatus, BundleWithoutInformationIsInvalid) {
    services.makeFolder(kBundle);
    expectStatus(bundle(), "Invalid", {0, 1, kIsFileSystem, false});
}

TEST_F(InstallCheckStatus, BundleWhoseVersionHasTwoPartsIsInvalid) {
    installBundle(kBundle, "2.1");
    expectStatus(bundle(), "Invalid", {0, 1, kIsFileSystem, false});
}

TEST_F(InstallCheckStatus, BundleAtTheRequiredVersionIsInOrder) {
    installBundle(kBundle, "2.1.0");
    expectStatus(bundle(), "OK", kNothing);
}

TEST_F(InstallCheckStatus, BundleWithoutRequiredVersionIsOld) {
    installBundle(kBundle, "2.1.0");
    Dictionary item = bundle();
    item.erase("Version");
    expectStatus(item, "Old Version", {0, 1, kIsFileSystem, false});
}

TEST_F(InstallCheckStatus, BundleOfAnotherNameRaisesNoFlag) {
    expectStatus(bundle("Other"), "Missing", {0, 1, false, false});
}

TEST_F(InstallCheckStatus, LaterBundleClearsTheFileSystemFlag) {
    makeCatalogue({bundle(), bundle("Other")});
    EXPECT_THAT(updatedStatuses(), ElementsAre("Missing", "Missing"));
    EXPECT_EQ(counts(), (Counts{0, 2, false, false}));
}

TEST_F(InstallCheckStatus, LaterBundleInOrderLeavesTheFileSystemFlag) {
    Dictionary other = bundle("Other");
    other["InstallPath"] = "/Library/other";
    installBundle("/Library/other", "9.0.0");
    makeCatalogue({bundle(), other});
    EXPECT_THAT(updatedStatuses(), ElementsAre("Missing", "OK"));
    EXPECT_EQ(counts(), (Counts{0, 1, kIsFileSystem, false}));
}

// QMTool

TEST_F(InstallCheckStatus, MissingToolIsCountedAndNotRun) {
    expectStatus(tool(), "Missing", kCounted);
    EXPECT_THAT(services.processes.started, IsEmpty());
}

TEST_F(InstallCheckStatus, OldToolIsCounted) {
    installTool(kTool, kOldBanner, 04755);
    expectStatus(tool(), "Old Version", kCounted);
}

TEST_F(InstallCheckStatus, ToolThatIsNotExactly0755IsWrongPermissions) {
    for (const mode_t mode : {04755, 0775, 0700, 01755}) {
        installTool(kTool, kCurrentBanner, mode);
        platform::SharedInstanceBase::forgetAll();
        expectStatus(tool(), "Wrong Permissions", kCounted);
    }
}

TEST_F(InstallCheckStatus, ToolOfAnotherOwnerIsWrongPermissions) {
    installTool(kTool, kCurrentBanner, 0755, "jo");
    expectStatus(tool(), "Wrong Permissions", kCounted);
}

TEST_F(InstallCheckStatus, ToolInOrderIsRunOnceWithoutArguments) {
    installTool(kTool);
    expectStatus(tool(), "OK", kNothing);
    EXPECT_THAT(services.processes.started, ElementsAre(kTool));
}

TEST_F(InstallCheckStatus, ToolWithoutInstallPathIsMissing) {
    expectStatus({{"Type", "QMTool"}}, "Missing", kCounted);
}

TEST_F(InstallCheckStatus, ToolThatCannotBeStartedRaises) {
    services.makeFile(kTool, "x", 0644);
    makeCatalogue({tool()});
    EXPECT_THROW(manager().updateStatus(), platform::Exception);
}

// QMToolRoot

class ToolRootStatus : public InstallCheckStatus {
protected:
    const Dictionary root{
        {"Type", "QMToolRoot"}, {"Name", "updateqm"}, {"InstallPath", kUpdateTool}};
};

TEST_F(ToolRootStatus, NotRequiredTestsNothingElse) {
    services.system.setSystemVersion(10, 6, 0);
    Dictionary item = root;
    item["MinMacOSX"] = "10.4";
    installTool(kUpdateTool, kOldBanner);
    expectStatus(item, "Not Required", kNothing);
    EXPECT_TRUE(manager().checkForRequiredItems());
    EXPECT_THAT(services.processes.started, IsEmpty());
}

TEST_F(ToolRootStatus, MissingToolIsCounted) {
    expectStatus(root, "Missing", kCounted);
}

TEST_F(ToolRootStatus, OldToolIsCounted) {
    installTool(kUpdateTool, kOldBanner, 04755);
    expectStatus(root, "Old Version", kCounted);
}

TEST_F(ToolRootStatus, OldToolWithWrongPermissionsIsOld) {
    installTool(kUpdateTool, kOldBanner, 0755);
    expectStatus(root, "Old Version", kCounted);
}

TEST_F(ToolRootStatus, ToolWithoutSetUserIdBitIsWrongPermissions) {
    installTool(kUpdateTool, kCurrentBanner, 0755);
    expectStatus(root, "Wrong Permissions", kCounted);
}

TEST_F(ToolRootStatus, SetUserIdToolOfRootIsInOrder) {
    installTool(kUpdateTool, kCurrentBanner, 04755);
    expectStatus(root, "OK", kNothing);
}

TEST_F(ToolRootStatus, ToolThatTheUpdateToolsFolderLacksIsInOrder) {
    installTool(kTool, kCurrentBanner, 0600, "jo");
    expectStatus(tool("QMToolRoot"), "OK", kNothing);
    EXPECT_EQ(UpdateToolManager::sharedManager().status(), UpdateToolStatusMissing);
}

// Finder items

TEST_F(InstallCheckStatus, FinderPlugInOfAnOlderSystemIsNotRequired) {
    services.system.setSystemVersion(10, 6, 0);
    Dictionary item = finderItem("FinderCM");
    item["MaxMacOSX"] = "10.5";
    expectStatus(item, "Not Required", kNothing);
}

TEST_F(InstallCheckStatus, FinderOverlayOfANewerSystemIsNotRequired) {
    services.system.setSystemVersion(10, 4, 11);
    Dictionary item = finderItem("FinderOverlayInsert");
    item["MinMacOSX"] = "10.5";
    expectStatus(item, "Not Required", kNothing);
    EXPECT_EQ(state().restartIndex, -1);
}

TEST_F(InstallCheckStatus, MissingFinderItemsAreCounted) {
    for (const char* type : {"FinderCM", "FinderOverlayInsert"}) {
        platform::SharedInstanceBase::forgetAll();
        expectStatus(finderItem(type), "Missing", kCounted);
        EXPECT_EQ(state().restartIndex, -1);
    }
}

TEST_F(InstallCheckStatus, OldFinderItemsAreCounted) {
    installBundle("/Library/F.bundle", "1.14.9");
    for (const char* type : {"FinderCM", "FinderOverlayInsert"}) {
        platform::SharedInstanceBase::forgetAll();
        expectStatus(finderItem(type), "Old Version", kCounted);
    }
}

TEST_F(InstallCheckStatus, UnreadableFinderItemIsOld) {
    services.makeFile("/Library/F.bundle/Contents/Info.plist", "<plist>");
    expectStatus(finderItem("FinderCM"), "Old Version", kCounted);
}

TEST_F(InstallCheckStatus, CurrentFinderItemsAreInOrderWithAnyMode) {
    installBundle("/Library/F.bundle", "1.15.0");
    ::chmod(services.host("/Library/F.bundle").c_str(), 0777);
    for (const char* type : {"FinderCM", "FinderOverlayInsert"}) {
        platform::SharedInstanceBase::forgetAll();
        expectStatus(finderItem(type), "OK", kNothing);
    }
}

TEST_F(InstallCheckStatus, OldOverlayIsRememberedForAFinderRestart) {
    installBundle("/Library/F.bundle", "1.14.9");
    makeCatalogue({tool(), finderItem("FinderOverlayInsert")});
    updatedStatuses();
    EXPECT_EQ(state().restartIndex, 1);
    installBundle("/Library/F.bundle", "1.15.4");
    EXPECT_THAT(updatedStatuses(), ElementsAre("Missing", "OK"));
    EXPECT_EQ(state().restartIndex, 1);
}

}  // namespace
}  // namespace quillmore::tests
