#include "tests/Common/MoveToApplications/MoveFixture.h"

namespace quillmore::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class MoveWithTrash : public MoveFixture {};

TEST_F(MoveWithTrash, OldCopyAndSourceGoToTheTrashAndTheNewOneIsInPlace) {
    EXPECT_TRUE(moves());
    EXPECT_THAT(services.workspace.recycled, ElementsAre(kDestination, kSource));
    EXPECT_EQ(versionAt(kDestination), "new");
    EXPECT_FALSE(services.exists(kSource));
    EXPECT_FALSE(services.exists(kStaging));
    EXPECT_THAT(services.authorization.calls, ElementsAre());
}

TEST_F(MoveWithTrash, EveryStepIsLogged) {
    moves();
    EXPECT_THAT(logLines(), ElementsAre("(nrm) Moving myself to the Applications folder",
                                        "(vrb) Trashing \"/Applications/Quillmore.app\"...",
                                        "(vrb) Trashed \"/Applications/Quillmore.app\"",
                                        "(vrb) Trashing \"/Users/jo/Downloads/Quillmore.app\"...",
                                        "(vrb) Trashed \"/Users/jo/Downloads/Quillmore.app\""));
}

TEST_F(MoveWithTrash, OtherCopiesThatExistGoInTheOrderGiven) {
    makeApplication("/Applications/Quillmore Client.app");
    makeApplication("/Users/jo/Applications/Quillmore-2.app");
    PFAlsoRemoveBundles({{"/Applications/Quillmore Client.app", "/Applications/Quillmore-1.app",
                          "~/Applications/Quillmore-2.app", "/Applications/Quillmore Client.app",
                          "/Applications/Quillmore.app"}});
    EXPECT_TRUE(moves());
    EXPECT_THAT(services.workspace.recycled,
                ElementsAre(kDestination, "/Applications/Quillmore Client.app",
                            "/Users/jo/Applications/Quillmore-2.app", kSource));
    EXPECT_EQ(versionAt(kDestination), "new");
}

TEST_F(MoveWithTrash, OtherCopyThatCannotBeTrashedIsOnlyLogged) {
    makeApplication("/Applications/Quillmore-1.app");
    untrashable.insert("/Applications/Quillmore-1.app");
    PFAlsoRemoveBundles({{"/Applications/Quillmore-1.app"}});
    EXPECT_TRUE(moves());
    EXPECT_EQ(versionAt("/Applications/Quillmore-1.app"), "older");
    const CapturedOutput::Streams log = output.take();
    EXPECT_THAT(linesOf(log.standardOutput),
                Contains("(vrb) Failed to trash \"/Applications/Quillmore-1.app\""));
    EXPECT_THAT(linesOf(log.standardError),
                ElementsAre("(ERR) Could not trash \"/Applications/Quillmore-1.app\""));
}

TEST_F(MoveWithTrash, SourceNamedAmongTheOtherCopiesIsKeptForTheCopy) {
    PFAlsoRemoveBundles({{"~/Downloads/Quillmore.app"}});
    EXPECT_TRUE(moves());
    EXPECT_THAT(services.workspace.recycled, ElementsAre(kDestination, kSource));
    EXPECT_EQ(versionAt(kDestination), "new");
}

TEST_F(MoveWithTrash, LinkToTheSourceAmongTheOtherCopiesGoes) {
    std::filesystem::create_directory_symlink(services.host(kSource),
                                              services.host("/Applications/Quillmore-1.app"));
    PFAlsoRemoveBundles({{"/Applications/Quillmore-1.app"}});
    EXPECT_TRUE(moves());
    EXPECT_EQ(versionAt(kDestination), "new");
    EXPECT_THAT(services.workspace.recycled, Contains("/Applications/Quillmore-1.app"));
}

TEST_F(MoveWithTrash, DestinationThatCannotBeTrashedStaysAndEndsTheMove) {
    untrashable.insert(kDestination);
    EXPECT_FALSE(moves());
    EXPECT_EQ(versionAt(kDestination), "old");
    EXPECT_EQ(versionAt(kSource), "new");
    EXPECT_EQ(failureText(), "I am still at \"/Users/jo/Downloads/Quillmore.app\".");
    EXPECT_THAT(errorLines(), ElementsAre("(ERR) Could not trash \"/Applications/Quillmore.app\""));
}

TEST_F(MoveWithTrash, FailedCopyIsLoggedAndSoIsWhereTheOldOneIs) {
    faults->copyErrors.insert({kStaging, platform::Error::posix(ENOSPC)});
    EXPECT_FALSE(moves());
    EXPECT_EQ(failureText(),
              "What was at \"/Applications/Quillmore.app\" is in the Trash.\n"
              "I am still at \"/Users/jo/Downloads/Quillmore.app\".");
    EXPECT_THAT(alerts()[1].buttons, testing::SizeIs(1));
    EXPECT_EQ(versionAt("/Trash/Quillmore.app"), "old");
    EXPECT_EQ(versionAt(kSource), "new");
    EXPECT_THAT(errorLines(),
                ElementsAre("(ERR) Could not copy '/Users/jo/Downloads/Quillmore.app' to "
                            "'/Applications/Quillmore.app' (" +
                                platform::Error::posix(ENOSPC).description() + ")",
                            "(ERR) Could not copy myself to /Applications/Quillmore.app"));
}

TEST_F(MoveWithTrash, FailureIsAlsoSaidInTheLog) {
    faults->copyErrors.insert({kStaging, platform::Error::posix(ENOSPC)});
    moves();
    EXPECT_THAT(logLines(),
                Contains("(nrm) What was at \"/Applications/Quillmore.app\" is in the Trash."));
}

