// The repair thread's run.
#include "tests/QuillmoreLauncher/Classes/SelfRepairFixture.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(SelfRepair, UpdateToolComesFirstWhereverItStands) {
    std::vector<std::string> seen;
    services.authorization.onExecute = [&] { seen = services.processes.started; };
    check({core(), updateTool()});
    EXPECT_THAT(run(), ElementsAre("repaircore " + r("core")));
    EXPECT_THAT(seen, IsEmpty());
    EXPECT_EQ(services.authorization.calls.size(), 4U);
}

TEST_F(SelfRepair, UpdateToolIsReinstalledWhenItIsInOrder) {
    installTool(kUpdateTool, kCurrentBanner, 04755);
    check({updateTool()});
    EXPECT_THAT(run(), IsEmpty());
    EXPECT_EQ(services.authorization.calls.size(), 4U);
}

TEST_F(SelfRepair, UpdateToolIsRepairedOnceOnly) {
    for (const char* type : {"QMTool", "QMToolRoot"}) {
        platform::SharedInstanceBase::forgetAll();
        services.authorization.calls.clear();
        installTool(kUpdateTool, kOldBanner, 04755);
        check({updateTool(type)});
        EXPECT_THAT(run(), IsEmpty());
        EXPECT_EQ(services.authorization.calls.size(), 4U);
    }
}

TEST_F(SelfRepair, EveryEntryOfItsNameIsTheUpdateToolWhateverItsType) {
    Dictionary other = updateTool("Framework");
    other["Resource"] = "other";
    check({updateTool("Font"), other});
    run();
    EXPECT_EQ(services.authorization.calls.at(2),
              "execute " + r("updateqm") + " repair " + r("updateqm.sig"));
    EXPECT_EQ(services.authorization.calls.at(6),
              "execute " + r("other") + " repair " + r("updateqm.sig"));
}

TEST_F(SelfRepair, PackageOfTheUpdateToolsNameIsInstalledInItsTurnAsWell) {
    Dictionary bundle = package();
    bundle["Name"] = "updateqm";
    bundle["Resource"] = "updateqm";
    check({core(), bundle});
    EXPECT_THAT(run(), ElementsAre("repaircore " + r("core"), "repairpackage " + r("fs.pkg")));
    EXPECT_EQ(services.authorization.calls.size(), 4U);
}

TEST_F(SelfRepair, ItemsOfItsNameThatAreNoToolsAreRepairedInTheirTurnAsWell) {
    std::vector<Dictionary> items{core(), zipItem("FinderCM"), zipItem("FinderOverlayInsert")};
    for (Dictionary& item : items) item["Name"] = "updateqm";
    check(items);
    const std::string archive = "repairzipitem " + r("f.zip") + " " + r("f.sig") + " " + kPlugIn;
    EXPECT_THAT(run(), ElementsAre("repaircore " + r("core"), archive, archive));
}

TEST_F(SelfRepair, EntriesOfOneNameHaveEachTheirOwnStatus) {
    Dictionary missing = tool();
    missing["InstallPath"] = "/Library/Tools/other";
    installTool(kTool);
    check({tool(), missing});
    EXPECT_THAT(run(), ElementsAre("repairother " + r("t.zip") + " " + r("t.sig")));
}

TEST_F(SelfRepair, EveryItemIsRepairedInCatalogueOrder) {
    Dictionary rootTool = tool("QMToolRoot");
    rootTool["Resource"] = "root.zip";
    check(
        {zipItem("FinderOverlayInsert"), package(), tool(), core(), rootTool, zipItem("FinderCM")});
    EXPECT_THAT(
        run(), ElementsAre(
                   "repairzipitem " + r("f.zip") + " " + r("f.sig") + " " + kPlugIn,
                   "repairpackage " + r("fs.pkg"), "repairother " + r("t.zip") + " " + r("t.sig"),
                   "repaircore " + r("core"), "repairotherroot " + r("root.zip") + " " + r("t.sig"),
                   "repairzipitem " + r("f.zip") + " " + r("f.sig") + " " + kPlugIn));
}

TEST_F(SelfRepair, ItemsInOrderAreLeftAlone) {
    services.makeResource("core", std::string("x"), 0755);
    installTool(kTool);
    installBundle(kFileSystem, "2.0.0");
    installBundle(kPlugIn, "1.15.4");
    check({core(), tool(), tool("QMToolRoot"), package(), package("Framework"), zipItem("FinderCM"),
           zipItem("FinderOverlayInsert")});
    EXPECT_THAT(run(), IsEmpty());
    EXPECT_FALSE(reportsFailure());
}

