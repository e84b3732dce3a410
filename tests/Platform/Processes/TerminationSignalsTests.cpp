#include "Platform/Processes/TerminationSignals.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "Platform/Interface/Application.h"
#include "tests/Platform/Processes/ForkedProcess.h"
#include "tests/fakes/TemporaryRoot.h"

namespace quillmore::tests {
namespace {

using platform::Pipe;
using platform::ProcessRequest;
using platform::TerminationDelay;
using platform::watchTerminationSignals;

void exitWithNumber(int number) {
    ::_exit(100 + number);
}

void say(Pipe& pipe, const std::string& text) {
    [[maybe_unused]] const auto count = ::write(pipe.writeEnd().get(), text.data(), text.size());
}

[[noreturn]] void waitForTheEnd() {
    for (;;) ::pause();
}

class EverySignal : public testing::TestWithParam<int> {};

TEST_P(EverySignal, IsHandledWhileTheMainThreadIsBusyElsewhere) {
    Gate ready;
    ForkedProcess process([&]() -> int {
        ::signal(GetParam(), SIG_DFL);
        watchTerminationSignals(exitWithNumber);
        ready.open();
        waitForTheEnd();
    });
    ready.pass();
    process.kill(GetParam());
    EXPECT_EQ(process.exitStatus(), 100 + GetParam());
}

INSTANTIATE_TEST_SUITE_P(TerminationSignals, EverySignal, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST(TerminationSignals, FileBeyondTheLimitFailsTheWriteAndNotTheProcess) {
    const TemporaryFolder folder;
    ForkedProcess process([&]() -> int {
        ::signal(SIGXFSZ, SIG_DFL);
        watchTerminationSignals(exitWithNumber);
        const platform::FileDescriptor file(
            ::open((folder.path() + "/file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        const rlimit nothing{0, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &nothing);
        return platform::writeAll(file.get(), "text");
    });
    EXPECT_EQ(process.exitStatus(), EFBIG);
}

TEST(TerminationSignals, AreKeptWhileWorkMustNotBeCut) {
    Pipe pipe;
    ForkedProcess process([&]() -> int {
        watchTerminationSignals(exitWithNumber);
        {
            const TerminationDelay delay;
            signalSelf(SIGTERM);
            say(pipe, "work done");
        }
        waitForTheEnd();
    });
    pipe.writeEnd().reset();
    EXPECT_EQ(pipe.readToEnd(), "work done");
    EXPECT_EQ(process.exitStatus(), 100 + SIGTERM);
}

TEST(TerminationSignals, AreKeptUntilTheLastDelayGoes) {
    Pipe pipe;
    ForkedProcess process([&]() -> int {
        watchTerminationSignals(exitWithNumber);
        {
            const TerminationDelay outer;
            {
                const TerminationDelay inner;
                signalSelf(SIGTERM);
            }
            for (int count = 0; count < 1000; ++count) std::this_thread::yield();
            say(pipe, "outer work done");
        }
        waitForTheEnd();
    });
    pipe.writeEnd().reset();
    EXPECT_EQ(pipe.readToEnd(), "outer work done");
    EXPECT_EQ(process.exitStatus(), 100 + SIGTERM);
}

TEST(TerminationSignals, LetNoFurtherWorkBegin) {
    Pipe pipe;
    ForkedProcess process([&]() -> int {
        watchTerminationSignals(exitWithNumber);
        {
            const TerminationDelay first;
            signalSelf(SIGTERM);
        }
        const TerminationDelay second;
        say(pipe, "second work");
        return 0;
    });
    pipe.writeEnd().reset();
    EXPECT_EQ(pipe.readToEnd(), "");
    EXPECT_EQ(process.exitStatus(), 100 + SIGTERM);
}

TEST(TerminationSignals, AreHandledBetweenDelaysThatFollowAtOnce) {
    ForkedProcess process([]() -> int {
        watchTerminationSignals(exitWithNumber);
        ::kill(::getpid(), SIGTERM);
        for (;;) const TerminationDelay delay;
    });
    EXPECT_EQ(process.exitStatus(), 100 + SIGTERM);
}

TEST(TerminationSignals, WorkGoesOnAfterASignalThatWasOnlyNoted) {
    ForkedProcess process([] {
        std::atomic<int> noted = 0;
        watchTerminationSignals([&](int number) { noted = number; });
        ::kill(::getpid(), SIGHUP);
        while (noted == 0) const TerminationDelay delay;
        const TerminationDelay delay;
        return noted.load();
    });
    EXPECT_EQ(process.exitStatus(), SIGHUP);
}

TEST(TerminationSignals, ExitProcessMayBeCalledByTheHandler) {
    Gate ready;
    ForkedProcess process([&]() -> int {
        platform::MainApplication application;
        watchTerminationSignals([&](int number) { application.exitProcess(128 + number); });
        {
            const TerminationDelay delay;
            ready.open();
        }
        waitForTheEnd();
    });
    ready.pass();
    process.kill(SIGTERM);
    EXPECT_EQ(process.exitStatus(), 128 + SIGTERM);
}

TEST(TerminationSignals, OneThatWasIgnoredAtTheStartStaysSo) {
    Gate ready;
    ForkedProcess process([&]() -> int {
        ::signal(SIGHUP, SIG_IGN);
        watchTerminationSignals(exitWithNumber);
        ready.open();
        waitForTheEnd();
    });
    ready.pass();
    process.kill(SIGHUP);  // were it watched, it would be handled first, having the lower number
    process.kill(SIGTERM);
    EXPECT_EQ(process.exitStatus(), 100 + SIGTERM);
}

TEST(TerminationSignals, WritingToAClosedPipeIsAnError) {
    ForkedProcess process([] {
        watchTerminationSignals(exitWithNumber);
        Pipe pipe;
        pipe.readEnd().reset();
        return ::write(pipe.writeEnd().get(), "x", 1) < 0 && errno == EPIPE ? 17 : 1;
    });
    EXPECT_EQ(process.exitStatus(), 17);
}

TEST(TerminationSignals, StillEndAChild) {
    ForkedProcess process([] {
        watchTerminationSignals(exitWithNumber);
        const auto spawner = platform::makePosixProcessSpawner();
        ProcessRequest request;
        request.launchPath = "/bin/sh";
        request.arguments = {"-c", "kill -TERM $$; exit 1"};
        const platform::ProcessEnd end = spawner->wait(spawner->spawn(request));
        return end.signalled ? end.value : 1;
    });
    EXPECT_EQ(process.exitStatus(), SIGTERM);
}

}  // namespace
}  // namespace quillmore::tests
