// Single repairs.
#include "QuillmoreLauncher/Classes/UpdateToolManager.h"
#include "tests/QuillmoreLauncher/Classes/SelfRepairFixture.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using testing::ElementsAre;
using testing::IsEmpty;

// Paths

TEST_F(SelfRepair, PathsAreJoinedToTheResourceFolder) {
    const RequiredItem item(
        Dictionary{{"Resource", "a/b"}, {"Installer", "c.pkg"}, {"Signature", "d.sig"}});
    EXPECT_EQ(manager().pathToRequiredItemInResources(item), r("a/b"));
    EXPECT_EQ(manager().pathToRequiredItemInstallerInResources(item), r("c.pkg"));
    EXPECT_EQ(manager().pathToRequiredItemSignatureInResources(item), r("d.sig"));
}

TEST_F(SelfRepair, MissingKeysGiveTheResourceFolder) {
    const RequiredItem item{Dictionary()};
    const std::string folder = services.bundle->resourcePath();
    EXPECT_EQ(manager().pathToRequiredItemInResources(item), folder);
    EXPECT_EQ(manager().pathToRequiredItemInstallerInResources(item), folder);
    EXPECT_EQ(manager().pathToRequiredItemSignatureInResources(item), folder);
}

// Single repairs

TEST_F(SelfRepair, CoreIsRepairedForWrongPermissionsOnly) {
    check({core()});
    EXPECT_TRUE(manager().repairCoreApp(RequiredItem(core())));
    EXPECT_THAT(commands(), ElementsAre("repaircore " + r("core")));
    services.makeResource("core", std::string("x"), 0755);
    check({core()});
    EXPECT_TRUE(manager().repairCoreApp(RequiredItem(core())));
    EXPECT_THAT(commands(), IsEmpty());
}

TEST_F(SelfRepair, ToolIsInstalledWhenMissingOrOld) {
    check({tool()});
    EXPECT_TRUE(manager().repairQMTool(RequiredItem(tool())));
    installTool(kTool, kOldBanner);
    manager().updateStatus();
    EXPECT_TRUE(manager().repairQMTool(RequiredItem(tool())));
    const std::string line = "repairother " + r("t.zip") + " " + r("t.sig");
    EXPECT_THAT(commands(), ElementsAre(line, line));
}

TEST_F(SelfRepair, ToolPermissionsAreRepairedByName) {
    installTool(kTool, kCurrentBanner, 0700);
    check({tool()});
    EXPECT_TRUE(manager().repairQMTool(RequiredItem(tool())));
    EXPECT_THAT(commands(), ElementsAre("repairpermissionsother t"));
}

TEST_F(SelfRepair, RootToolIsInstalledWhenMissingOrOld) {
    const RequiredItem item(tool("QMToolRoot"));
    check({tool("QMToolRoot")});
    EXPECT_TRUE(manager().repairQMToolRoot(item));
    installTool(kTool, kOldBanner);
    manager().updateStatus();
    EXPECT_TRUE(manager().repairQMToolRoot(item));
    const std::string line = "repairotherroot " + r("t.zip") + " " + r("t.sig");
    EXPECT_THAT(commands(), ElementsAre(line, line));
}

TEST_F(SelfRepair, RootToolPermissionsAreRepairedByName) {
    installTool(kUpdateTool, kCurrentBanner, 0755);
    check({updateTool()});
    EXPECT_TRUE(manager().repairQMToolRoot(RequiredItem(updateTool())));
    EXPECT_THAT(commands(), ElementsAre("repairpermissionsotherroot updateqm"));
}

TEST_F(SelfRepair, ToolsInOrderCannotBeRepaired) {
    installTool(kTool);
    check({tool(), tool("QMToolRoot")});
    EXPECT_FALSE(manager().repairQMTool(RequiredItem(tool())));
    EXPECT_FALSE(manager().repairQMToolRoot(RequiredItem(tool("QMToolRoot"))));
    EXPECT_THAT(commands(), IsEmpty());
}

