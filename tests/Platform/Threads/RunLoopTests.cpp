#include "Platform/Threads/RunLoop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <thread>

#include "Platform/Files/Pipe.h"
#include "Platform/Processes/Task.h"
#include "Platform/Values/Exception.h"
#include "tests/Platform/Files/OpenDescriptors.h"

namespace quillmore::tests {
namespace {

using platform::FileDescriptor;
using platform::Pipe;
using Seconds = platform::RunLoop::Seconds;
using Wait = std::unique_ptr<platform::RunLoop::Wait>;

constexpr Seconds kFarOff(1e30);

class RunLoop : public testing::Test {
protected:
    Wait waitFor(int descriptor, const std::string& name = "x") {
        return loop_.waitForDataInBackground(descriptor, [this, name] { order_ += name; });
    }
    static void write(Pipe& pipe, const std::string& text) {
        ASSERT_EQ(::write(pipe.writeEnd().get(), text.data(), text.size()),
                  static_cast<ssize_t>(text.size()));
    }

    platform::RunLoop loop_;
    Pipe pipe_;
    std::string order_;  ///< Of the handlers that were called.
};

TEST_F(RunLoop, NothingToWaitForReturnsAtOnce) {
    EXPECT_FALSE(loop_.runOnce(kFarOff));
}

TEST_F(RunLoop, HandlerIsCalledOnceWhenThereIsDataAndOnlyByRunning) {
    const Wait wait = waitFor(pipe_.readEnd().get());
    EXPECT_FALSE(loop_.runOnce(Seconds(0)));
    write(pipe_, "text");
    EXPECT_EQ(order_, "");
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_FALSE(loop_.runOnce(kFarOff));
    EXPECT_EQ(order_, "x");
}

TEST_F(RunLoop, DataIsLeftForTheCaller) {
    const Wait wait = waitFor(pipe_.readEnd().get());
    write(pipe_, "text");
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(platform::readAvailableData(pipe_.readEnd().get()), "text");
}

TEST_F(RunLoop, EndOfTheStreamCounts) {
    const Wait wait = waitFor(pipe_.readEnd().get());
    pipe_.writeEnd().reset();
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(platform::readAvailableData(pipe_.readEnd().get()), "");
}

TEST_F(RunLoop, EndOfASocketCounts) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const FileDescriptor mine(ends[0]);
    FileDescriptor peer(ends[1]);
    const Wait wait = waitFor(mine.get());
    EXPECT_FALSE(loop_.runOnce(Seconds(0)));
    peer.reset();
    EXPECT_TRUE(loop_.runOnce(kFarOff));
}

TEST_F(RunLoop, WhatCannotBeWaitedForIsReadyAtOnce) {
    std::string path = testing::TempDir() + "quillmore-loop-XXXXXX";
    const FileDescriptor file(::mkstemp(path.data()));
    ::unlink(path.c_str());
    const FileDescriptor folder(::open("/", O_RDONLY | O_CLOEXEC));
    const FileDescriptor device(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const FileDescriptor writeOnly(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    for (const int descriptor :
         {file.get(), folder.get(), device.get(), writeOnly.get(), -1, 799}) {
        const Wait wait = waitFor(descriptor);
        EXPECT_TRUE(loop_.runOnce(kFarOff)) << descriptor;
    }
    EXPECT_EQ(order_, "xxxxxx");
}

TEST_F(RunLoop, OfSeveralThatAreReadyTheOneAskedForFirstComesFirstOneARun) {
    Pipe quiet;
    pipe_.writeEnd().reset();
    const Wait never = waitFor(quiet.readEnd().get(), "never");
    const Wait waits[] = {waitFor(pipe_.readEnd().get(), "a"), waitFor(-1, "b"),
                          waitFor(pipe_.readEnd().get(), "c")};
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(order_, "a");
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_FALSE(loop_.runOnce(Seconds(0)));
    EXPECT_EQ(order_, "abc");
}

TEST_F(RunLoop, LimitEndsTheRun) {
    const Wait wait = waitFor(pipe_.readEnd().get());
    EXPECT_FALSE(loop_.runOnce(Seconds(0)));
    EXPECT_FALSE(loop_.runOnce(Seconds(0.002)));
    EXPECT_EQ(order_, "");
}

TEST_F(RunLoop, WhatIsReadyStillCountsWithoutTime) {
    pipe_.writeEnd().reset();
    const Wait wait = waitFor(pipe_.readEnd().get());
    EXPECT_TRUE(loop_.runOnce(Seconds(0)));
    EXPECT_EQ(order_, "x");
}

TEST_F(RunLoop, TimesThatAreNoNumberOrNegativeCountAsNow) {
    const Wait wait = waitFor(pipe_.readEnd().get());
    EXPECT_FALSE(loop_.runOnce(Seconds(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_FALSE(loop_.runOnce(Seconds(-5)));
    pipe_.writeEnd().reset();
    EXPECT_TRUE(loop_.runOnce(Seconds(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_EQ(order_, "x");
}

int alarmed = -1;

TEST_F(RunLoop, SignalDoesNotEndTheRun) {
    const Wait wait = waitFor(pipe_.readEnd().get());
    alarmed = pipe_.writeEnd().get();
    struct sigaction before {};
    struct sigaction action {};
    action.sa_handler = [](int) { [[maybe_unused]] const auto count = ::write(alarmed, "x", 1); };
    ASSERT_EQ(::sigaction(SIGALRM, &action, &before), 0);
    const itimerval soon{{}, {0, 2000}};
    ASSERT_EQ(::setitimer(ITIMER_REAL, &soon, nullptr), 0);
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(order_, "x");
    ::sigaction(SIGALRM, &before, nullptr);
}

TEST_F(RunLoop, HandlerMayWaitAgain) {
    Wait wait;
    const std::function<void()> handler = [&] {
        order_ += "x";
        if (order_.size() < 3) wait = loop_.waitForDataInBackground(pipe_.readEnd().get(), handler);
    };
    wait = loop_.waitForDataInBackground(pipe_.readEnd().get(), handler);
    pipe_.writeEnd().reset();
    while (loop_.runOnce(kFarOff)) {
    }
    EXPECT_EQ(order_, "xxx");
}

TEST_F(RunLoop, HandlerThatWaitsAgainLetsTheOthersComeFirst) {
    pipe_.writeEnd().reset();
    Wait again;
    const Wait first = loop_.waitForDataInBackground(pipe_.readEnd().get(), [&] {
        order_ += "a";
        again = waitFor(pipe_.readEnd().get(), "c");
    });
    const Wait second = waitFor(pipe_.readEnd().get(), "b");
    while (loop_.runOnce(kFarOff)) {
    }
    EXPECT_EQ(order_, "abc");
}

TEST_F(RunLoop, HandlerMayRunTheLoop) {
    const Wait outer = loop_.waitForDataInBackground(-1, [&] {
        order_ += "(";
        EXPECT_TRUE(loop_.runOnce(kFarOff));
        EXPECT_FALSE(loop_.runOnce(kFarOff));
        order_ += ")";
    });
    const Wait inner = waitFor(-1, "inner");
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(order_, "(inner)");
}

TEST_F(RunLoop, WhatAHandlerRaisesPassesThroughAndTheLoopGoesOn) {
    const Wait raising =
        loop_.waitForDataInBackground(-1, [] { throw platform::Exception("Name", "reason"); });
    const Wait wait = waitFor(-1);
    EXPECT_THROW(loop_.runOnce(kFarOff), platform::Exception);
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_FALSE(loop_.runOnce(kFarOff));
    EXPECT_EQ(order_, "x");
}

TEST_F(RunLoop, ForgottenWaitIsNotWaitedForNorCalled) {
    Wait wait = waitFor(pipe_.readEnd().get());
    wait.reset();
    write(pipe_, "text");
    EXPECT_FALSE(loop_.runOnce(kFarOff));
    EXPECT_EQ(order_, "");
}

TEST_F(RunLoop, WaitForgottenBetweenReadinessAndTheRunIsNotCalled) {
    Pipe other;
    Wait second;
    const Wait first = loop_.waitForDataInBackground(pipe_.readEnd().get(), [&] {
        order_ += "first";
        second.reset();
    });
    second = waitFor(other.readEnd().get());
    write(pipe_, "text");
    write(other, "text");
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_FALSE(loop_.runOnce(kFarOff));
    EXPECT_EQ(order_, "first");
}

TEST_F(RunLoop, CallersDescriptorStaysOpenAndInItsMode) {
    const int before = ::fcntl(pipe_.readEnd().get(), F_GETFL);
    EXPECT_EQ(before & O_NONBLOCK, 0);
    const Wait called = waitFor(pipe_.readEnd().get());
    EXPECT_EQ(::fcntl(pipe_.readEnd().get(), F_GETFL), before);
    write(pipe_, "text");
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(::fcntl(pipe_.readEnd().get(), F_GETFL), before);
    waitFor(pipe_.readEnd().get()).reset();
    EXPECT_EQ(::fcntl(pipe_.readEnd().get(), F_GETFL), before);
}

TEST_F(RunLoop, CallersDescriptorMayBeClosedMeanwhile) {
    const Wait wait = waitFor(pipe_.readEnd().get());
    pipe_.readEnd().reset();
    EXPECT_FALSE(loop_.runOnce(Seconds(0)));
    pipe_.writeEnd().reset();
    EXPECT_TRUE(loop_.runOnce(kFarOff));
}

TEST_F(RunLoop, HandlersRunOnTheThreadThatRunsTheLoop) {
    std::jthread([] {
        auto& loop = platform::RunLoop::current();
        std::thread::id thread;
        const Wait wait =
            loop.waitForDataInBackground(-1, [&] { thread = std::this_thread::get_id(); });
        EXPECT_TRUE(loop.runOnce(kFarOff));
        EXPECT_EQ(thread, std::this_thread::get_id());
    });
}

TEST_F(RunLoop, EachThreadHasItsOwn) {
    platform::RunLoop* const mine = &platform::RunLoop::current();
    EXPECT_EQ(mine, &platform::RunLoop::current());
    std::jthread([mine] { EXPECT_NE(mine, &platform::RunLoop::current()); });
}

TEST_F(RunLoop, WaitThatIsOverMayOutliveItsLoop) {
    auto loop = std::make_unique<platform::RunLoop>();
    const Wait wait = loop->waitForDataInBackground(-1, [this] { order_ += "x"; });
    EXPECT_TRUE(loop->runOnce(kFarOff));
    loop.reset();
    EXPECT_EQ(order_, "x");
}

TEST_F(RunLoop, WaitsThatAreOverOrForgottenKeepNeitherDescriptorNorHandler) {
    if (!canCountOpenDescriptors()) GTEST_SKIP() << "no /proc on this system";
    Pipe ended;
    ended.writeEnd().reset();
    const std::size_t before = openDescriptorCount();
    const auto held = std::make_shared<int>(0);
    for (int round = 0; round < 100; ++round) {
        Wait forgotten = loop_.waitForDataInBackground(pipe_.readEnd().get(), [held] { ++*held; });
        const Wait over = loop_.waitForDataInBackground(ended.readEnd().get(), [held] { ++*held; });
        EXPECT_EQ(held.use_count(), 3);
        ASSERT_TRUE(loop_.runOnce(kFarOff));
        forgotten.reset();
        EXPECT_EQ(held.use_count(), 1);
        EXPECT_EQ(openDescriptorCount(), before);
    }
    EXPECT_EQ(*held, 100);
}

TEST_F(RunLoop, NoDescriptorLeftRaises) {
    EXPECT_EXIT(
        {
            platform::RunLoop loop;
            while (::dup(0) >= 0) {
            }
            try {
                const Wait wait = loop.waitForDataInBackground(0, [] {});
            } catch (const platform::Exception&) {
                ::_exit(loop.runOnce(kFarOff) ? 1 : 17);
            }
        },
        testing::ExitedWithCode(17), "");
}

}  // namespace
}  // namespace quillmore::tests
