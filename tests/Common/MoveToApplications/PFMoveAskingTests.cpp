#include "tests/Common/MoveToApplications/MoveFixture.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;

constexpr const char* kOffer = "I can move myself to the Applications folder if you'd like.";
constexpr const char* kPassword = " Note that this will require an administrator password.";
constexpr const char* kDownloads = " This will keep your Downloads folder uncluttered.";

class MoveQuestion : public MoveFixture {
protected:
    /// The question's informative text behind the offer itself; the user declines.
    std::string addition(bool suppressed = false) {
        answer(1, suppressed);
        EXPECT_FALSE(moves());
        if (alerts().size() != 1) return "no question";
        const std::string& text = alerts()[0].informativeText;
        EXPECT_TRUE(text.starts_with(kOffer));
        return text.substr(std::string(kOffer).size());
    }
    bool isSuppressed() const {
        return services.defaults->boolForKey("moveToApplicationsFolderAlertSuppress");
    }
};

TEST_F(MoveQuestion, ShowsTheTextsAndTwoButtons) {
    addition();
    const platform::Alert& alert = alerts()[0];
    EXPECT_EQ(alert.messageText, "Move to Applications folder?");
    ASSERT_EQ(alert.buttons.size(), 2U);
    EXPECT_EQ(alert.buttons[0].title, "Move to Applications Folder");
    EXPECT_EQ(alert.buttons[0].keyEquivalent, "");
    EXPECT_EQ(alert.buttons[1].title, "Do Not Move");
    EXPECT_EQ(alert.buttons[1].keyEquivalent, "\033");
    EXPECT_TRUE(alert.showsSuppressionButton);
}

TEST_F(MoveQuestion, EveryTextIsTranslated) {
    services.makeFile(std::string(kSource) + "/Contents/Resources/en.lproj/Localizable.strings",
                      "\"Move to Applications folder?\" = \"Umziehen?\";"
                      "\"I can move myself to the Applications folder if you'd like.\" = \"Gern.\";"
                      "\"Note that this will require an administrator password.\" = \"Kennwort.\";"
                      "\"This will keep your Downloads folder uncluttered.\" = \"Ordnung.\";"
                      "\"Move to Applications Folder\" = \"Ja\"; \"Do Not Move\" = \"Nein\";");
    startFrom(kSource);
    for (const char* information : {"Gern. Ordnung.", "Gern. Kennwort."}) {
        answer(1);
        EXPECT_FALSE(moves());
        EXPECT_EQ(alerts().back().messageText, "Umziehen?");
        EXPECT_EQ(alerts().back().informativeText, information);
        EXPECT_EQ(alerts().back().buttons[0].title, "Ja");
        EXPECT_EQ(alerts().back().buttons[1].title, "Nein");
        makeReadOnly("/Applications");
    }
}

TEST_F(MoveQuestion, FailureIsTranslatedToo) {
    services.makeFile(std::string(kSource) + "/Contents/Resources/en.lproj/Localizable.strings",
                      "\"Could not move to Applications folder\" = \"Nichts.\";");
    startFrom(kSource);
    untrashable.insert(kDestination);
    EXPECT_FALSE(moves());
    ASSERT_EQ(alerts().size(), 2U);
    EXPECT_EQ(alerts()[1].messageText, "Nichts.");
    EXPECT_EQ(alerts()[1].informativeText, "");
}

TEST_F(MoveQuestion, NamesTheDownloadsFolder) {
    EXPECT_EQ(addition(), kDownloads);
}

TEST_F(MoveQuestion, FolderWhoseNameOnlyBeginsLikeTheDownloadsFolderCountsAsOne) {
    startFrom("/Users/jo/Downloads old/Quillmore.app");
    EXPECT_EQ(addition(), kDownloads);
}

TEST_F(MoveQuestion, SaysNoMoreElsewhere) {
    startFrom("/Users/jo/Desktop/Quillmore.app");
    EXPECT_EQ(addition(), "");
}

TEST_F(MoveQuestion, PasswordGoesBeforeTheDownloadsFolder) {
    makeReadOnly("/Applications");
    EXPECT_EQ(addition(), kPassword);
}