TEST_F(SelfRepair, PackageIsInstalledWhenMissingOrOld) {
    check({package()});
    EXPECT_TRUE(manager().repairBundle(RequiredItem(package())));
    installBundle(kFileSystem, "1.9.9");
    manager().updateStatus();
    EXPECT_TRUE(manager().repairBundle(RequiredItem(package())));
    EXPECT_THAT(commands(),
                ElementsAre("repairpackage " + r("fs.pkg"), "repairpackage " + r("fs.pkg")));
}

TEST_F(SelfRepair, InvalidBundleCannotBeRepaired) {
    services.makeFolder(kFileSystem);
    check({package()});
    EXPECT_FALSE(manager().repairBundle(RequiredItem(package())));
    EXPECT_THAT(commands(), IsEmpty());
}

TEST_F(SelfRepair, FrameworkInOrderCannotBeRepaired) {
    check({package("Framework")});
    EXPECT_FALSE(manager().repairFramework(RequiredItem(package("Framework"))));
    EXPECT_THAT(commands(), IsEmpty());
}

TEST_F(SelfRepair, FrameworkEqualToAMissingOrOldEntryIsInstalled) {
    // The type is not looked at here: only the status of the entry counts.
    check({package()});
    EXPECT_TRUE(manager().repairFramework(RequiredItem(package())));
    installBundle(kFileSystem, "1.9.9");
    manager().updateStatus();
    EXPECT_TRUE(manager().repairFramework(RequiredItem(package())));
    EXPECT_THAT(commands(),
                ElementsAre("repairpackage " + r("fs.pkg"), "repairpackage " + r("fs.pkg")));
}

TEST_F(SelfRepair, ArchiveItemIsInstalledWhenMissingOrOld) {
    check({zipItem("FinderCM")});
    EXPECT_TRUE(manager().repairZIPArchiveItem(RequiredItem(zipItem("FinderCM"))));
    installBundle(kPlugIn, "1.14.9");
    manager().updateStatus();
    EXPECT_TRUE(manager().repairZIPArchiveItem(RequiredItem(zipItem("FinderCM"))));
    const std::string line = "repairzipitem " + r("f.zip") + " " + r("f.sig") + " " + kPlugIn;
    EXPECT_THAT(commands(), ElementsAre(line, line));
}

TEST_F(SelfRepair, ArchiveItemInOrderIsLeftAlone) {
    installBundle(kPlugIn, "1.15.4");
    check({zipItem("FinderCM")});
    EXPECT_TRUE(manager().repairZIPArchiveItem(RequiredItem(zipItem("FinderCM"))));
    EXPECT_THAT(commands(), IsEmpty());
}

TEST_F(SelfRepair, EntryThatIsNotInTheCatalogueHasNoStatus) {
    check({});
    EXPECT_FALSE(manager().repairQMTool(RequiredItem(tool())));
    EXPECT_TRUE(manager().repairCoreApp(RequiredItem(core())));
    EXPECT_THAT(commands(), IsEmpty());
}

TEST_F(SelfRepair, BeforeTheFirstCheckNoEntryHasAStatus) {
    makeCatalogue({core()});
    EXPECT_TRUE(manager().repairCoreApp(RequiredItem(core())));
    EXPECT_THAT(commands(), IsEmpty());
}

TEST_F(SelfRepair, UpdateToolIsInstalledWhateverItsStatus) {
    installTool(kUpdateTool, kCurrentBanner, 04755);
    check({updateTool()});
    EXPECT_TRUE(manager().repairUpdateQM(RequiredItem(updateTool())));
    EXPECT_EQ(services.authorization.calls.at(2),
              "execute " + r("updateqm") + " repair " + r("updateqm.sig"));
}

/// Tells whose attributes were asked for.
class WatchedFileManager final : public platform::FileManager {
public:
    WatchedFileManager(const std::string& root, std::vector<std::string>& asked)
        : FileManager(root), asked_(asked) {}
    std::optional<platform::FileAttributes> attributes(std::string_view path) const override {
        asked_.emplace_back(path);
        return FileManager::attributes(path);
    }

private:
    std::vector<std::string>& asked_;
};

