#include <fcntl.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "Platform/Files/Pipes.h"
#include "Platform/Processes/Task.h"
#include "Platform/Threads/RunLoop.h"
#include "Platform/Values/Exception.h"
#include "tests/Platform/Files/OpenDescriptors.h"

namespace quillmore::tests {
namespace {

using platform::Pipe;
using Seconds = platform::RunLoop::Seconds;
using Wait = std::unique_ptr<platform::RunLoop::Wait>;

constexpr Seconds kFarOff(1e30);

class RunLoopWait : public testing::Test {
protected:
    Wait waitFor(int descriptor) {
        return loop_.waitForDataInBackground(descriptor, [this] { ++calls_; });
    }
    static void write(Pipe& pipe, const std::string& text) {
        ASSERT_EQ(::write(pipe.writeEnd().get(), text.data(), text.size()),
                  static_cast<ssize_t>(text.size()));
    }

    platform::RunLoop loop_;
    Pipe pipe_;
    int calls_ = 0;
};

TEST_F(RunLoopWait, HandlerIsCalledOnceWhenThereIsData) {
    const Wait wait = waitFor(pipe_.readEnd().get());
    EXPECT_FALSE(loop_.runOnce(Seconds(0)));
    write(pipe_, "text");
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_FALSE(loop_.runOnce(kFarOff));
    EXPECT_EQ(calls_, 1);
}

TEST_F(RunLoopWait, DataIsLeftForTheCaller) {
    const Wait wait = waitFor(pipe_.readEnd().get());
    write(pipe_, "text");
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(platform::readAvailableData(pipe_.readEnd().get()), "text");
}

TEST_F(RunLoopWait, EndOfTheStreamCounts) {
    const Wait wait = waitFor(pipe_.readEnd().get());
    pipe_.writeEnd().reset();
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(platform::readAvailableData(pipe_.readEnd().get()), "");
}

TEST_F(RunLoopWait, WhatCannotBeWaitedForIsReadyAtOnce) {
    const platform::FileDescriptor device(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const Wait file = waitFor(device.get());
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    const Wait nothing = waitFor(-1);
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(calls_, 2);
}

TEST_F(RunLoopWait, ForgottenWaitIsNotWaitedForNorCalled) {
    Wait wait = waitFor(pipe_.readEnd().get());
    wait.reset();
    write(pipe_, "text");
    EXPECT_FALSE(loop_.runOnce(kFarOff));
    EXPECT_EQ(calls_, 0);
}

TEST_F(RunLoopWait, WaitForgottenBetweenReadinessAndTheRunIsNotCalled) {
    Pipe other;
    Wait second;
    const Wait first = loop_.waitForDataInBackground(pipe_.readEnd().get(), [&] {
        ++calls_;
        second.reset();
    });
    second = waitFor(other.readEnd().get());
    write(pipe_, "text");
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    write(other, "text");
    EXPECT_FALSE(loop_.runOnce(kFarOff));
    EXPECT_EQ(calls_, 1);
}

TEST_F(RunLoopWait, HandlerMayWaitAgain) {
    Wait wait;
    const std::function<void()> handler = [&] {
        if (++calls_ < 3) wait = loop_.waitForDataInBackground(pipe_.readEnd().get(), handler);
    };
    wait = loop_.waitForDataInBackground(pipe_.readEnd().get(), handler);
    pipe_.writeEnd().reset();
    loop_.runWhile([] { return true; });
    EXPECT_EQ(calls_, 3);
}

TEST_F(RunLoopWait, CallersDescriptorStaysInItsMode) {
    const int before = ::fcntl(pipe_.readEnd().get(), F_GETFL);
    Wait called = waitFor(pipe_.readEnd().get());
    write(pipe_, "text");
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(::fcntl(pipe_.readEnd().get(), F_GETFL), before);
    Wait forgotten = waitFor(pipe_.readEnd().get());
    forgotten.reset();
    EXPECT_EQ(::fcntl(pipe_.readEnd().get(), F_GETFL), before);
}

TEST_F(RunLoopWait, ForgottenWaitsKeepNeitherDescriptorNorHandler) {
    if (!canCountOpenDescriptors()) GTEST_SKIP() << "no /proc on this system";
    waitFor(pipe_.readEnd().get()).reset();
    const std::size_t before = openDescriptorCount();
    const auto held = std::make_shared<int>(0);
    for (int round = 0; round < 100; ++round) {
        Wait wait = loop_.waitForDataInBackground(pipe_.readEnd().get(), [held] { ++*held; });
        EXPECT_EQ(held.use_count(), 2);
        wait.reset();
    }
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST(ReadAvailableData, GivesWhatIsThereUpToTheLimit) {
    Pipe pipe;
    ASSERT_EQ(::write(pipe.writeEnd().get(), "abcde", 5), 5);
    EXPECT_EQ(platform::readAvailableData(pipe.readEnd().get(), 3), "abc");
    EXPECT_EQ(platform::readAvailableData(pipe.readEnd().get(), 3), "de");
    pipe.writeEnd().reset();
    EXPECT_EQ(platform::readAvailableData(pipe.readEnd().get(), 3), "");
    EXPECT_EQ(platform::readAvailableData(-1, 3), "");
}

}  // namespace
}  // namespace quillmore::tests
