#include "Common/NSTask+OneLineTasksWithOutput.h"

#include <signal.h>
#include <sys/wait.h>

#include <cerrno>
#include <stdexcept>
#include <thread>

#include "Platform/Processes/Task.h"
#include "Platform/Threads/NotificationCenter.h"
#include "Platform/Threads/RunLoop.h"
#include "tests/Common/LogTest.h"
#include "tests/Platform/Files/OpenDescriptors.h"

namespace quillmore::tests {
namespace {

using OneLineTasksWithOutput::stringByLaunchingPath;
using platform::Dictionary;
using platform::NotificationCenter;

constexpr const char* kDomain = "com.apple.NSTask.OneLineTasksWithOutput";

class OneLineTasks : public LogTest {
protected:
    OneLineTasks() { services.set.processes = spawner.get(); }
    std::optional<std::string> shell(const std::string& script) {
        return stringByLaunchingPath("/bin/sh", {"-c", script}, {}, &error);
    }
    void expectError(std::int64_t code, const Dictionary& userInfo) const {
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->domain(), kDomain);
        EXPECT_EQ(error->code(), code);
        EXPECT_EQ(error->userInfo(), userInfo);
    }
    static Dictionary failure(const std::string& standardError, int status) {
        return {{"standardError", standardError},
                {"NSLocalizedFailureReason", "Process Failed"},
                {"NSLocalizedDescription", "Task terminationStatus was " + std::to_string(status)},
                {"terminationStatus", status}};
    }

