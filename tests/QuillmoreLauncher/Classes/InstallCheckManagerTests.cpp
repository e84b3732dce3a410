// The catalogue and the interface that the manager is made of.
#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class InstallCheckCatalogue : public LauncherFixture {
protected:
    std::string path() const { return resource("RequiredItems.plist"); }
};

TEST_F(InstallCheckCatalogue, SharedManagerIsOneObject) {
    EXPECT_EQ(&InstallCheckManager::sharedManager(), &InstallCheckManager::sharedManager());
}

TEST_F(InstallCheckCatalogue, EverythingStartsAtZero) {
    makeCatalogue({{{"Type", "Framework"}, {"Name", "a"}}});
    EXPECT_EQ(state().requiredItemsList.size(), 1U);
    EXPECT_THAT(state().requiredItemsStatusList, IsEmpty());
    EXPECT_EQ(state().numberRepairsRequired, 0);
    EXPECT_EQ(state().numberItemsMissing, 0);
    EXPECT_FALSE(state().m_MacFuseRepairRequired);
    EXPECT_FALSE(state().m_HelperRepairRequired);
    EXPECT_EQ(state().restartIndex, -1);
}

TEST_F(InstallCheckCatalogue, KeepsTheOrderOfTheEntries) {
    makeCatalogue({{{"Name", "b"}}, {{"Name", "a"}}, {{"Name", "b"}}});
    ASSERT_EQ(state().requiredItemsList.size(), 3U);
    EXPECT_EQ(state().requiredItemsList[0].name(), "b");
    EXPECT_EQ(state().requiredItemsList[1].name(), "a");
    EXPECT_EQ(state().requiredItemsList[0], state().requiredItemsList[2]);
}

TEST_F(InstallCheckCatalogue, MissingCatalogueAsksForNothing) {
    EXPECT_TRUE(manager().checkForRequiredItems());
    EXPECT_FALSE(state().requiredItems);
    EXPECT_THAT(services.userInterface.presented, IsEmpty());
}

TEST_F(InstallCheckCatalogue, EmptyCatalogueAsksForNothing) {
    makeCatalogue({});
    EXPECT_TRUE(manager().checkForRequiredItems());
    EXPECT_EQ(state().numberRepairsRequired, 0);
    EXPECT_EQ(state().numberItemsMissing, 0);
}

TEST_F(InstallCheckCatalogue, OtherTopLevelKeysAreIgnored) {
    services.makeResource("RequiredItems.plist",
                          platform::Value(Dictionary{{"Items", platform::Array{"x"}}}));
    EXPECT_TRUE(manager().checkForRequiredItems());
    EXPECT_TRUE(state().requiredItems);
    EXPECT_THAT(state().requiredItemsList, IsEmpty());
}

TEST_F(InstallCheckCatalogue, DamagedCatalogueIsNamedInTheLogAndAsksForNothing) {
    services.makeResource("RequiredItems.plist", std::string("<plist><dict><key>"));
    EXPECT_TRUE(manager().checkForRequiredItems());
    EXPECT_THAT(logLines(), Contains(testing::AllOf(testing::StartsWith("(ERR) "),
                                                    testing::HasSubstr(path()))));
}

TEST_F(InstallCheckCatalogue, CatalogueThatIsAnArrayIsNamedInTheLog) {
    services.makeResource("RequiredItems.plist", platform::Value(platform::Array{"x"}));
    EXPECT_TRUE(manager().checkForRequiredItems());
    EXPECT_THAT(logLines(), Contains(testing::AllOf(testing::StartsWith("(ERR) "),
                                                    testing::HasSubstr(path()))));
}

TEST_F(InstallCheckCatalogue, ListOfAnotherKindIsNamedInTheLog) {
    services.makeResource("RequiredItems.plist",
                          platform::Value(Dictionary{{"RequiredItems", "x"}}));
    manager();
    EXPECT_THAT(logLines(),
                ElementsAre("(ERR) \"" + path() +
                            "\": \"RequiredItems\" is not an array - nothing will be checked"));
}

TEST_F(InstallCheckCatalogue, EntriesThatAreNoDictionariesAreSkipped) {
    const platform::Array list{"x", Dictionary{{"Name", "a"}}, 5};
    services.makeResource("RequiredItems.plist",
                          platform::Value(Dictionary{{"RequiredItems", list}}));
    ASSERT_EQ(state().requiredItemsList.size(), 1U);
    EXPECT_EQ(state().requiredItemsList[0].name(), "a");
    EXPECT_THAT(
        logLines(),
        ElementsAre("(ERR) \"" + path() + "\": required item 0 is not a dictionary - skipped",
                    "(ERR) \"" + path() + "\": required item 2 is not a dictionary - skipped"));
}

TEST_F(InstallCheckCatalogue, ValuesThatAreNoStringsAreReportedOnce) {
    makeCatalogue({{{"Type", "QMTool"}, {"InstallPath", 5}, {"Image", 6}}});
    manager();
    EXPECT_THAT(logLines(), ElementsAre("(ERR) \"" + path() +
                                        "\": \"InstallPath\" of required item 0 is not a string - "
                                        "taken as missing"));
    EXPECT_THAT(updatedStatuses(), ElementsAre("Missing"));
}

TEST_F(InstallCheckCatalogue, InterfaceFileIsConnected) {
    const InstallCheckOutlets& outlets = manager().outlets();
    EXPECT_THAT(outlets.checkWindow.views(),
                ElementsAre(&outlets.checkHeaderView, &outlets.checkText, &outlets.checkInstall,
                            &outlets.checkDontInstall));
    EXPECT_THAT(outlets.repairProgressWindow.views(),
                ElementsAre(&outlets.repairProgressText, &outlets.repairProgressIndicator));
    EXPECT_EQ(outlets.checkWindow.interfaceFile(), "InstallCheck");
    EXPECT_EQ(outlets.repairProgressWindow.interfaceFile(), "InstallCheck");
}

}  // namespace
}  // namespace quillmore::tests