TEST_F(MoveQuestion, MissingDestinationTakesThePassword) {
    std::filesystem::remove_all(services.host(kDestination));
    EXPECT_EQ(addition(), kPassword);
}

TEST_F(MoveQuestion, UnwritableDestinationTakesThePassword) {
    makeReadOnly(kDestination);
    EXPECT_EQ(addition(), kPassword);
}

TEST_F(MoveQuestion, UnwritableOlderCopyTakesThePassword) {
    makeApplication("/Users/jo/Applications/Quillmore-1.app");
    makeReadOnly("/Users/jo/Applications/Quillmore-1.app");
    PFAlsoRemoveBundles({{"~/Applications/Quillmore-1.app"}});
    EXPECT_EQ(addition(), kPassword);
}

TEST_F(MoveQuestion, OlderCopyThatIsNotThereTakesNoPassword) {
    makeReadOnly("/Applications/Quillmore-1.app");
    PFAlsoRemoveBundles({{"/Applications/Quillmore-1.app"}});
    EXPECT_EQ(addition(), kDownloads);
}

TEST_F(MoveQuestion, DownloadsFolderIsTheUsersOwnChoice) {
    services.makeFile("/Users/jo/.config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/Geladen\"\n");
    EXPECT_EQ(addition(), "");
    services.userInterface.alerts.clear();
    startFrom("/Users/jo/Geladen/neu/Quillmore.app");
    EXPECT_EQ(addition(), kDownloads);
}

TEST_F(MoveQuestion, OldFrameworkLooksAtTheParentFoldersName) {
    services.system.frameworkVersion = 824.9;
    startFrom("/Users/jo/Desktop/Downloads/Quillmore.app");
    EXPECT_EQ(addition(), kDownloads);
}

TEST_F(MoveQuestion, OldFrameworkLooksNoFurtherThanTheParentFolder) {
    services.system.frameworkVersion = 824;
    startFrom("/Users/jo/Downloads/new/Quillmore.app");
    EXPECT_EQ(addition(), "");
}

TEST_F(MoveQuestion, OldFrameworkHasNoSuppressionBox) {
    services.system.frameworkVersion = 824.99;
    addition();
    EXPECT_FALSE(alerts()[0].showsSuppressionButton);
}

TEST_F(MoveQuestion, SuppressionBoxComesWithTheNextVersion) {
    services.system.frameworkVersion = 825;
    addition();
    EXPECT_TRUE(alerts()[0].showsSuppressionButton);
}

TEST_F(MoveQuestion, DecliningWithTheBoxUntickedAsksAgainNextTime) {
    addition(false);
    EXPECT_FALSE(isSuppressed());
    EXPECT_FALSE(services.exists(kDefaultsFile));
    answer(1);
    moves();
    EXPECT_EQ(alerts().size(), 2U);
}

TEST_F(MoveQuestion, DecliningWithTheBoxTickedIsSaved) {
    addition(true);
    EXPECT_TRUE(isSuppressed());
    EXPECT_THAT(services.read(kDefaultsFile),
                testing::HasSubstr("moveToApplicationsFolderAlertSuppress"));
    EXPECT_FALSE(moves());
    EXPECT_EQ(alerts().size(), 1U);
}

TEST_F(MoveQuestion, DecliningWithoutABoxIsForGood) {
    services.system.frameworkVersion = 824;
    addition(false);
    EXPECT_TRUE(isSuppressed());
}

TEST_F(MoveQuestion, AcceptingWithTheBoxTickedSavesNothing) {
    answer(0, true);
    EXPECT_TRUE(moves());
    EXPECT_FALSE(isSuppressed());
}

TEST_F(MoveQuestion, DecliningChangesNothing) {
    addition();
    EXPECT_EQ(versionAt(kSource), "new");
    EXPECT_EQ(versionAt(kDestination), "old");
    EXPECT_THAT(services.authorization.calls, ElementsAre());
    EXPECT_THAT(services.processes.started, ElementsAre());
}

}  // namespace
}  // namespace quillmore::tests