    std::unique_ptr<platform::ProcessSpawner> spawner = platform::makePosixProcessSpawner();
    std::optional<platform::Error> error = platform::Error("left from before", 1);
};

TEST_F(OneLineTasks, ChildThatPrintsNothingGivesAnEmptyStringAndNoError) {
    EXPECT_EQ(shell("exit 0"), "");
    EXPECT_EQ(error, std::nullopt);
}

TEST_F(OneLineTasks, ErrorNeedNotBeWantedOfASuccess) {
    EXPECT_EQ(stringByLaunchingPath("/bin/echo", {"two words", "-x"}, {}, nullptr),
              "two words -x\n");
}

TEST_F(OneLineTasks, WarningsOfASuccessComeWithItsOutput) {
    EXPECT_EQ(shell("echo out; echo careful >&2"), "out\n");
    expectError(-2, {{"standardError", "careful\n"}, {"terminationStatus", 0}});
}

TEST_F(OneLineTasks, NonZeroStatusIsAnErrorWithTheOutput) {
    EXPECT_EQ(shell("echo out; echo bad >&2; exit 3"), "out\n");
    expectError(-1, failure("bad\n", 3));
}

TEST_F(OneLineTasks, FailureWithoutATextOfErrorHasAnEmptyOne) {
    EXPECT_EQ(shell("exit 255"), "");
    expectError(-1, failure("", 255));
}

TEST_F(OneLineTasks, StatusOfAChildKilledByASignalIsTheSignalsNumber) {
    EXPECT_EQ(shell("echo out; kill -KILL $$"), "out\n");
    expectError(-1, failure("", SIGKILL));
}

TEST_F(OneLineTasks, ProgramThatIsNotThereIsAnErrorWithoutInformation) {
    EXPECT_EQ(stringByLaunchingPath("/nowhere/tool", {}, {}, &error), std::nullopt);
    expectError(-1, {});
}

TEST_F(OneLineTasks, FileThatIsNotExecutableIsAnErrorWithoutInformation) {
    services.makeFile("/tmp/text", "text", 0644);
    EXPECT_EQ(stringByLaunchingPath(services.host("/tmp/text"), {}, {}, &error), std::nullopt);
    expectError(-1, {});
}

TEST_F(OneLineTasks, OutputThatIsNotUtf8IsAbsent) {
    EXPECT_EQ(shell("printf 'caf\\351'"), std::nullopt);
    EXPECT_EQ(error, std::nullopt);
}

TEST_F(OneLineTasks, ErrorTextThatIsNotUtf8IsNoWarning) {
    EXPECT_EQ(shell("echo out; printf '\\377' >&2"), "out\n");
    EXPECT_EQ(error, std::nullopt);
}

TEST_F(OneLineTasks, FailureWhoseErrorTextIsNotUtf8HasNoInformation) {
    EXPECT_EQ(shell("echo out; printf '\\377' >&2; exit 3"), "out\n");
    expectError(-1, {});
}

TEST_F(OneLineTasks, ZeroBytesAndCharactersOfEveryLengthAreKept) {
    EXPECT_EQ(shell("printf 'a\\0\\303\\251\\342\\202\\254\\360\\237\\230\\200'"),
              std::string("a\0", 2) + "é€😀");
}

TEST_F(OneLineTasks, BlockHearsTheProcessIdentifierOnce) {
    std::vector<pid_t> processes;
    const auto text = stringByLaunchingPath(
        "/bin/sh", {"-c", "echo $$"}, [&](pid_t process) { processes.push_back(process); }, &error);
    ASSERT_EQ(processes.size(), 1U);
    EXPECT_EQ(text, std::to_string(processes[0]) + "\n");
}

TEST_F(OneLineTasks, ExceptionOfTheBlockIsAnErrorWithoutInformation) {
    const auto raise = [](pid_t) { throw platform::Exception("Trouble", "in the block"); };
    EXPECT_EQ(stringByLaunchingPath("/bin/echo", {"out"}, raise, &error), std::nullopt);
    expectError(-1, {});
}

TEST_F(OneLineTasks, ForeignExceptionPassesThroughAndLeavesNoRegistration) {
    const std::size_t before = NotificationCenter::defaultCenter().observerCount();
    const auto raise = [](pid_t) { throw std::runtime_error("foreign"); };
    EXPECT_THROW(stringByLaunchingPath("/bin/echo", {"out"}, raise, &error), std::runtime_error);
    EXPECT_EQ(NotificationCenter::defaultCenter().observerCount(), before);
}

TEST_F(OneLineTasks, StandardInputIsTheCallers) {
    platform::Pipe pipe;
    const int saved = ::dup(STDIN_FILENO);
    ASSERT_EQ(::write(pipe.writeEnd().get(), "given\n", 6), 6);
    pipe.writeEnd().reset();
    ::dup2(pipe.readEnd().get(), STDIN_FILENO);
    EXPECT_EQ(stringByLaunchingPath("/bin/cat", {}, {}, &error), "given\n");
    ::dup2(saved, STDIN_FILENO);
    ::close(saved);
}

TEST_F(OneLineTasks, ThousandRunsLeakNeitherDescriptorsNorZombiesNorRegistrations) {
    if (!canCountOpenDescriptors()) GTEST_SKIP() << "no /proc on this system";
    ASSERT_EQ(shell("exit 0"), "");  // whatever is made once for a thread is made
    const std::size_t descriptors = openDescriptorCount();
    const std::size_t observers = NotificationCenter::defaultCenter().observerCount();
    int zombies = 0;
    for (int run = 0; run < 1000; ++run) {
        pid_t child = 0;
        stringByLaunchingPath(
            "/bin/true", {}, [&](pid_t process) { child = process; }, &error);
        ASSERT_EQ(error, std::nullopt);
        if (::waitpid(child, nullptr, WNOHANG) != -1 || errno != ECHILD) ++zombies;
    }
    EXPECT_EQ(zombies, 0);
    EXPECT_EQ(openDescriptorCount(), descriptors);
    EXPECT_EQ(NotificationCenter::defaultCenter().observerCount(), observers);
}

TEST_F(OneLineTasks, ThousandFailedLaunchesLeakNothing) {
    if (!canCountOpenDescriptors()) GTEST_SKIP() << "no /proc on this system";
    stringByLaunchingPath("/nowhere/tool", {}, {}, &error);
    const std::size_t descriptors = openDescriptorCount();
    const std::size_t observers = NotificationCenter::defaultCenter().observerCount();
    for (int run = 0; run < 1000; ++run) {
        stringByLaunchingPath("/nowhere/tool", {}, {}, &error);
        ASSERT_EQ(error->code(), -1);
    }
    EXPECT_EQ(openDescriptorCount(), descriptors);
    EXPECT_EQ(NotificationCenter::defaultCenter().observerCount(), observers);
    EXPECT_FALSE(platform::RunLoop::current().runOnce(platform::RunLoop::Seconds(1e9)));
}

TEST_F(OneLineTasks, ThreadsRunTheirChildrenSideBySideAndHearOnlyTheirOwn) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([number] {
            const std::string text = "thread " + std::to_string(number);
            for (int run = 0; run < 25; ++run) {
                std::optional<platform::Error> none;
                std::thread::id thread;
                EXPECT_EQ(stringByLaunchingPath(
                              "/bin/echo", {"-n", text},
                              [&](pid_t) { thread = std::this_thread::get_id(); }, &none),
                          text);
                EXPECT_EQ(none, std::nullopt);
                EXPECT_EQ(thread, std::this_thread::get_id());
            }
        });
    for (std::thread& thread : threads) thread.join();
}