TEST_F(MoveWithTrash, FailedCopyLeavesNothingBehind) {
    faults->copyErrors.insert({kStaging, platform::Error::posix(ENOSPC)});
    moves();
    EXPECT_FALSE(services.exists(kDestination));
    EXPECT_FALSE(services.exists(kStaging));
    EXPECT_THAT(services.processes.started, ElementsAre());
}

TEST_F(MoveWithTrash, PieceThatCannotBeRemovedIsNamed) {
    faults->copyErrors.insert({kStaging, platform::Error::posix(EIO)});
    faults->removeErrors.insert({kStaging, platform::Error::posix(EIO)});
    EXPECT_FALSE(moves());
    EXPECT_THAT(failureText(),
                HasSubstr("\"/Applications/.Quillmore.app.partial\" is an incomplete copy.\n"));
}

TEST_F(MoveWithTrash, CopyThatCannotBePutInPlaceIsAFailureToo) {
    faults->moveErrors.insert({kDestination, platform::Error::posix(EACCES)});
    EXPECT_FALSE(moves());
    EXPECT_THAT(failureText(), HasSubstr("is in the Trash."));
    EXPECT_FALSE(services.exists(kStaging));
    EXPECT_EQ(versionAt(kSource), "new");
}

TEST_F(MoveWithTrash, OlderFrameworkCannotCopy) {
    services.system.frameworkVersion = 949.54;
    EXPECT_FALSE(moves());
    EXPECT_THAT(failureText(), HasSubstr("is in the Trash."));
    EXPECT_THAT(errorLines(),
                ElementsAre("(ERR) Could not copy myself to /Applications/Quillmore.app"));
    EXPECT_THAT(services.workspace.recycled, ElementsAre(kDestination));
}

TEST_F(MoveWithTrash, CopyStartsAfterTheVersion949) {
    services.system.frameworkVersion = 950;
    EXPECT_TRUE(moves());
    EXPECT_EQ(versionAt(kDestination), "new");
}

TEST_F(MoveWithTrash, SourceThatCannotBeTrashedStaysWithAWarning) {
    untrashable.insert(kSource);
    EXPECT_TRUE(moves());
    EXPECT_EQ(versionAt(kSource), "new");
    EXPECT_THAT(logLines(), Contains("(nrm) Warning! Could not delete application after moving it "
                                     "to Applications folder"));
    EXPECT_EQ(services.processes.started.size(), 1U);
}

TEST_F(MoveWithTrash, SecondLauncherDoesNotMoveAtTheSameTime) {
    const auto lock = takeLock();
    ASSERT_TRUE(lock);
    EXPECT_FALSE(moves());
    EXPECT_EQ(versionAt(kDestination), "old");
    EXPECT_THAT(errorLines(),
                ElementsAre("(ERR) Another copy of this application is moving itself"));
}

TEST_F(MoveWithTrash, SourceThatHasGoneMeanwhileMakesNoRoomForItself) {
    losesItsSourceWhileItAsks();
    EXPECT_FALSE(moves());
    EXPECT_EQ(versionAt(kDestination), "old");
    EXPECT_THAT(services.workspace.recycled, ElementsAre());
    EXPECT_EQ(failureText(), "\"/Users/jo/Downloads/Quillmore.app\" is no longer there.");
    EXPECT_THAT(errorLines(),
                ElementsAre("(ERR) Could not copy myself to /Applications/Quillmore.app"));
}

TEST_F(MoveWithTrash, NameThatIsOnlyStoredDoesNotCount) {
    PFAltDstBundleName("Other");
    EXPECT_TRUE(moves());
    EXPECT_EQ(versionAt(kDestination), "new");
    EXPECT_FALSE(services.exists("/Applications/Other.app"));
}

TEST_F(MoveWithTrash, NoFailureTurnsTheOfferOff) {
    untrashable.insert(kDestination);
    answer(0, true);
    EXPECT_FALSE(moves());
    EXPECT_FALSE(services.defaults->boolForKey("moveToApplicationsFolderAlertSuppress"));
}

TEST_F(MoveWithTrash, AlternativeSourceAndFolderCountForAMoveAskedForDirectly) {
    makeApplication("/Users/jo/Other.app");
    makeApplication("/Programs/Other.app");
    PFAltSrcBundlePath("/Users/jo/Other.app");
    PFAltDstBundleParentPath("/Programs");
    EXPECT_THROW(PFMove(), Termination);
    EXPECT_THAT(services.workspace.recycled,
                ElementsAre("/Programs/Other.app", "/Users/jo/Other.app"));
    EXPECT_EQ(versionAt("/Programs/Other.app"), "older");
}

TEST_F(MoveWithTrash, TrashSaysHowItWent) {
    makeApplication("/A.app");
    untrashable.insert("/B.app");
    EXPECT_TRUE(Trash("/A.app"));
    EXPECT_FALSE(Trash("/B.app"));
    const CapturedOutput::Streams log = output.take();
    EXPECT_THAT(log.standardOutput, HasSubstr("Trashing \"/A.app\"...\n"));
    EXPECT_THAT(log.standardOutput, HasSubstr("Trashed \"/A.app\"\n"));
    EXPECT_THAT(log.standardOutput, Not(HasSubstr("Trashed \"/B.app\"")));
    EXPECT_THAT(log.standardError, HasSubstr("Could not trash \"/B.app\"\n"));
}

}  // namespace
}  // namespace quillmore::tests
