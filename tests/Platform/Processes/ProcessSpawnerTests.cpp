#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <thread>

#include "Platform/Processes/Task.h"
#include "Platform/Values/Exception.h"
#include "tests/Platform/Processes/ForkedProcess.h"
#include "tests/Platform/Processes/ProcessSpawnerFixture.h"

namespace quillmore::tests {
namespace {

// 32 and 33 belong to the C library, which ignores them in every child and sets them up again.
constexpr std::uint64_t kSignalsOfTheLibrary = 0x180000000;

std::uint64_t signalsOf(const std::string& status, const std::string& line) {
    const auto at = status.find("\n" + line);
    if (at == std::string::npos) throw std::runtime_error("no line " + line);
    return std::stoull(status.substr(at + 1 + line.size()), nullptr, 16);
}

bool isChild(pid_t process) {
    siginfo_t information{};
    return ::waitid(P_PID, static_cast<id_t>(process), &information, WEXITED | WNOHANG | WNOWAIT) ==
           0;
}

void waitForEndWithoutTakingIt(pid_t process) {
    siginfo_t information{};
    ::waitid(P_PID, static_cast<id_t>(process), &information, WEXITED | WNOWAIT);
}

TEST_F(ProcessSpawner, ExitStatusIsHandedOver) {
    const ProcessEnd end = run(shell("exit 3"));
    EXPECT_FALSE(end.signalled);
    EXPECT_EQ(end.value, 3);
    EXPECT_EQ(end.terminationStatus(), 3);
    EXPECT_FALSE(end.succeeded());
    EXPECT_TRUE(run(shell("exit 0")).succeeded());
}

TEST_F(ProcessSpawner, ChildKilledByASignalHasTheSignalsNumber) {
    const ProcessEnd end = run(shell("kill -9 $$"));
    EXPECT_TRUE(end.signalled);
    EXPECT_EQ(end.terminationStatus(), SIGKILL);
    EXPECT_FALSE(end.succeeded());
}

TEST_F(ProcessSpawner, ChildStoppedAndContinuedHasNotEnded) {
    const pid_t child = spawner_->spawn(shell("kill -STOP $$; exit 4"));
    siginfo_t information{};
    ::waitid(P_PID, static_cast<id_t>(child), &information, WSTOPPED);
    EXPECT_FALSE(spawner_->poll(child));
    ::kill(child, SIGCONT);
    EXPECT_EQ(spawner_->wait(child).value, 4);
}

TEST_F(ProcessSpawner, ArgumentsArriveAsGivenAfterTheLaunchPath) {
    ProcessRequest request = shell("printf '%s|' \"$0\" \"$@\"");
    EXPECT_EQ(outputOf(request), "/bin/sh|");
    request.arguments.insert(request.arguments.end(), {"zero", "a b", "", "*", "\xC3\xA9"});
    EXPECT_EQ(outputOf(request), "zero|a b||*|\xC3\xA9|");
}

TEST_F(ProcessSpawner, ScriptWithInterpreterLineRuns) {
    ProcessRequest request;
    request.launchPath = makeFile("#!/bin/sh\nexit 9\n", 0755);
    EXPECT_EQ(run(request).value, 9);
}

TEST_F(ProcessSpawner, StandardInputIsTheGivenDescriptor) {
    Pipe input;
    ASSERT_EQ(::write(input.writeEnd().get(), "hello", 5), 5);
    input.writeEnd().reset();
    ProcessRequest request = shell("cat");
    request.standardInput = input.readEnd().get();
    EXPECT_EQ(outputOf(request), "hello");
}

TEST_F(ProcessSpawner, OutputAndErrorMayShareADescriptor) {
    Pipe pipe;
    ProcessRequest request = shell("echo out; echo err >&2");
    request.standardOutput = request.standardError = pipe.writeEnd().get();
    const pid_t child = spawner_->spawn(request);
    pipe.writeEnd().reset();
    EXPECT_EQ(pipe.readToEnd(), "out\nerr\n");
    spawner_->wait(child);
}

TEST_F(ProcessSpawner, CallersOutputAndErrorCanBeCrossed) {
    Pipe first;
    Pipe second;
    ForkedProcess process([&] {
        ::dup2(first.writeEnd().get(), STDOUT_FILENO);
        ::dup2(second.writeEnd().get(), STDERR_FILENO);
        ProcessRequest request = shell("echo out; echo err >&2");
        request.standardOutput = STDERR_FILENO;
        request.standardError = STDOUT_FILENO;
        return run(request).value;
    });
    first.writeEnd().reset();
    second.writeEnd().reset();
    EXPECT_EQ(first.readToEnd(), "err\n");
    EXPECT_EQ(second.readToEnd(), "out\n");
    EXPECT_EQ(process.exitStatus(), 0);
}

TEST_F(ProcessSpawner, StreamGivenOnItsOwnNumberIsOpenInTheChild) {
    Pipe pipe;
    ForkedProcess process([&] {
        ::dup3(pipe.writeEnd().get(), STDOUT_FILENO, O_CLOEXEC);
        ProcessRequest request = shell("echo out");
        request.standardOutput = STDOUT_FILENO;
        return run(request).value;
    });
    pipe.writeEnd().reset();
    EXPECT_EQ(pipe.readToEnd(), "out\n");
    EXPECT_EQ(process.exitStatus(), 0);
}

TEST_F(ProcessSpawner, EnvironmentIsTheCallersWhenNoneIsGiven) {
    ::setenv("QUILLMORE_SPAWNER_TEST", "here", 1);
    EXPECT_EQ(outputOf(shell("echo $QUILLMORE_SPAWNER_TEST")), "here\n");
    ::unsetenv("QUILLMORE_SPAWNER_TEST");
}

TEST_F(ProcessSpawner, GivenEnvironmentIsTheWholeOne) {
    ProcessRequest request;
    request.launchPath = "/usr/bin/env";
    request.environment = {"A=1", "B=two words"};
    EXPECT_EQ(outputOf(request), "A=1\nB=two words\n");
    request.environment = std::vector<std::string>();
    EXPECT_EQ(outputOf(request), "");
}

TEST_F(ProcessSpawner, ChildSeesOnlyTheStandardDescriptors) {
    if (!std::filesystem::exists("/proc/self/fd")) GTEST_SKIP() << "no /proc on this system";
    const platform::FileDescriptor stray(::fcntl(STDERR_FILENO, F_DUPFD, 57));  // not close-on-exec
    ASSERT_TRUE(stray);
    // The highest is the listing's own.
    EXPECT_EQ(outputOf(shell("exec 0</dev/null; ls /proc/self/fd")), "0\n1\n2\n3\n");
}

TEST_F(ProcessSpawner, ChildHasNoSignalBlockedOrIgnored) {
    if (!std::filesystem::exists("/proc/self/status")) GTEST_SKIP() << "no /proc on this system";
    Pipe pipe;
    ForkedProcess process([&] {
        ::signal(SIGPIPE, SIG_IGN);
        ::signal(SIGHUP, SIG_IGN);
        sigset_t all;
        ::sigfillset(&all);
        ::sigprocmask(SIG_SETMASK, &all, nullptr);
        ProcessRequest request;
        request.launchPath = "/bin/cat";
        request.arguments = {"/proc/self/status"};
        request.standardOutput = pipe.writeEnd().get();
        return run(request).value;
    });
    pipe.writeEnd().reset();
    const std::string status = pipe.readToEnd();
    EXPECT_EQ(signalsOf(status, "SigBlk:"), 0u);
    EXPECT_EQ(signalsOf(status, "SigIgn:") & ~kSignalsOfTheLibrary, 0u);
    EXPECT_EQ(process.exitStatus(), 0);
}

TEST_F(ProcessSpawner, ChildrensEndsAreKnownThoughTheParentIgnoredThem) {
    ForkedProcess process([] {
        ::signal(SIGCHLD, SIG_IGN);
        const auto spawner = platform::makePosixProcessSpawner();
        return spawner->wait(spawner->spawn(shell("exit 6"))).value;
    });
    EXPECT_EQ(process.exitStatus(), 6);
}

TEST_F(ProcessSpawner, SessionIsTheCallersUnlessAskedFor) {
    Pipe input;
    ProcessRequest request = shell("read line");
    request.standardInput = input.readEnd().get();
    const pid_t same = spawner_->spawn(request);
    request.session = ProcessRequest::Session::own;
    const pid_t own = spawner_->spawn(request);
    EXPECT_EQ(::getsid(same), ::getsid(0));
    EXPECT_EQ(::getsid(own), own);
    EXPECT_EQ(::getpgid(own), own);
    input.writeEnd().reset();
    spawner_->wait(same);
    spawner_->wait(own);
}

TEST_F(ProcessSpawner, ChildInASessionOfItsOwnKeepsNoFolderBusy) {
    ProcessRequest request = shell("pwd -P");
    EXPECT_EQ(outputOf(request), std::filesystem::current_path().string() + "\n");
    request.session = ProcessRequest::Session::own;
    EXPECT_EQ(outputOf(request), "/\n");
}

TEST_F(ProcessSpawner, PollKnowsNothingWhileTheChildRuns) {
    Pipe input;
    ProcessRequest request = shell("read line; exit 5");
    request.standardInput = input.readEnd().get();
    const pid_t child = spawner_->spawn(request);
    EXPECT_FALSE(spawner_->poll(child));
    input.writeEnd().reset();
    waitForEndWithoutTakingIt(child);
    const auto end = spawner_->poll(child);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->value, 5);
}

TEST_F(ProcessSpawner, WaitingForAStrangerRaises) {
    EXPECT_THROW(spawner_->wait(::getpid()), platform::Exception);
    EXPECT_THROW(spawner_->poll(::getpid()), platform::Exception);
}

TEST_F(ProcessSpawner, NoNumberStandsForAnyChild) {
    const pid_t child = spawner_->spawn(shell("exit 0"));
    waitForEndWithoutTakingIt(child);
    EXPECT_THROW(spawner_->wait(-1), platform::Exception);
    EXPECT_THROW(spawner_->wait(0), platform::Exception);
    EXPECT_TRUE(spawner_->wait(child).succeeded());
}

TEST_F(ProcessSpawner, AbandonedChildThatHasEndedIsGoneAtOnce) {
    const pid_t child = spawner_->spawn(shell("exit 0"));
    waitForEndWithoutTakingIt(child);
    spawner_->abandon(child);
    EXPECT_FALSE(isChild(child));
}

TEST_F(ProcessSpawner, AbandonedChildGoesOnAndLeavesNoZombie) {
    Pipe input;
    Pipe output;
    ProcessRequest request = shell("read line; echo on");
    request.standardInput = input.readEnd().get();
    request.standardOutput = output.writeEnd().get();
    const pid_t child = spawner_->spawn(request);
    spawner_->abandon(child);
    EXPECT_TRUE(isChild(child));
    input.writeEnd().reset();
    output.writeEnd().reset();
    EXPECT_EQ(output.readToEnd(), "on\n");
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (isChild(child) && std::chrono::steady_clock::now() < limit) std::this_thread::yield();
    EXPECT_FALSE(isChild(child));
}

TEST_F(ProcessSpawner, AbandoningAStrangerDoesNothing) {
    EXPECT_NO_THROW(spawner_->abandon(::getpid()));
    EXPECT_NO_THROW(spawner_->abandon(-1));
}

}  // namespace
}  // namespace quillmore::tests
