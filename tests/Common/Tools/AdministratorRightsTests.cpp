#include "Common/Tools/AdministratorRights.h"

#include <gmock/gmock.h>

#include "tests/fakes/TestServices.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kAsk = "copyRights system.privilege.admin 19";

class AdministratorRightsTest : public testing::Test {
protected:
    FakeAuthorization& authorization() { return services.authorization; }
    static platform::OSStatus ask(AdministratorRights& rights) {
        return rights.ask(platform::AuthorizationPurpose::installComponents, "May I?");
    }

    TestServices services;
};

TEST_F(AdministratorRightsTest, AreAskedForOnceAndServeSeveralPrograms) {
    services.processes.setEnd(authorization().process, {});
    {
        AdministratorRights rights;
        EXPECT_EQ(rights.create(), platform::kAuthorizationSuccess);
        EXPECT_EQ(ask(rights), platform::kAuthorizationSuccess);
        EXPECT_TRUE(rights.run("/bin/rm", {"-rf", "/a"}));
        EXPECT_TRUE(rights.run("/bin/cp", {"/b", "/a"}));
        EXPECT_EQ(rights.startUnattended("/tool", {}), platform::kAuthorizationSuccess);
        EXPECT_EQ(authorization().alive, 1);
    }
    EXPECT_THAT(authorization().calls,
                ElementsAre("create", kAsk, "execute /bin/rm -rf /a", "execute /bin/cp /b /a",
                            "execute /tool", "free"));
}

TEST_F(AdministratorRightsTest, QuestionSaysWhatTheyAreFor) {
    AdministratorRights rights;
    rights.create();
    ask(rights);
    EXPECT_EQ(authorization().question, "May I?");
    EXPECT_EQ(authorization().purpose, platform::AuthorizationPurpose::installComponents);
}

TEST_F(AdministratorRightsTest, ProgramThatIsNoChildIsWaitedForByWhoeverStartedIt) {
    authorization().endElsewhere = platform::ProcessEnd{false, 3};
    AdministratorRights rights;
    rights.create();
    ask(rights);
    const auto end = rights.run("/bin/rm", {});
    ASSERT_TRUE(end);
    EXPECT_EQ(end->value, 3);
    EXPECT_EQ(rights.startUnattended("/tool", {}), platform::kAuthorizationSuccess);
    EXPECT_THAT(services.processes.abandoned, IsEmpty());
}

TEST_F(AdministratorRightsTest, LaterQuestionThatIsCancelledIsToldFromAFailure) {
    AdministratorRights rights;
    rights.create();
    ask(rights);
    authorization().executeStatus = platform::kAuthorizationToolExecuteFailure;
    EXPECT_FALSE(rights.run("/bin/rm", {}));
    EXPECT_FALSE(rights.wasCancelled());
    authorization().executeStatus = platform::kAuthorizationCanceled;
    EXPECT_FALSE(rights.run("/bin/rm", {}));
    EXPECT_TRUE(rights.wasCancelled());
}

TEST_F(AdministratorRightsTest, GivenBackEarlyAreNotGivenBackAgain) {
    {
        AdministratorRights rights;
        rights.create();
        rights.free();
        EXPECT_EQ(authorization().alive, 0);
    }
    EXPECT_THAT(authorization().calls, ElementsAre("create", "free"));
}

TEST_F(AdministratorRightsTest, WithoutAReferenceThereIsNothingToGiveBack) {
    authorization().createStatus = platform::kAuthorizationInternal;
    { EXPECT_EQ(AdministratorRights().create(), platform::kAuthorizationInternal); }
    EXPECT_THAT(authorization().calls, ElementsAre("create"));
}

TEST_F(AdministratorRightsTest, RefusedAreGivenBackAndSayWhy) {
    authorization().copyRightsStatus = platform::kAuthorizationCanceled;
    {
        AdministratorRights rights;
        rights.create();
        EXPECT_EQ(ask(rights), platform::kAuthorizationCanceled);
    }
    EXPECT_THAT(authorization().calls, ElementsAre("create", kAsk, "free"));
}

TEST_F(AdministratorRightsTest, SayHowAProgramEndedOrNothingWhenItCouldNotBeWaitedFor) {
    AdministratorRights rights;
    rights.create();
    EXPECT_FALSE(rights.run("/tool", {}));
    services.processes.setEnd(authorization().process, {true, 9});
    const auto end = rights.run("/tool", {});
    ASSERT_TRUE(end);
    EXPECT_TRUE(end->signalled);
    EXPECT_FALSE(end->succeeded());
}

TEST_F(AdministratorRightsTest, ProgramLeftToItselfIsAbandonedAndOneThatIsWaitedForIsNot) {
    services.processes.setEnd(authorization().process, {});
    AdministratorRights rights;
    rights.create();
    rights.startUnattended("/tool", {});
    EXPECT_THAT(services.processes.abandoned, ElementsAre(4711));
    services.processes.abandoned.clear();
    rights.run("/tool", {});
    EXPECT_THAT(services.processes.abandoned, IsEmpty());
}

TEST_F(AdministratorRightsTest, ProgramThatDoesNotStartHasNoEndAndNothingToAbandon) {
    authorization().executeStatus = platform::kAuthorizationToolExecuteFailure;
    AdministratorRights rights;
    rights.create();
    EXPECT_EQ(rights.startUnattended("/tool", {}), platform::kAuthorizationToolExecuteFailure);
    EXPECT_FALSE(rights.run("/tool", {}));
    EXPECT_THAT(services.processes.abandoned, IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