TEST_F(SelfRepair, ItemsThatAreNotRequiredAreLeftAlone) {
    services.system.setSystemVersion(10, 4, 0);
    std::vector<Dictionary> items{zipItem("FinderOverlayInsert"), tool("QMToolRoot")};
    for (Dictionary& item : items) item["MinMacOSX"] = "10.5";
    items.push_back(zipItem("FinderCM"));
    items.back()["MaxMacOSX"] = "10.3";
    items.push_back(updateTool());
    items.back()["MinMacOSX"] = "10.4";
    check(items);
    EXPECT_THAT(state().requiredItemsStatusList, testing::Each("Not Required"));
    EXPECT_THAT(run(), IsEmpty());
    EXPECT_EQ(services.authorization.calls.size(), 4U);  // but the update tool is, as always
    EXPECT_FALSE(reportsFailure());
}

TEST_F(SelfRepair, PackagesWithoutInstallerAreSkipped) {
    Dictionary bundle = package();
    bundle.erase("Installer");
    Dictionary framework = bundle;
    framework["Type"] = "Framework";
    check({bundle, framework, core()});
    EXPECT_THAT(run(), ElementsAre("repaircore " + r("core")));
}

TEST_F(SelfRepair, FrameworksAreRepairedByNoRun) {
    check({package("Framework")});
    EXPECT_THAT(run(), IsEmpty());
    EXPECT_FALSE(reportsFailure());
}

TEST_F(SelfRepair, EntriesOfOtherTypesAreSkipped) {
    check({{{"Type", "Font"}, {"InstallPath", "/none"}, {"Installer", "x.pkg"}}});
    EXPECT_THAT(run(), IsEmpty());
}

TEST_F(SelfRepair, PausesAfterTheUpdateToolAndBeforeTheEnd) {
    check({});
    run();
    EXPECT_THAT(services.clock.sleeps(), ElementsAre(2, 2));
}

TEST_F(SelfRepair, FailedUpdateToolEndsTheRunBeforeAnythingElse) {
    services.authorization.copyRightsStatus = platform::kAuthorizationCanceled;
    check({core(), updateTool()});
    EXPECT_THAT(run(), IsEmpty());
    EXPECT_THAT(services.clock.sleeps(), IsEmpty());
    EXPECT_TRUE(reportsFailure());
}

TEST_F(SelfRepair, FailedRepairEndsTheRunAtOnce) {
    services.processes.teachCommand(std::string(kUpdateTool) + " repaircore " + r("core"),
                                    {"", {false, 1}, {}});
    check({tool(), core(), package()});
    EXPECT_THAT(run(), ElementsAre("repairother " + r("t.zip") + " " + r("t.sig"),
                                   "repaircore " + r("core")));
    EXPECT_THAT(services.clock.sleeps(), ElementsAre(2));
    EXPECT_TRUE(reportsFailure());
}

TEST_F(SelfRepair, InvalidBundleFailsTheRun) {
    services.makeFolder(kFileSystem);
    check({package(), core()});
    EXPECT_THAT(run(), IsEmpty());
    EXPECT_TRUE(reportsFailure());
}

// Fixes for Intel machines on 10.5

class IntelFixes : public SelfRepair {
protected:
    IntelFixes() {
        services.system.setSystemVersion(10, 5, 8);
        services.system.setIntel();
    }
    std::string fixes() const {
        return "repairintel10_5 " + r("Fixes10_5.zip") + " " + r("Fixes10_5.plist");
    }
};

TEST_F(IntelFixes, AreAppliedAfterAllItems) {
    check({core()});
    EXPECT_THAT(run(), ElementsAre("repaircore " + r("core"), fixes()));
    EXPECT_FALSE(reportsFailure());
}

TEST_F(IntelFixes, AreRequiredOnIntelWith105Only) {
    EXPECT_TRUE(manager().areIntel_10_5FixesRequired());
    for (const auto& [major, minor] : {std::pair(10, 6), std::pair(10, 4), std::pair(11, 5)}) {
        services.system.setSystemVersion(major, minor, 0);
        EXPECT_FALSE(manager().areIntel_10_5FixesRequired()) << major << "." << minor;
    }
}

TEST_F(IntelFixes, AreNotRequiredOnAnotherOrUnknownArchitecture) {
    services.system.selectors[platform::fourCharCode("sysa")] = 2;
    EXPECT_FALSE(manager().areIntel_10_5FixesRequired());
    services.system.selectors.erase(platform::fourCharCode("sysa"));
    EXPECT_FALSE(manager().areIntel_10_5FixesRequired());
}

TEST_F(IntelFixes, AreNotRequiredOnAnUnknownSystem) {
    services.system.selectors.erase(platform::fourCharCode("sys3"));
    EXPECT_FALSE(manager().areIntel_10_5FixesRequired());
}

TEST_F(IntelFixes, FailureFailsTheRun) {
    services.processes.teachCommand(std::string(kUpdateTool) + " " + fixes(), {"", {false, 1}, {}});
    check({});
    run();
    EXPECT_THAT(services.clock.sleeps(), ElementsAre(2));
    EXPECT_TRUE(reportsFailure());
}

TEST_F(IntelFixes, AreNotAppliedOn106) {
    services.system.setSystemVersion(10, 6, 0);
    check({});
    EXPECT_THAT(run(), IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
