// The check of the catalogue as a whole.
#include "tests/QuillmoreLauncher/Classes/InstallCheckStatusFixture.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using testing::ElementsAre;
using testing::IsEmpty;

// The run as a whole

TEST_F(InstallCheckStatus, EveryUpdateStartsAnew) {
    makeCatalogue({tool(), bundle()});
    updatedStatuses();
    installTool(kTool);
    installBundle(kBundle, "2.1.0");
    EXPECT_THAT(updatedStatuses(), ElementsAre("OK", "OK"));
    EXPECT_EQ(counts(), kNothing);
}

TEST_F(InstallCheckStatus, ItemsAreCheckedInCatalogueOrder) {
    makeCatalogue({bundle("B"), tool(), finderItem("FinderCM")});
    manager();
    logLines();
    manager().updateStatus();
    EXPECT_THAT(
        logLines(),
        ElementsAre(
            "(dtl) Updating status...", "(dtl) Checking Bundle \"B\"...",
            "(dtl) Examining installed \"/Library/Filesystems/fs.fs\"",
            "(vrb) Install check: Bundle \"B\" is \"Missing\"", "(dtl) Checking QMTool \"t\"...",
            "(dtl) Examining installed \"/Library/Tools/t\"",
            "(vrb) Install check: QMTool \"t\" is \"Missing\"", "(dtl) Checking FinderCM \"f\"...",
            "(dtl) Examining installed \"/Library/F.bundle\"",
            "(vrb) Install check: FinderCM \"f\" is \"Missing\"", "(dtl) Updated status"));
    EXPECT_EQ(counts(), (Counts{2, 3, false, true}));
}

TEST_F(InstallCheckStatus, PermissionTestLogsThePathAgain) {
    installTool(kTool);
    makeCatalogue({tool()});
    manager();
    logLines();
    manager().updateStatus();
    EXPECT_THAT(logLines(),
                ElementsAre("(dtl) Updating status...", "(dtl) Checking QMTool \"t\"...",
                            "(dtl) Examining installed \"/Library/Tools/t\"",
                            "(vrb) \"/Library/Tools/t\" does not need to update from 1.15.4.1856",
                            "", "(dtl) Examining installed \"/Library/Tools/t\"",
                            "(vrb) Install check: QMTool \"t\" is \"OK\"", "(dtl) Updated status"));
}

TEST_F(InstallCheckStatus, EveryTypeButTheCoreFirstLogsItsInstallPath) {
    services.system.setSystemVersion(11, 0, 0);
    std::vector<Dictionary> items;
    for (const char* type :
         {"Framework", "Bundle", "QMTool", "QMToolRoot", "FinderCM", "FinderOverlayInsert"}) {
        // No system meets the bounds: what has one is logged, too, and not examined any further.
        items.push_back({{"Type", type}, {"InstallPath", std::string("/") + type}});
        items.back()["MinMacOSX"] = items.back()["MaxMacOSX"] = "10.4";
    }
    makeCatalogue(items);
    manager();
    logLines();
    manager().updateStatus();
    std::vector<std::string> examined = logLines();
    std::erase_if(examined,
                  [](const std::string& line) { return !line.starts_with("(dtl) Exam"); });
    EXPECT_THAT(examined, ElementsAre("(dtl) Examining installed \"/Framework\"",
                                      "(dtl) Examining installed \"/Bundle\"",
                                      "(dtl) Examining installed \"/QMTool\"",
                                      "(dtl) Examining installed \"/QMToolRoot\"",
                                      "(dtl) Examining installed \"/FinderCM\"",
                                      "(dtl) Examining installed \"/FinderOverlayInsert\""));
}

TEST_F(InstallCheckStatus, BoundsAreReadForTheirTypesOnly) {
    services.system.setSystemVersion(11, 0, 0);
    struct Row {
        const char *type, *boundThatIsNotRead;
    };
    for (const Row& row : {Row{"QMTool", "MinMacOSX"},
                           {"QMTool", "MaxMacOSX"},
                           {"Bundle", "MinMacOSX"},
                           {"Bundle", "MaxMacOSX"},
                           {"QMToolRoot", "MaxMacOSX"},
                           {"FinderCM", "MinMacOSX"},
                           {"FinderOverlayInsert", "MaxMacOSX"}}) {
        platform::SharedInstanceBase::forgetAll();
        makeCatalogue({{{"Type", row.type}, {row.boundThatIsNotRead, "10.4"}}});
        EXPECT_THAT(updatedStatuses(), ElementsAre("Missing")) << row.type;
    }
}

TEST_F(InstallCheckStatus, ItemsWithoutInstallPathAreMissing) {
    for (const char* type : {"QMTool", "QMToolRoot", "FinderCM", "FinderOverlayInsert"}) {
        platform::SharedInstanceBase::forgetAll();
        expectStatus({{"Type", type}}, "Missing", kCounted);
    }
    platform::SharedInstanceBase::forgetAll();
    // Without a name it is not the file system either.
    expectStatus({{"Type", "Bundle"}}, "Missing", {0, 1, false, false});
}

TEST_F(InstallCheckStatus, PermissionsThatCannotBeReadAreWrong) {
    EXPECT_FALSE(manager().verifyQMToolPermissions(RequiredItem(tool())));
    EXPECT_FALSE(manager().verifyQMToolPermissions(RequiredItem{Dictionary()}));
    EXPECT_FALSE(manager().verifyCoreAppPermissions(RequiredItem(Dictionary{{"Resource", "no"}})));
}

TEST_F(InstallCheckStatus, CheckThatIsCleanShowsNothing) {
    installTool(kTool);
    makeCatalogue({tool()});
    EXPECT_TRUE(manager().checkForRequiredItems());
    EXPECT_THAT(services.userInterface.presented, IsEmpty());
}

TEST_F(InstallCheckStatus, CheckThatIsNotCleanShowsTheWindow) {
    makeCatalogue({tool()});
    EXPECT_FALSE(manager().checkForRequiredItems());
    EXPECT_THAT(services.userInterface.presented, ElementsAre(&manager().outlets().checkWindow));
}

TEST_F(InstallCheckStatus, StatusesAreKeptInTheUsersLanguage) {
    services.makeResource("de.lproj/Localizable.strings",
                          std::string("\"OK\" = \"In Ordnung\"; \"Missing\" = \"Fehlt\";"));
    services.useLanguages({"de"});
    makeCatalogue({tool(), {{"Type", "Framework"}}});
    EXPECT_THAT(updatedStatuses(), ElementsAre("Fehlt", "In Ordnung"));
}

TEST_F(InstallCheckStatus, RuleForAnIndexWithoutStatusRaises) {
    makeCatalogue({tool()});
    const RequiredItem item{tool()};
    EXPECT_THROW(manager().updateRequiredItemStatusTool(item, 0), platform::Exception);
    updatedStatuses();
    EXPECT_THROW(manager().updateRequiredItemStatusTool(item, -1), platform::Exception);
    EXPECT_THROW(manager().updateRequiredItemStatusTool(item, 1), platform::Exception);
}

}  // namespace
}  // namespace quillmore::tests