TEST_F(SelfRepair, UpdateToolIsVerifiedBeforeItIsInstalled) {
    std::vector<std::string> asked;
    services.set.makeFileManager = [&] {
        return std::make_unique<WatchedFileManager>(services.root.path(), asked);
    };
    platform::SharedInstanceBase::forgetAll();
    installTool(kUpdateTool);
    check({updateTool()});
    asked.clear();
    services.authorization.onExecute = [&] { EXPECT_THAT(asked, ElementsAre(kUpdateTool)); };
    EXPECT_TRUE(manager().repairUpdateQM(RequiredItem(updateTool())));
    EXPECT_THAT(asked, ElementsAre(kUpdateTool));
}

// Failures

TEST_F(SelfRepair, InstallationWhoseCommandFailsAnswersNo) {
    services.processes.teach(kUpdateTool, {"", {false, 1}, {}});
    check({core(), tool(), tool("QMToolRoot"), package(), zipItem("FinderCM")});
    EXPECT_FALSE(manager().repairCoreApp(RequiredItem(core())));
    EXPECT_FALSE(manager().repairQMTool(RequiredItem(tool())));
    EXPECT_FALSE(manager().repairQMToolRoot(RequiredItem(tool("QMToolRoot"))));
    EXPECT_FALSE(manager().repairFramework(RequiredItem(package())));
    EXPECT_FALSE(manager().repairBundle(RequiredItem(package())));
    EXPECT_FALSE(manager().repairZIPArchiveItem(RequiredItem(zipItem("FinderCM"))));
    EXPECT_EQ(commands().size(), 6U);
}

TEST_F(SelfRepair, PermissionRepairWhoseCommandFailsAnswersNo) {
    installTool(kTool, kCurrentBanner, 0700);
    installTool(kUpdateTool, kCurrentBanner, 0755);
    services.processes.teach(kUpdateTool, {kCurrentBanner, {false, 1}, {}});
    check({tool(), updateTool()});
    EXPECT_FALSE(manager().repairQMTool(RequiredItem(tool())));
    EXPECT_FALSE(manager().repairQMToolRoot(RequiredItem(updateTool())));
    EXPECT_EQ(commands().size(), 2U);
}

TEST_F(SelfRepair, RootToolWhoseFinderDoesNotComeBackAnswersNo) {
    services.workspace.launchSucceeds = false;
    check({tool("QMToolRoot")});
    EXPECT_FALSE(manager().repairQMToolRoot(RequiredItem(tool("QMToolRoot"))));
    EXPECT_EQ(UpdateToolManager::sharedManager().status(), UpdateToolStatusRunning);
}

// Which status counts

TEST_F(SelfRepair, DuplicateEntryHasTheFirstOnesStatus) {
    for (const mode_t first : {0700, 0755}) {
        installTool(kTool);
        const auto alternate = [this, mode = first](const platform::ProcessRequest&) mutable {
            ::chmod(services.host(kTool).c_str(), mode);
            mode = mode == 0755 ? 0700 : 0755;
        };
        services.processes.teach(kTool, {kCurrentBanner, {}, alternate});
        platform::SharedInstanceBase::forgetAll();
        check({tool(), tool()});
        const auto& statuses = state().requiredItemsStatusList;
        ASSERT_NE(statuses.at(0), statuses.at(1));
        const bool repairs = statuses.at(0) == "Wrong Permissions";
        EXPECT_EQ(repairs, first == 0700);
        EXPECT_THAT(run(), testing::Each("repairpermissionsother t"));
        EXPECT_EQ(commands().size(), repairs ? 2U : 0U);
    }
}

TEST_F(SelfRepair, StatusWordsThatReadAlikeAreNotToldApart) {
    services.makeResource("en.lproj/Localizable.strings",
                          std::string("\"Invalid\" = \"Old Version\";"));
    services.useLanguages({"en"});
    services.makeFolder(kFileSystem);
    check({package()});
    EXPECT_TRUE(manager().repairBundle(RequiredItem(package())));
    EXPECT_THAT(commands(), ElementsAre("repairpackage " + r("fs.pkg")));
}

TEST_F(SelfRepair, RootToolThatIsNotRequiredCannotBeRepaired) {
    services.system.setSystemVersion(10, 6, 0);
    Dictionary item = tool("QMToolRoot");
    item["MinMacOSX"] = "10.4";
    check({item});
    EXPECT_FALSE(manager().repairQMToolRoot(RequiredItem(item)));
    EXPECT_THAT(commands(), IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
