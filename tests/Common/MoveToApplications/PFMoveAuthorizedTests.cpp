#include "Platform/Ports/Authorization.h"
#include "Platform/Processes/TerminationSignals.h"
#include "tests/Common/MoveToApplications/MoveFixture.h"
#include "tests/Platform/Processes/ForkedProcess.h"

namespace quillmore::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kRights = "copyRights system.privilege.admin 19";
constexpr const char* kRemoval = "execute /bin/rm -rf /Applications/Quillmore.app";
constexpr const char* kCopy =
    "execute /bin/cp -pR /Users/jo/Downloads/Quillmore.app /Applications/Quillmore.app";
constexpr const char* kFailed = "(ERR) Could not copy myself to /Applications with authorization";

class MoveWithAuthorization : public MoveFixture {
protected:
    MoveWithAuthorization() { makeReadOnly("/Applications"); }
    const std::vector<std::string>& calls() const { return services.authorization.calls; }
    static platform::ProcessEnd signalled(int signal) { return {true, signal}; }
    static platform::ProcessEnd exited(int status) { return {false, status}; }
    /// A failed move has told the user and the log, and given the rights back.
    void expectFailure() {
        answer(0, true);
        EXPECT_FALSE(moves());
        EXPECT_FALSE(services.defaults->boolForKey("moveToApplicationsFolderAlertSuppress"));
        EXPECT_THAT(failureText(), HasSubstr("I am still at"));
        EXPECT_THAT(errorLines(), Contains(kFailed));
        EXPECT_EQ(services.authorization.alive, 0);
        EXPECT_THAT(services.workspace.recycled, IsEmpty());
        EXPECT_THAT(services.processes.started, IsEmpty());
    }
};

TEST_F(MoveWithAuthorization, RemovesAndCopiesAsAdministrator) {
    EXPECT_TRUE(moves());
    EXPECT_THAT(calls(), ElementsAre("create", kRights, kRemoval, kCopy, "free"));
    EXPECT_EQ(versionAt(kDestination), "new");
    EXPECT_THAT(services.workspace.recycled, ElementsAre(kSource));
    EXPECT_EQ(services.authorization.alive, 0);
}

TEST_F(MoveWithAuthorization, EveryStepIsLogged) {
    moves();
    std::vector<std::string> lines = logLines();
    lines.resize(4);
    EXPECT_THAT(lines, ElementsAre("(nrm) Moving myself to the Applications folder",
                                   "(vrb) Asking for authorisation...",
                                   "(vrb) Removing \"/Applications/Quillmore.app\"",
                                   "(vrb) Copying \"/Users/jo/Downloads/Quillmore.app\" to "
                                   "\"/Applications/Quillmore.app\""));
}

TEST_F(MoveWithAuthorization, NothingIsRemovedWhereNothingIs) {
    std::filesystem::remove_all(services.host(kDestination));
    EXPECT_TRUE(moves());
    EXPECT_THAT(calls(), ElementsAre("create", kRights, kCopy, "free"));
}

TEST_F(MoveWithAuthorization, OtherCopiesAreDeletedAfterTheDestination) {
    makeApplication("/Applications/Quillmore Client.app");
    makeApplication("/Users/jo/Applications/Quillmore-5.app");
    PFAlsoRemoveBundles({{"~/Applications/Quillmore-5.app", "/Applications/Quillmore-1.app",
                          "/Applications/Quillmore Client.app", "/Applications/Quillmore.app"}});
    EXPECT_TRUE(moves());
    EXPECT_THAT(calls(), ElementsAre("create", kRights, kRemoval,
                                     "execute /bin/rm -rf /Users/jo/Applications/Quillmore-5.app",
                                     "execute /bin/rm -rf /Applications/Quillmore Client.app",
                                     kCopy, "free"));
}

TEST_F(MoveWithAuthorization, SourceIsNeverDeletedWithTheOtherCopies) {
    PFAlsoRemoveBundles({{"/Users/jo/Downloads/Quillmore.app"}});
    EXPECT_TRUE(moves());
    EXPECT_THAT(calls(), ElementsAre("create", kRights, kRemoval, kCopy, "free"));
}