class HeldAuthorization final : public OneLineTasksWithOutput::AuthorizationObject {
public:
    platform::AuthorizationReference& authorizationRef() override { return reference; }
    platform::AuthorizationReference reference;
};

class PrivilegedOneLineTasks : public LogTest {
protected:
    std::optional<std::string> run(const std::string& text) {
        services.authorization.written = text;
        return stringByLaunchingPath("/tool", {"a", "two words"}, authorization, {}, &error);
    }

    HeldAuthorization authorization;
    std::optional<platform::Error> error = platform::Error("left from before", 1);
};

TEST_F(PrivilegedOneLineTasks, ToolRunsWithTheReferenceAndItsStreamIsTheResult) {
    EXPECT_EQ(run("text\n"), "text\n");
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(services.authorization.calls,
              std::vector<std::string>{"execute /tool a two words |"});
    EXPECT_EQ(services.authorization.executedWith, &authorization.reference);
}

TEST_F(PrivilegedOneLineTasks, NothingWrittenIsAnEmptyString) {
    EXPECT_EQ(run(""), "");
}

TEST_F(PrivilegedOneLineTasks, ErrorNeedNotBeWanted) {
    services.authorization.written = "text";
    EXPECT_EQ(stringByLaunchingPath("/tool", {}, authorization, {}, nullptr), "text");
    services.authorization.executeStatus = -60006;
    EXPECT_EQ(stringByLaunchingPath("/tool", {}, authorization, {}, nullptr), std::nullopt);
}

TEST_F(PrivilegedOneLineTasks, BlockIsNeverCalled) {
    services.authorization.written = "text";
    int calls = 0;
    stringByLaunchingPath(
        "/tool", {}, authorization, [&](pid_t) { ++calls; }, &error);
    EXPECT_EQ(calls, 0);
}

TEST_F(PrivilegedOneLineTasks, FailedStartGivesTheStatusCutToSixteenBits) {
    const std::pair<platform::OSStatus, std::int64_t> statuses[] = {
        {-60005, 5531}, {-60031, 5505}, {-50, -50}, {1, 1}, {32768, -32768}};
    for (const auto& [status, code] : statuses) {
        services.authorization.executeStatus = status;
        EXPECT_EQ(run("never read"), std::nullopt);
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(*error, platform::Error(kDomain, code)) << status;
    }
}

TEST_F(PrivilegedOneLineTasks, StatusWhoseLowBitsAreZeroCountsAsStarted) {
    services.authorization.executeStatus = -65536;
    EXPECT_EQ(run("no stream comes with a failure"), "");
    EXPECT_EQ(error, std::nullopt);
}

TEST_F(PrivilegedOneLineTasks, ChunksOfSixtyFourBytesAreJoined) {
    for (const std::size_t size : {63U, 64U, 65U, 128U, 1000U}) {
        const std::string text(size, 'x');
        EXPECT_EQ(run(text), text) << size;
    }
}

TEST_F(PrivilegedOneLineTasks, CharacterSplitBetweenChunksLosesBothChunks) {
    const std::string first = std::string(63, 'a') + "\xC3";
    const std::string second = "\xA9" + std::string(63, 'b');
    EXPECT_EQ(run(first + second + "rest"), "rest");
}

TEST_F(PrivilegedOneLineTasks, CharacterThatEndsWithItsChunkIsKept) {
    const std::string text = std::string(62, 'a') + "é" + "b";
    EXPECT_EQ(run(text), text);
}

TEST_F(PrivilegedOneLineTasks, ToolIsNotWaitedForButLeavesNoZombie) {
    run("text");
    EXPECT_EQ(services.processes.abandoned, std::vector<pid_t>{4711});
}

TEST_F(PrivilegedOneLineTasks, ToolWhoseProcessIsNotKnownIsLeftAlone) {
    services.authorization.process = 0;
    EXPECT_EQ(run("text"), "text");
    EXPECT_EQ(services.processes.abandoned, std::vector<pid_t>{});
}

TEST_F(PrivilegedOneLineTasks, StreamIsClosed) {
    if (!canCountOpenDescriptors()) GTEST_SKIP() << "no /proc on this system";
    run("text");
    const std::size_t before = openDescriptorCount();
    run("text");
    EXPECT_EQ(openDescriptorCount(), before);
}

}  // namespace
}  // namespace quillmore::tests
