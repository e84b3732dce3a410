#include "Platform/Linux/LinuxAuthorization.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "Platform/Processes/ProcessSpawner.h"
#include "tests/fakes/RecordingProblems.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {
namespace {

using platform::Authorization;
using platform::kAuthorizationRightAdministrator;
using platform::LinuxAuthorizationOptions;

std::string readAll(int descriptor) {
    std::string text;
    char buffer[256];
    ssize_t count = 0;
    while ((count = ::read(descriptor, buffer, sizeof buffer)) > 0)
        text.append(buffer, static_cast<std::size_t>(count));
    return text;
}

class LinuxAuthorization : public testing::Test {
protected:
    LinuxAuthorizationOptions optionsOf(uid_t user) {
        LinuxAuthorizationOptions options;
        options.moduleFolder = "/nowhere";
        options.programFolder = QUILLMORE_TEST_HELPERS;
        options.effectiveUser = user;
        options.problems = &problems;
        return options;
    }
    void SetUp() override { ASSERT_EQ(root.create(reference), 0); }
    platform::OSStatus grant() {
        return root.copyRights(*reference, {kAuthorizationRightAdministrator}, 19);
    }

    RecordingProblems problems;
    std::unique_ptr<platform::ProcessSpawner> spawner = platform::makePosixProcessSpawner();
    platform::LinuxAuthorization root{*spawner, optionsOf(0)};
    std::unique_ptr<platform::AuthorizationReference> reference;
    platform::PrivilegedProcess started;
};

TEST_F(LinuxAuthorization, RootIsGrantedWithoutAskingPolkit) {
    EXPECT_EQ(grant(), platform::kAuthorizationSuccess);
    EXPECT_TRUE(problems.take().empty());
}

TEST_F(LinuxAuthorization, UnknownRightIsDeniedEvenToRoot) {
    EXPECT_EQ(root.copyRights(*reference, {kAuthorizationRightAdministrator, "system.burn"}, 19),
              platform::kAuthorizationDenied);
    EXPECT_EQ(root.executeWithPrivileges(*reference, "/bin/true", {},
                                         Authorization::Communications::none, started),
              platform::kAuthorizationDenied);
}

TEST_F(LinuxAuthorization, NoRightsAreGrantedAndGiveNothing) {
    EXPECT_EQ(root.copyRights(*reference, {}, 19), platform::kAuthorizationSuccess);
    EXPECT_EQ(root.executeWithPrivileges(*reference, "/bin/true", {},
                                         Authorization::Communications::none, started),
              platform::kAuthorizationDenied);
}

TEST_F(LinuxAuthorization, MissingModuleIsAnInternalErrorAndReported) {
    platform::LinuxAuthorization user{*spawner, optionsOf(1000)};
    EXPECT_EQ(user.copyRights(*reference, {kAuthorizationRightAdministrator}, 19),
              platform::kAuthorizationInternal);
    EXPECT_THAT(problems.take(),
                testing::ElementsAre(testing::HasSubstr("/nowhere/libquillmore_polkit.so")));
}

TEST_F(LinuxAuthorization, RightOfOneReferenceIsNotThatOfAnother) {
    ASSERT_EQ(grant(), 0);
    std::unique_ptr<platform::AuthorizationReference> other;
    ASSERT_EQ(root.create(other), 0);
    EXPECT_EQ(root.executeWithPrivileges(*other, "/bin/true", {},
                                         Authorization::Communications::none, started),
              platform::kAuthorizationDenied);
    root.free(std::move(other));
}

TEST_F(LinuxAuthorization, RootStartsTheToolDirectlyAndTheCallerWaits) {
    ASSERT_EQ(grant(), 0);
    ASSERT_EQ(root.executeWithPrivileges(*reference, "/bin/sh", {"-c", "exit 126"},
                                         Authorization::Communications::none, started),
              0);
    EXPECT_EQ(started.wait().value, 126);
    EXPECT_FALSE(started.communicationsStream);
}

TEST_F(LinuxAuthorization, StreamIsTheToolsStandardOutput) {
    ASSERT_EQ(grant(), 0);
    ASSERT_EQ(root.executeWithPrivileges(*reference, "/bin/echo", {"two words", "-x"},
                                         Authorization::Communications::stream, started),
              0);
    EXPECT_EQ(readAll(started.communicationsStream.get()), "two words -x\n");
    EXPECT_TRUE(started.wait().succeeded());
}

TEST_F(LinuxAuthorization, ToolThatCannotBeStartedIsAnExecuteFailure) {
    ASSERT_EQ(grant(), 0);
    EXPECT_EQ(root.executeWithPrivileges(*reference, "/nowhere/tool", {},
                                         Authorization::Communications::stream, started),
              platform::kAuthorizationToolExecuteFailure);
    EXPECT_FALSE(started.wait);
    EXPECT_FALSE(started.communicationsStream);
}

TEST_F(LinuxAuthorization, ToolPathMustBeAbsolute) {
    ASSERT_EQ(grant(), 0);
    for (const char* path : {"", "tool", "--user"}) {
        EXPECT_EQ(root.executeWithPrivileges(*reference, path, {},
                                             Authorization::Communications::none, started),
                  platform::kAuthorizationToolExecuteFailure);
    }
}

TEST_F(LinuxAuthorization, ProgramThatIsMissingIsAnInternalErrorAndReported) {
    LinuxAuthorizationOptions options = optionsOf(0);
    options.programFolder = "/nowhere";
    platform::LinuxAuthorization without{*spawner, options};
    EXPECT_EQ(without.copyRights(*reference, {kAuthorizationRightAdministrator}, 19),
              platform::kAuthorizationInternal);
    EXPECT_THAT(problems.take(), testing::ElementsAre(testing::HasSubstr("not accessible")));
}

TEST_F(LinuxAuthorization, ToolsOfOneReferenceRunAtOnce) {
    platform::PrivilegedProcess second;
    ASSERT_EQ(grant(), 0);
    ASSERT_EQ(root.executeWithPrivileges(*reference, "/bin/cat", {},
                                         Authorization::Communications::stream, started),
              0);
    ASSERT_EQ(root.executeWithPrivileges(*reference, "/bin/sh", {"-c", "kill -9 $$"},
                                         Authorization::Communications::none, second),
              0);
    EXPECT_TRUE(second.wait().signalled);
}

TEST_F(LinuxAuthorization, RemovalAndCopyAreTheProgramsOwn) {
    const TemporaryFolder folder;
    const std::string old = folder.path() + "/old", copy = folder.path() + "/copy";
    std::filesystem::create_directories(old + "/inside");
    ASSERT_EQ(grant(), 0);
    ASSERT_EQ(root.executeWithPrivileges(*reference, "/bin/cp", {"-pR", old, copy},
                                         Authorization::Communications::none, started),
              0);
    EXPECT_TRUE(started.wait().succeeded());
    EXPECT_TRUE(std::filesystem::exists(copy + "/inside"));
    ASSERT_EQ(root.executeWithPrivileges(*reference, "/bin/rm", {"-rf", old},
                                         Authorization::Communications::none, started),
              0);
    EXPECT_TRUE(started.wait().succeeded());
    EXPECT_FALSE(std::filesystem::exists(old));
}

TEST_F(LinuxAuthorization, ToolWhoseReferenceWasFreedCannotBeWaitedFor) {
    ASSERT_EQ(grant(), 0);
    ASSERT_EQ(root.executeWithPrivileges(*reference, "/bin/true", {},
                                         Authorization::Communications::none, started),
              0);
    root.free(std::move(reference));
    EXPECT_TRUE(started.wait().signalled);
}

TEST_F(LinuxAuthorization, TextsThatTheSystemWouldCutAreNotStarted) {
    const std::string cut("/tmp\0/x", 7);
    ASSERT_EQ(grant(), 0);
    EXPECT_EQ(root.executeWithPrivileges(*reference, "/bin/true", {"-rf", cut},
                                         Authorization::Communications::none, started),
              platform::kAuthorizationToolExecuteFailure);
    EXPECT_EQ(root.executeWithPrivileges(*reference, cut, {}, Authorization::Communications::none,
                                         started),
              platform::kAuthorizationToolExecuteFailure);
    EXPECT_FALSE(started.wait);
}

TEST_F(LinuxAuthorization, ForeignReferenceIsRefused) {
    platform::AuthorizationReference foreign;
    EXPECT_EQ(root.copyRights(foreign, {kAuthorizationRightAdministrator}, 19),
              platform::kAuthorizationInternal);
    EXPECT_EQ(root.executeWithPrivileges(foreign, "/bin/true", {},
                                         Authorization::Communications::none, started),
              platform::kAuthorizationDenied);
}

}  // namespace
}  // namespace quillmore::tests
