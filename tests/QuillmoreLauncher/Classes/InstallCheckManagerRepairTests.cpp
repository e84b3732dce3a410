// Single repairs.
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
    check({tool("QMToolRoot")});
    EXPECT_TRUE(manager().repairQMToolRoot(RequiredItem(tool("QMToolRoot"))));
    EXPECT_THAT(commands(), ElementsAre("repairotherroot " + r("t.zip") + " " + r("t.sig")));
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

TEST_F(SelfRepair, FrameworkEqualToAMissingEntryIsInstalled) {
    // The type is not looked at here: only the status of the entry counts.
    check({package()});
    EXPECT_TRUE(manager().repairFramework(RequiredItem(package())));
    EXPECT_THAT(commands(), ElementsAre("repairpackage " + r("fs.pkg")));
}

TEST_F(SelfRepair, ArchiveItemIsInstalledWhenMissingOrOld) {
    check({zipItem("FinderCM")});
    EXPECT_TRUE(manager().repairZIPArchiveItem(RequiredItem(zipItem("FinderCM"))));
    EXPECT_THAT(commands(),
                ElementsAre("repairzipitem " + r("f.zip") + " " + r("f.sig") + " " + kPlugIn));
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

TEST_F(SelfRepair, UpdateToolIsInstalledWhateverItsStatus) {
    installTool(kUpdateTool, kCurrentBanner, 04755);
    check({updateTool()});
    EXPECT_TRUE(manager().repairUpdateQM(RequiredItem(updateTool())));
    EXPECT_EQ(services.authorization.calls.at(2),
              "execute " + r("updateqm") + " repair " + r("updateqm.sig"));
}

TEST_F(SelfRepair, DuplicateEntryHasTheFirstOnesStatus) {
    check({tool(), tool()});
    EXPECT_THAT(run(), ElementsAre("repairother " + r("t.zip") + " " + r("t.sig"),
                                   "repairother " + r("t.zip") + " " + r("t.sig")));
}

}  // namespace
}  // namespace quillmore::tests