TEST_F(MoveWithAuthorization, CancelledPasswordIsNoFailure) {
    services.authorization.copyRightsStatus = platform::kAuthorizationCanceled;
    EXPECT_FALSE(moves());
    EXPECT_EQ(alerts().size(), 1U);
    const CapturedOutput::Streams log = output.take();
    EXPECT_THAT(linesOf(log.standardOutput),
                ElementsAre("(nrm) Moving myself to the Applications folder",
                            "(vrb) Asking for authorisation...", "(vrb) Authorisation denied",
                            "(nrm) Not moving because user canceled authorization"));
    EXPECT_EQ(log.standardError, "");
    EXPECT_THAT(calls(), ElementsAre("create", kRights, "free"));
    EXPECT_FALSE(services.defaults->boolForKey("moveToApplicationsFolderAlertSuppress"));
}

TEST_F(MoveWithAuthorization, RefusedRightIsAFailure) {
    services.authorization.copyRightsStatus = platform::kAuthorizationDenied;
    expectFailure();
    EXPECT_THAT(calls(), ElementsAre("create", kRights, "free"));
    EXPECT_EQ(versionAt(kDestination), "old");
}

TEST_F(MoveWithAuthorization, MissingReferenceIsAFailure) {
    services.authorization.createStatus = platform::kAuthorizationInternal;
    expectFailure();
    EXPECT_THAT(calls(), ElementsAre("create"));
}

TEST_F(MoveWithAuthorization, ToolThatDoesNotStartIsAFailure) {
    services.authorization.executeStatus = platform::kAuthorizationToolExecuteFailure;
    expectFailure();
    EXPECT_THAT(calls(), ElementsAre("create", kRights, kRemoval, "free"));
    EXPECT_EQ(versionAt(kDestination), "old");
}

TEST_F(MoveWithAuthorization, ChildThatCannotBeWaitedForIsAFailure) {
    services.authorization.onExecute = nullptr;  // its end is never learnt
    expectFailure();
    EXPECT_THAT(calls(), ElementsAre("create", kRights, kRemoval, "free"));
}

TEST_F(MoveWithAuthorization, RemovalEndedByASignalIsAFailure) {
    toolEnds = {signalled(9)};
    expectFailure();
    EXPECT_THAT(calls(), ElementsAre("create", kRights, kRemoval, "free"));
}

TEST_F(MoveWithAuthorization, WhatAnInterruptedRemovalLeavesIsNamed) {
    toolsWork = false;
    toolEnds = {signalled(9)};
    EXPECT_FALSE(moves());
    EXPECT_EQ(failureText(),
              "\"/Applications/Quillmore.app\" is an incomplete copy.\n"
              "I am still at \"/Users/jo/Downloads/Quillmore.app\".");
}

TEST_F(MoveWithAuthorization, PoliteSignalDuringTheRemovalWaitsForTheCopy) {
    ForkedProcess process([&]() -> int {
        platform::watchTerminationSignals(
            [&](int) { ::_exit(versionAt(kDestination) == "new" ? 0 : 1); });
        services.authorization.onExecute = [this, work = services.authorization.onExecute] {
            work();
            if (calls().back() == kRemoval) signalSelf(SIGTERM);
        };
        moves();
        return 2;
    });
    EXPECT_EQ(process.exitStatus(), 0);
}

TEST_F(MoveWithAuthorization, RemovalsExitStatusDoesNotCount) {
    toolEnds = {exited(1)};
    EXPECT_TRUE(moves());
    EXPECT_THAT(calls(), Contains(kCopy));
}

TEST_F(MoveWithAuthorization, LaterQuestionThatIsCancelledIsTheCancellation) {
    services.authorization.executeStatus = platform::kAuthorizationCanceled;
    EXPECT_FALSE(moves());
    EXPECT_THAT(logLines(), Contains("(nrm) Not moving because user canceled authorization"));
    EXPECT_EQ(alerts().size(), 1U);
    EXPECT_EQ(versionAt(kDestination), "old");
}

TEST_F(MoveWithAuthorization, FailureSaysWhatIsGone) {
    makeApplication("/Applications/Quillmore-1.app");
    PFAlsoRemoveBundles({{"/Applications/Quillmore-1.app"}});
    toolEnds = {exited(0), signalled(15)};
    EXPECT_FALSE(moves());
    EXPECT_EQ(failureText(),
              "What was at \"/Applications/Quillmore.app\" has been removed.\n"
              "What was at \"/Applications/Quillmore-1.app\" has been removed.\n"
              "I am still at \"/Users/jo/Downloads/Quillmore.app\".");
}

