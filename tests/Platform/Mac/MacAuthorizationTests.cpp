#include "Platform/Mac/MacAuthorization.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <filesystem>

#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/Platform/Mac/AppleTest.h"

namespace quillmore::tests {
namespace {

using platform::Authorization;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kAskForRights = 19;
constexpr pid_t kTool = 4711;

std::ptrdiff_t countOfDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// The communications stream of a tool that wrote a text and ended.
std::FILE* streamHolding(const std::string& text) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    EXPECT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::close(ends[1]);
    return ::fdopen(ends[0], "r+");
}

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 256> buffer{};
    ssize_t count = 0;
    while ((count = ::read(descriptor, buffer.data(), buffer.size())) > 0)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    return text;
}

class MacAuthorization : public AppleTest {
protected:
    MacAuthorization() {
        EXPECT_EQ(authorization.create(reference), 0);
        calls().clear();
        apple::kernelDouble().processes = {{.process = ::getpid()},
                                           {.process = 12, .parent = ::getpid()}};
    }
    /// The start makes this child.
    static void startsChild(apple::ProcessEntry child) {
        child.parent = child.parent == 0 ? ::getpid() : child.parent;
        apple::securityDouble().onExecute = [child]() -> std::FILE* {
            apple::kernelDouble().processes.push_back(child);
            return nullptr;
        };
    }
    platform::OSStatus execute(
        const std::vector<std::string>& arguments = {},
        Authorization::Communications communications = Authorization::Communications::none) {
        return authorization.executeWithPrivileges(*reference, "/bin/rm", arguments, communications,
                                                   started);
    }
    platform::OSStatus executeWithStream() {
        return execute({}, Authorization::Communications::stream);
    }

    platform::MacAuthorization authorization;
    std::unique_ptr<platform::AuthorizationReference> reference;
    platform::PrivilegedProcess started;
};

TEST_F(MacAuthorization, ReferenceIsMadeWithoutRightsEnvironmentOrFlags) {
    EXPECT_EQ(authorization.create(reference), 0);
    EXPECT_EQ(calls().front(), "AuthorizationCreate - - 0");
}

TEST_F(MacAuthorization, FailedCreationGivesItsStatusAndNoReference) {
    fail("AuthorizationCreate", -60008);
    std::unique_ptr<platform::AuthorizationReference> none;
    EXPECT_EQ(authorization.create(none), platform::kAuthorizationInternal);
    EXPECT_EQ(none, nullptr);
}

TEST_F(MacAuthorization, RightIsAskedForWithoutValueAndItemFlags) {
    EXPECT_EQ(authorization.copyRights(*reference, {"system.privilege.admin"}, kAskForRights), 0);
    EXPECT_THAT(calls(), ElementsAre("AuthorizationCopyRights system.privilege.admin 0 - 0 - 19"));
    EXPECT_FALSE(apple::securityDouble().gaveAuthorizedRights);
}

TEST_F(MacAuthorization, EveryRightIsAskedForInOrder) {
    authorization.copyRights(*reference, {"first", "second"}, 0);
    EXPECT_THAT(calls(), ElementsAre("AuthorizationCopyRights first 0 - 0 second 0 - 0 - 0"));
}

TEST_F(MacAuthorization, RefusalsKeepTheirStatus) {
    for (const int status : {-60005, -60006, -60007}) {
        fail("AuthorizationCopyRights", status);
        EXPECT_EQ(authorization.copyRights(*reference, {"system.privilege.admin"}, 19), status);
    }
}

TEST_F(MacAuthorization, RightWithZeroInItIsDeniedWithoutAsking) {
    const std::string longer("system.privilege.admin\0.other", 29);
    EXPECT_EQ(authorization.copyRights(*reference, {longer}, 19), platform::kAuthorizationDenied);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MacAuthorization, ReferenceIsFreedOnceWithDefaultFlags) {
    authorization.free(std::move(reference));
    EXPECT_THAT(calls(), ElementsAre("AuthorizationFree 0"));
}

TEST_F(MacAuthorization, ForgottenReferenceIsFreedAllTheSame) {
    reference.reset();
    EXPECT_THAT(calls(), ElementsAre("AuthorizationFree 0"));
}

TEST_F(MacAuthorization, FreeingNothingCallsNothing) {
    authorization.free(nullptr);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MacAuthorization, ReferenceOfAnotherMakeIsInvalid) {
    platform::AuthorizationReference other;
    EXPECT_EQ(authorization.copyRights(other, {}, 0), -60002);
    EXPECT_EQ(authorization.executeWithPrivileges(other, "/bin/rm", {},
                                                  Authorization::Communications::none, started),
              -60002);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MacAuthorization, ToolGetsItsArgumentsInOrderAndDefaultFlags) {
    EXPECT_EQ(execute({"-rf", "/Applications/Old copy.app", ""}), 0);
    EXPECT_THAT(calls(), testing::Contains("AuthorizationExecuteWithPrivileges /bin/rm 0 -rf "
                                           "/Applications/Old copy.app "));
}

