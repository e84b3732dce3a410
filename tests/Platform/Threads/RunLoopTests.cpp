#include "Platform/Threads/RunLoop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <thread>

#include "Platform/Processes/Task.h"
#include "Platform/Values/Exception.h"
#include "tests/Platform/Files/OpenDescriptors.h"

namespace quillmore::tests {
namespace {

using platform::FileDescriptor;
using platform::Pipe;
using Seconds = platform::RunLoop::Seconds;

constexpr Seconds kFarOff(1e30);

class RunLoop : public testing::Test {
protected:
    /// What a background read of the descriptor hands over.
    std::string read(int descriptor) {
        std::optional<std::string> result;
        loop_.readToEndInBackground(descriptor,
                                    [&](std::string bytes) { result = std::move(bytes); });
        EXPECT_FALSE(result);
        while (!result && loop_.runOnce(kFarOff)) {
        }
        return result.value_or("never called");
    }
    static void write(Pipe& pipe, const std::string& text) {
        ASSERT_EQ(::write(pipe.writeEnd().get(), text.data(), text.size()),
                  static_cast<ssize_t>(text.size()));
    }

    platform::RunLoop loop_;
};

TEST_F(RunLoop, NothingToWaitForReturnsAtOnce) {
    EXPECT_FALSE(loop_.runOnce(kFarOff));
    loop_.runWhile([] { return true; });
}

TEST_F(RunLoop, HandlerIsCalledOnceAndOnlyByRunning) {
    int calls = 0;
    loop_.performAfter(Seconds(0), [&] { ++calls; });
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_FALSE(loop_.runOnce(kFarOff));
    EXPECT_EQ(calls, 1);
}

TEST_F(RunLoop, HandlersComeInTheOrderOfTheirTimesOneARun) {
    std::string order;
    loop_.performAfter(kFarOff, [&] { order += "c"; });
    loop_.performAfter(Seconds(-5), [&] { order += "a"; });
    loop_.performAfter(Seconds(0.002), [&] { order += "b"; });
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(order, "a");
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_FALSE(loop_.runOnce(Seconds(0)));
    EXPECT_EQ(order, "ab");
}

TEST_F(RunLoop, LimitEndsTheRun) {
    bool called = false;
    loop_.performAfter(kFarOff, [&] { called = true; });
    EXPECT_FALSE(loop_.runOnce(Seconds(0)));
    EXPECT_FALSE(loop_.runOnce(Seconds(0.002)));
    EXPECT_FALSE(called);
}

TEST_F(RunLoop, WhatIsReadyStillCountsWithoutTime) {
    bool called = false;
    loop_.performAfter(Seconds(0), [&] { called = true; });
    EXPECT_TRUE(loop_.runOnce(Seconds(0)));
    EXPECT_TRUE(called);
}

TEST_F(RunLoop, TimesThatAreNoNumberCountAsNow) {
    bool called = false;
    const Seconds none(std::numeric_limits<double>::quiet_NaN());
    loop_.performAfter(none, [&] { called = true; });
    EXPECT_TRUE(loop_.runOnce(none));
    EXPECT_TRUE(called);
}

TEST_F(RunLoop, RunsAsLongAsTheConditionHolds) {
    int calls = 0;
    for (int count = 0; count < 5; ++count) loop_.performAfter(Seconds(0), [&] { ++calls; });
    loop_.runWhile([&] { return calls < 3; });
    EXPECT_EQ(calls, 3);
    loop_.runWhile([] { return true; });
    EXPECT_EQ(calls, 5);
}

TEST_F(RunLoop, HandlerMayAskForMore) {
    int left = 10;
    std::function<void()> again = [&] {
        if (--left > 0) loop_.performAfter(Seconds(0), again);
    };
    loop_.performAfter(Seconds(0), again);
    loop_.runWhile([] { return true; });
    EXPECT_EQ(left, 0);
}

TEST_F(RunLoop, HandlerMayRunTheLoop) {
    std::string order;
    loop_.performAfter(Seconds(0), [&] {
        order += "(";
        EXPECT_TRUE(loop_.runOnce(kFarOff));
        EXPECT_FALSE(loop_.runOnce(kFarOff));
        order += ")";
    });
    loop_.performAfter(Seconds(0.001), [&] { order += "inner"; });
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(order, "(inner)");
}

TEST_F(RunLoop, WhatAHandlerRaisesPassesThroughAndTheLoopGoesOn) {
    loop_.performAfter(Seconds(0), [] { throw platform::Exception("Name", "reason"); });
    bool called = false;
    loop_.performAfter(Seconds(0.001), [&] { called = true; });
    EXPECT_THROW(loop_.runOnce(kFarOff), platform::Exception);
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_TRUE(called);
}

TEST_F(RunLoop, PipeIsReadToItsEnd) {
    Pipe pipe;
    std::optional<std::string> result;
    loop_.readToEndInBackground(pipe.readEnd().get(),
                                [&](std::string bytes) { result = std::move(bytes); });
    write(pipe, "first ");
    EXPECT_FALSE(loop_.runOnce(Seconds(0)));
    write(pipe, std::string("sec\0nd\xFF", 7));
    EXPECT_FALSE(loop_.runOnce(Seconds(0)));
    EXPECT_FALSE(result);
    pipe.writeEnd().reset();
    EXPECT_TRUE(loop_.runOnce(kFarOff));
    EXPECT_EQ(result, "first " + std::string("sec\0nd\xFF", 7));
}

TEST_F(RunLoop, EmptyPipeGivesNothing) {
    Pipe pipe;
    pipe.writeEnd().reset();
    EXPECT_EQ(read(pipe.readEnd().get()), "");
}

TEST_F(RunLoop, MoreThanAPipeHoldsIsReadFromBothStreamsOfAChild) {
    Pipe output;
    Pipe error;
    const auto spawner = platform::makePosixProcessSpawner();
    platform::Task task(*spawner);
    task.setLaunchPath("/bin/sh");
    task.setArguments({"-c", "head -c 300000 /dev/zero >&2; head -c 500000 /dev/zero"});
    task.setStandardOutput(output);
    task.setStandardError(error);
    task.launch();
    std::string outputBytes;
    std::string errorBytes;
    loop_.readToEndInBackground(output.readEnd().get(), [&](auto bytes) { outputBytes = bytes; });
    loop_.readToEndInBackground(error.readEnd().get(), [&](auto bytes) { errorBytes = bytes; });
    loop_.runWhile([] { return true; });
    task.waitUntilExit();
    EXPECT_EQ(outputBytes, std::string(500000, '\0'));
    EXPECT_EQ(errorBytes, std::string(300000, '\0'));
}

TEST_F(RunLoop, SocketIsReadToItsEnd) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const FileDescriptor mine(ends[0]);
    FileDescriptor peer(ends[1]);
    ASSERT_EQ(::write(peer.get(), "hello", 5), 5);
    peer.reset();
    EXPECT_EQ(read(mine.get()), "hello");
}

TEST_F(RunLoop, RegularFileIsReadFromItsPosition) {
    std::string path = testing::TempDir() + "quillmore-loop-XXXXXX";
    const FileDescriptor file(::mkstemp(path.data()));
    ::unlink(path.c_str());
    const std::string text = "skipped" + std::string(200000, 'x');
    ASSERT_EQ(::write(file.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::lseek(file.get(), 7, SEEK_SET);
    EXPECT_EQ(read(file.get()), std::string(200000, 'x'));
    EXPECT_EQ(read(file.get()), "");
}

TEST_F(RunLoop, NullDeviceIsEmpty) {
    const FileDescriptor null(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(read(null.get()), "");
}

TEST_F(RunLoop, DescriptorThatCannotBeReadGivesNothing) {
    const FileDescriptor folder(::open("/", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(read(folder.get()), "");
    EXPECT_EQ(read(-1), "");
    EXPECT_EQ(read(799), "");
    Pipe pipe;
    const FileDescriptor writeOnly(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(read(writeOnly.get()), "");
}

TEST_F(RunLoop, CallersDescriptorStaysOpenAndInItsMode) {
    Pipe pipe;
    pipe.writeEnd().reset();
    const int before = ::fcntl(pipe.readEnd().get(), F_GETFL);
    EXPECT_EQ(read(pipe.readEnd().get()), "");
    EXPECT_EQ(::fcntl(pipe.readEnd().get(), F_GETFL), before);
    EXPECT_EQ(before & O_NONBLOCK, 0);
}

TEST_F(RunLoop, ReadsAndTimersShareTheLoop) {
    Pipe pipe;
    std::string order;
    loop_.readToEndInBackground(pipe.readEnd().get(), [&](auto bytes) { order += bytes; });
    loop_.performAfter(Seconds(0.001), [&] {
        order += "timer ";
        write(pipe, "text");
        pipe.writeEnd().reset();
    });
    loop_.runWhile([] { return true; });
    EXPECT_EQ(order, "timer text");
}

TEST_F(RunLoop, HandlersRunOnTheThreadThatRunsTheLoop) {
    std::jthread([] {
        auto& loop = platform::RunLoop::current();
        std::thread::id thread;
        loop.performAfter(Seconds(0), [&] { thread = std::this_thread::get_id(); });
        loop.runWhile([] { return true; });
        EXPECT_EQ(thread, std::this_thread::get_id());
    });
}

TEST_F(RunLoop, EachThreadHasItsOwn) {
    platform::RunLoop* const mine = &platform::RunLoop::current();
    EXPECT_EQ(mine, &platform::RunLoop::current());
    std::jthread([mine] { EXPECT_NE(mine, &platform::RunLoop::current()); });
}

TEST_F(RunLoop, WhatIsStillWaitedForIsDroppedWithTheLoop) {
    const auto held = std::make_shared<int>(0);
    Pipe pipe;
    const int mode = ::fcntl(pipe.readEnd().get(), F_GETFL);
    {
        platform::RunLoop loop;
        loop.performAfter(kFarOff, [held] { ++*held; });
        loop.readToEndInBackground(pipe.readEnd().get(), [held](std::string) { ++*held; });
        EXPECT_FALSE(loop.runOnce(Seconds(0)));
        EXPECT_EQ(held.use_count(), 3);
    }
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(*held, 0);
    EXPECT_EQ(::fcntl(pipe.readEnd().get(), F_GETFL), mode);
}

TEST_F(RunLoop, ReadsAndLoopsLeaveNoDescriptorOpen) {
    if (!canCountOpenDescriptors()) GTEST_SKIP() << "no /proc on this system";
    const std::size_t before = openDescriptorCount();
    for (int round = 0; round < 100; ++round) {
        platform::RunLoop loop;
        Pipe ended;
        Pipe open;
        ended.writeEnd().reset();
        loop.readToEndInBackground(open.readEnd().get(), [](std::string) {});
        loop.readToEndInBackground(ended.readEnd().get(), [](std::string) {});
        ASSERT_TRUE(loop.runOnce(kFarOff));
    }
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST_F(RunLoop, NoDescriptorLeftRaises) {
    EXPECT_EXIT(
        {
            platform::RunLoop loop;
            while (::dup(0) >= 0) {
            }
            try {
                loop.readToEndInBackground(0, [](std::string) {});
            } catch (const platform::Exception&) {
                ::_exit(loop.runOnce(kFarOff) ? 1 : 17);
            }
        },
        testing::ExitedWithCode(17), "");
}

}  // namespace
}  // namespace quillmore::tests
