#include "tests/Common/MoveToApplications/MoveFixture.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;

class MoveDecision : public MoveFixture {
protected:
    bool offersFrom(const std::string& bundlePath) {
        startFrom(bundlePath);
        answer(1);
        PFMoveToApplicationsFolderIfNecessary();
        return alerts().size() == 1;
    }
};

TEST(MoveSettings, SettersKeepACopyAndReturnIt) {
    const TestServices services;
    EXPECT_EQ(PFAltSrcBundlePath("/a.app"), "/a.app");
    EXPECT_EQ(PFAltDstBundleParentPath("/b"), "/b");
    EXPECT_EQ(PFAltDstBundleName("c"), "c");
    EXPECT_THAT(*PFAlsoRemoveBundles({{"/d.app", "~/e.app"}}), ElementsAre("/d.app", "~/e.app"));
    EXPECT_EQ(PFCurrentMoveSettings().gAltSrcBundlePath, "/a.app");
    EXPECT_EQ(PFCurrentMoveSettings().gAltDstBundleParentPath, "/b");
    EXPECT_EQ(PFCurrentMoveSettings().gAltDstBundleName, "c");
    EXPECT_THAT(*PFCurrentMoveSettings().gAlsoRemoveBundlePaths, ElementsAre("/d.app", "~/e.app"));
}

TEST(MoveSettings, AreUnsetAtFirstAndCanBeUnsetAgain) {
    const TestServices services;
    EXPECT_EQ(PFCurrentMoveSettings().gAltSrcBundlePath, std::nullopt);
    EXPECT_EQ(PFCurrentMoveSettings().gAlsoRemoveBundlePaths, std::nullopt);
    PFAltDstBundleName("c");
    EXPECT_EQ(PFAltDstBundleName(std::nullopt), std::nullopt);
    EXPECT_EQ(PFCurrentMoveSettings().gAltDstBundleName, std::nullopt);
}

TEST_F(MoveDecision, AlternativeSourceAndFolderAreForgottenFirst) {
    PFAltSrcBundlePath("/other.app");
    PFAltDstBundleParentPath("/elsewhere");
    services.defaults->setObject("moveToApplicationsFolderAlertSuppress", true);
    PFMoveToApplicationsFolderIfNecessary();
    EXPECT_EQ(PFCurrentMoveSettings().gAltSrcBundlePath, std::nullopt);
    EXPECT_EQ(PFCurrentMoveSettings().gAltDstBundleParentPath, std::nullopt);
}

TEST_F(MoveDecision, NoOfferWhenTheUserWantsNone) {
    services.defaults->setObject("moveToApplicationsFolderAlertSuppress", true);
    EXPECT_FALSE(offersFrom(kSource));
}

TEST_F(MoveDecision, OfferWhenTheSettingIsFalse) {
    services.defaults->setObject("moveToApplicationsFolderAlertSuppress", false);
    EXPECT_TRUE(offersFrom(kSource));
}

TEST_F(MoveDecision, NoOfferInTheLocalApplicationsFolder) {
    EXPECT_FALSE(offersFrom("/Applications/Quillmore.app"));
}

TEST_F(MoveDecision, NoOfferBelowTheUsersApplicationsFolder) {
    EXPECT_FALSE(offersFrom("/Users/jo/Applications/Tools/Quillmore.app"));
}

TEST_F(MoveDecision, OwnApplicationsFolderThatIsALinkIsRecognised) {
    services.makeFolder("/Data/Programs");
    std::filesystem::create_symlink(services.host("/Data/Programs"),
                                    services.host("/Users/jo/Applications"));
    EXPECT_FALSE(offersFrom("/Data/Programs/Tools/Quillmore.app"));
    EXPECT_TRUE(offersFrom("/Data/Other/Quillmore.app"));
}

TEST_F(MoveDecision, NoOfferInTheNetworksOrSystemsApplicationsFolder) {
    EXPECT_FALSE(offersFrom("/Network/Applications/Quillmore.app"));
    EXPECT_FALSE(offersFrom("/System/Applications/Quillmore.app"));
}

TEST_F(MoveDecision, NoOfferWhereTheNameOnlyBeginsLikeAnApplicationsFolder) {
    EXPECT_FALSE(offersFrom("/Applications 2/Quillmore.app"));
}

TEST_F(MoveDecision, NoOfferBelowAnyFolderNamedApplications) {
    EXPECT_FALSE(offersFrom("/Volumes/Disk/Applications/Tools/Quillmore.app"));
}

TEST_F(MoveDecision, OfferInADesktopFolderNamedApplicationsOld) {
    EXPECT_TRUE(offersFrom("/Users/jo/Desktop/Applications old/Quillmore.app"));
}

TEST_F(MoveDecision, OfferWhereAComponentDiffersInCase) {
    EXPECT_TRUE(offersFrom("/Users/jo/applications/Quillmore.app"));
}

TEST_F(MoveDecision, NoOfferWhenTheSourceCannotBeDeleted) {
    makeReadOnly(kSource);
    EXPECT_FALSE(offersFrom(kSource));
    EXPECT_THAT(logLines(),
                ElementsAre("(nrm) No access to delete the app. Not offering to move it."));
}

TEST_F(MoveDecision, OfferFromAReadOnlyVolume) {
    makeReadOnly("/Volumes/Quillmore/Quillmore.app");
    EXPECT_TRUE(offersFrom("/Volumes/Quillmore/Quillmore.app"));
}

TEST_F(MoveDecision, NoOfferWhenTheFolderIsTheApplicationsFolderByAnotherPath) {
    std::filesystem::remove_all(services.host("/Applications"));
    services.makeFolder("/opt/apps");
    std::filesystem::create_directory_symlink("opt/apps", services.host("/Applications"));
    EXPECT_FALSE(offersFrom("/opt/apps/Quillmore.app"));
    EXPECT_THAT(logLines(), ElementsAre("(nrm) \"/Applications/Quillmore.app\" is this "
                                        "application. Not offering to move it."));
}

TEST_F(MoveDecision, WhatAnInterruptedMoveLeftIsTakenAwayAtTheNextStart) {
    services.makeFile(std::string(kStaging) + "/Contents/Info.plist", "piece");
    EXPECT_FALSE(offersFrom("/Applications/Quillmore.app"));
    EXPECT_FALSE(services.exists(kStaging));
    EXPECT_THAT(logLines(),
                ElementsAre("(nrm) Removed \"/Applications/.Quillmore.app.partial\", which an "
                            "interrupted move left"));
}

TEST_F(MoveDecision, PieceThatCannotBeTakenAwayIsNamedInTheLog) {
    services.makeFile(std::string(kStaging) + "/version", "piece");
    faults->removeErrors.insert({kStaging, platform::Error::posix(EACCES)});
    offersFrom(kSource);
    EXPECT_THAT(errorLines(),
                ElementsAre(testing::StartsWith(
                    "(ERR) Could not remove \"/Applications/.Quillmore.app.partial\"")));
}

TEST_F(MoveDecision, CopyOfALauncherStillAtWorkIsLeftAlone) {
    services.makeFile(std::string(kStaging) + "/version", "piece");
    const auto lock = takeLock();
    ASSERT_TRUE(lock);
    offersFrom(kSource);
    EXPECT_TRUE(services.exists(kStaging));
}

}  // namespace
}  // namespace quillmore::tests