TEST_F(MacAuthorization, FailedStartGivesItsStatusAndNoProcess) {
    fail("AuthorizationExecuteWithPrivileges", -60031);
    EXPECT_EQ(executeWithStream(), platform::kAuthorizationToolExecuteFailure);
    EXPECT_EQ(started.process, 0);
    EXPECT_FALSE(started.communicationsStream);
}

TEST_F(MacAuthorization, RelativeToolPathIsNotStarted) {
    EXPECT_EQ(authorization.executeWithPrivileges(*reference, "rm", {},
                                                  Authorization::Communications::none, started),
              platform::kAuthorizationToolExecuteFailure);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MacAuthorization, TextsThatTheSystemWouldCutAreNotStarted) {
    const std::string cut("/tmp\0/x", 7);
    EXPECT_EQ(execute({"-rf", cut}), platform::kAuthorizationToolExecuteFailure);
    EXPECT_EQ(authorization.executeWithPrivileges(*reference, cut, {},
                                                  Authorization::Communications::none, started),
              platform::kAuthorizationToolExecuteFailure);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MacAuthorization, StartedToolIsTheChildThatCame) {
    startsChild({.process = kTool});
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(started.process, kTool);
}

TEST_F(MacAuthorization, ChildrenOfOtherProcessesAreNotTheTool) {
    startsChild({.process = kTool, .parent = 1});
    execute();
    EXPECT_EQ(started.process, 0);
}

TEST_F(MacAuthorization, AmongSeveralNewChildrenTheToolIsTheOneThatRunsAsRoot) {
    apple::securityDouble().onExecute = []() -> std::FILE* {
        auto& processes = apple::kernelDouble().processes;
        processes.push_back({.process = 20, .parent = ::getpid(), .effectiveUser = 501});
        processes.push_back({.process = kTool, .parent = ::getpid(), .effectiveUser = 0});
        return nullptr;
    };
    execute();
    EXPECT_EQ(started.process, kTool);
}

TEST_F(MacAuthorization, ToolThatCannotBeToldFromAnotherChildIsNotNamed) {
    apple::securityDouble().onExecute = []() -> std::FILE* {
        auto& processes = apple::kernelDouble().processes;
        processes.push_back({.process = 20, .parent = ::getpid()});
        processes.push_back({.process = kTool, .parent = ::getpid()});
        return nullptr;
    };
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(started.process, 0);
}

TEST_F(MacAuthorization, GrowingProcessTableIsAskedForAgain) {
    apple::kernelDouble().growths = 3;
    startsChild({.process = kTool});
    execute();
    EXPECT_EQ(started.process, kTool);
}

TEST_F(MacAuthorization, ToolStartsEvenWhenTheProcessTableCannotBeRead) {
    fail("sysctl", EPERM);
    startsChild({.process = kTool});
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(started.process, 0);
}

TEST_F(MacAuthorization, StreamIsOnlyAskedForWhenWanted) {
    execute();
    EXPECT_THAT(calls(), testing::Contains("AuthorizationExecuteWithPrivileges /bin/rm 0"));
    EXPECT_FALSE(started.communicationsStream);
}

TEST_F(MacAuthorization, StreamGivesWhatTheToolWrote) {
    apple::securityDouble().onExecute = [] { return streamHolding("done\n"); };
    EXPECT_EQ(executeWithStream(), 0);
    EXPECT_THAT(calls(), testing::Contains("AuthorizationExecuteWithPrivileges /bin/rm 0 |"));
    EXPECT_EQ(readAll(started.communicationsStream.get()), "done\n");
}

TEST_F(MacAuthorization, StreamIsClosedInOtherPrograms) {
    apple::securityDouble().onExecute = [] { return streamHolding(""); };
    executeWithStream();
    EXPECT_EQ(::fcntl(started.communicationsStream.get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(MacAuthorization, NothingIsStartedWhenNoDescriptorIsLeftForTheStream) {
    platform::OSStatus status = executeWithStream();
    EXPECT_EQ(status, 0);
    calls().clear();
    {
        const LoweredLimit none(RLIMIT_NOFILE, 3);
        status = executeWithStream();
    }
    EXPECT_EQ(status, platform::kAuthorizationInternal);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MacAuthorization, NoDescriptorStaysOpenAfterwards) {
    const auto before = countOfDescriptors();
    apple::securityDouble().onExecute = [] { return streamHolding("text"); };
    executeWithStream();
    EXPECT_EQ(countOfDescriptors(), before + 1);
    started.communicationsStream.reset();
    fail("AuthorizationExecuteWithPrivileges", -60031);
    executeWithStream();
    EXPECT_EQ(countOfDescriptors(), before);
}

}  // namespace
}  // namespace quillmore::tests