TEST_F(MoveWithAuthorization, CopysExitStatusCounts) {
    toolEnds = {exited(0), exited(1)};
    expectFailure();
    EXPECT_EQ(versionAt(kSource), "new");
}

TEST_F(MoveWithAuthorization, CopyThatDoesNotStartIsAFailure) {
    std::filesystem::remove_all(services.host(kDestination));
    services.authorization.executeStatus = platform::kAuthorizationToolExecuteFailure;
    expectFailure();
    EXPECT_THAT(calls(), ElementsAre("create", kRights, kCopy, "free"));
}

TEST_F(MoveWithAuthorization, CopyThatCannotBeWaitedForIsAFailure) {
    std::filesystem::remove_all(services.host(kDestination));
    services.authorization.onExecute = nullptr;  // its end is never learnt
    expectFailure();
    EXPECT_THAT(calls(), ElementsAre("create", kRights, kCopy, "free"));
}

TEST_F(MoveWithAuthorization, CopyEndedByASignalIsAFailure) {
    toolEnds = {exited(0), signalled(9)};
    expectFailure();
}

TEST_F(MoveWithAuthorization, HalfACopyIsTakenAwayAgain) {
    toolEnds = {exited(0), exited(1)};
    EXPECT_FALSE(moves());
    EXPECT_THAT(calls(), ElementsAre("create", kRights, kRemoval, kCopy, kRemoval, "free"));
    EXPECT_FALSE(services.exists(kDestination));
}

TEST_F(MoveWithAuthorization, HalfACopyThatStaysIsNamed) {
    std::filesystem::remove_all(services.host(kDestination));
    toolEnds = {exited(1), exited(1)};
    int runs = 0;
    const auto work = services.authorization.onExecute;
    services.authorization.onExecute = [&, work] {
        toolsWork = ++runs == 1;
        work();
    };
    EXPECT_FALSE(moves());
    EXPECT_THAT(failureText(),
                HasSubstr("\"/Applications/Quillmore.app\" is an incomplete copy.\n"));
}

TEST_F(MoveWithAuthorization, OldCopyThatCouldNotBeRemovedSurvivesAFailedCopy) {
    toolsWork = false;
    toolEnds = {exited(1), exited(1)};
    EXPECT_FALSE(moves());
    EXPECT_THAT(calls(), ElementsAre("create", kRights, kRemoval, kCopy, "free"));
    EXPECT_EQ(failureText(), "I am still at \"/Users/jo/Downloads/Quillmore.app\".");
    EXPECT_EQ(versionAt(kDestination), "old");
}

TEST_F(MoveWithAuthorization, SourceThatHasGoneMeanwhileMakesNoRoomForItself) {
    losesItsSourceWhileItAsks();
    EXPECT_FALSE(moves());
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(versionAt(kDestination), "old");
    EXPECT_EQ(failureText(), "\"/Users/jo/Downloads/Quillmore.app\" is no longer there.");
}

TEST_F(MoveWithAuthorization, SecondLauncherDoesNotMoveAtTheSameTime) {
    const auto lock = takeLock();
    ASSERT_TRUE(lock);
    EXPECT_FALSE(moves());
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(errorLines(),
                ElementsAre("(ERR) Another copy of this application is moving itself"));
}

TEST_F(MoveWithAuthorization, BundleOfAnotherKindIsNotMoved) {
    startFrom("/Users/jo/Downloads/Quillmore.bundle");
    expectFailure();
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MoveWithAuthorization, BlankSourceIsNotMoved) {
    MovePlan plan;
    plan.destination = kDestination;
    MoveReport report;
    for (const char* source : {"", " \t\n"}) {
        plan.source = source;
        EXPECT_EQ(moveWithAuthorization(plan, report), MoveResult::failed);
    }
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MoveWithAuthorization, WorksOnTheOldFrameworkToo) {
    services.system.frameworkVersion = 824;
    EXPECT_TRUE(moves());
    EXPECT_EQ(versionAt(kDestination), "new");
}

}  // namespace
}  // namespace quillmore::tests
