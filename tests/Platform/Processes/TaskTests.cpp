#include "Platform/Processes/Task.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include "Platform/Values/Exception.h"
#include "tests/Platform/Files/OpenDescriptors.h"
#include "tests/Platform/Processes/ForkedProcess.h"
#include "tests/fakes/FakeProcessSpawner.h"

namespace quillmore::tests {
namespace {

using platform::Pipe;

class Task : public testing::Test {
protected:
    void prepare(platform::Task& task, const std::string& script) {
        task.setLaunchPath("/bin/sh");
        task.setArguments({"-c", script});
        task.setStandardOutput(output_);
        task.setStandardError(error_);
    }

    std::unique_ptr<platform::ProcessSpawner> spawner_ = platform::makePosixProcessSpawner();
    Pipe output_;
    Pipe error_;
};

TEST_F(Task, OutputAndErrorComeThroughTheirPipes) {
    platform::Task task(*spawner_);
    prepare(task, "echo out; echo err >&2");
    task.launch();
    EXPECT_EQ(output_.readToEnd(), "out\n");
    EXPECT_EQ(error_.readToEnd(), "err\n");
    task.waitUntilExit();
    EXPECT_EQ(task.terminationStatus(), 0);
}

TEST_F(Task, MoreThanAPipeHoldsIsRead) {
    platform::Task task(*spawner_);
    prepare(task, "head -c 1000000 /dev/zero");
    task.launch();
    EXPECT_EQ(output_.readToEnd(), std::string(1000000, '\0'));
    task.waitUntilExit();
}

TEST_F(Task, ProcessIdentifierIsTheChilds) {
    platform::Task task(*spawner_);
    prepare(task, "echo $$");
    EXPECT_EQ(task.processIdentifier(), 0);
    task.launch();
    EXPECT_EQ(output_.readToEnd(), std::to_string(task.processIdentifier()) + "\n");
    task.waitUntilExit();
}

TEST_F(Task, ExitStatusStaysKnown) {
    platform::Task task(*spawner_);
    prepare(task, "exit 3");
    task.launch();
    task.waitUntilExit();
    task.waitUntilExit();
    EXPECT_EQ(task.terminationStatus(), 3);
    EXPECT_FALSE(task.isRunning());
}

TEST_F(Task, SignalsNumberIsTheStatusOfAKilledChild) {
    platform::Task task(*spawner_);
    prepare(task, "kill -TERM $$");
    task.launch();
    task.waitUntilExit();
    EXPECT_EQ(task.terminationStatus(), SIGTERM);
    EXPECT_TRUE(task.end().signalled);
}

TEST_F(Task, RunsUntilItsChildHasEnded) {
    platform::Task task(*spawner_);
    prepare(task, "kill -STOP $$; exit 2");
    EXPECT_FALSE(task.isRunning());
    task.launch();
    EXPECT_TRUE(task.isRunning());
    EXPECT_THROW(task.terminationStatus(), platform::Exception);
    siginfo_t information{};
    ::waitid(P_PID, static_cast<id_t>(task.processIdentifier()), &information, WSTOPPED);
    ::kill(task.processIdentifier(), SIGCONT);
    ::waitid(P_PID, static_cast<id_t>(task.processIdentifier()), &information, WEXITED | WNOWAIT);
    EXPECT_FALSE(task.isRunning());
    EXPECT_EQ(task.terminationStatus(), 2);
}

TEST_F(Task, EndedChildsStatusIsKnownThoughNobodyWaited) {
    platform::Task task(*spawner_);
    prepare(task, "exit 8");
    task.launch();
    siginfo_t information{};
    ::waitid(P_PID, static_cast<id_t>(task.processIdentifier()), &information, WEXITED | WNOWAIT);
    EXPECT_EQ(task.terminationStatus(), 8);
}

TEST_F(Task, NothingIsKnownBeforeTheLaunch) {
    platform::Task task(*spawner_);
    EXPECT_THROW(task.waitUntilExit(), platform::Exception);
    EXPECT_THROW(task.terminationStatus(), platform::Exception);
    EXPECT_THROW(task.end(), platform::Exception);
}

TEST_F(Task, IsLaunchedOnlyOnce) {
    platform::Task task(*spawner_);
    prepare(task, "exit 0");
    task.launch();
    EXPECT_THROW(task.launch(), platform::Exception);
    task.waitUntilExit();
}

TEST_F(Task, FailedLaunchCountsAsNeverStarted) {
    platform::Task task(*spawner_);
    prepare(task, "");
    task.setLaunchPath("/no/such/program");
    EXPECT_THROW(task.launch(), platform::Exception);
    EXPECT_EQ(task.processIdentifier(), 0);
    EXPECT_FALSE(task.isRunning());
    EXPECT_THROW(task.terminationStatus(), platform::Exception);
}

TEST_F(Task, ReaderSeesTheEndAfterAFailedLaunch) {
    platform::Task task(*spawner_);
    prepare(task, "");
    task.setLaunchPath("/no/such/program");
    EXPECT_THROW(task.launch(), platform::Exception);
    EXPECT_EQ(output_.readToEnd(), "");
    EXPECT_EQ(error_.readToEnd(), "");
}

TEST_F(Task, OnePipeTakesBothStreams) {
    platform::Task task(*spawner_);
    prepare(task, "echo out; echo err >&2");
    task.setStandardError(output_);
    task.launch();
    EXPECT_EQ(output_.readToEnd(), "out\nerr\n");
    task.waitUntilExit();
}

TEST_F(Task, PipeOfAnEarlierTaskIsRefused) {
    platform::Task task(*spawner_);
    prepare(task, "echo onto the terminal");
    output_.writeEnd().reset();
    EXPECT_THROW(task.launch(), platform::Exception);
    EXPECT_EQ(task.processIdentifier(), 0);
}

TEST_F(Task, IsAbandonedOnlyWhenNobodyTookItsEnd) {
    FakeProcessSpawner processes;
    processes.teach("/bin/tool", {});
    pid_t forgotten = 0;
    {
        platform::Task task(processes);
        task.setLaunchPath("/bin/tool");
        task.launch();
        forgotten = task.processIdentifier();
        platform::Task waited(processes);
        waited.setLaunchPath("/bin/tool");
        waited.launch();
        waited.waitUntilExit();
        platform::Task never(processes);
    }
    EXPECT_EQ(processes.abandoned, std::vector<pid_t>{forgotten});
}

TEST_F(Task, ManyRunsLeaveNoDescriptorOpen) {
    if (!canCountOpenDescriptors()) GTEST_SKIP() << "no /proc on this system";
    const std::size_t before = openDescriptorCount();
    for (int run = 0; run < 1000; ++run) {
        Pipe output;
        platform::Task task(*spawner_);
        task.setLaunchPath(run % 10 == 0 ? "/no/such/program" : "/bin/true");
        task.setStandardOutput(output);
        try {
            task.launch();
            task.waitUntilExit();
        } catch (const platform::Exception&) {
            ASSERT_EQ(run % 10, 0);
        }
        output.readToEnd();
    }
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST(Pipe, BothEndsAreCloseOnExec) {
    Pipe pipe;
    EXPECT_EQ(::fcntl(pipe.readEnd().get(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(::fcntl(pipe.writeEnd().get(), F_GETFD), FD_CLOEXEC);
}

TEST(Pipe, ReadingAClosedEndGivesNothing) {
    Pipe pipe;
    pipe.readEnd().reset();
    EXPECT_EQ(pipe.readToEnd(), "");
}

int interruptionsEnd = -1;

// No SA_RESTART: a blocked read ends with an error. Says that it was called.
void interrupt(int) {
    [[maybe_unused]] const auto count = ::write(interruptionsEnd, "", 1);
}

TEST(Pipe, ReadingGoesOnAfterASignal) {
    Gate interrupted;
    Pipe pipe;
    interruptionsEnd = interrupted.descriptor();
    struct sigaction action {};
    action.sa_handler = interrupt;
    struct sigaction before {};
    ::sigaction(SIGUSR1, &action, &before);
    const pid_t reader = ::getpid();
    ForkedProcess writer([&] {
        for (int count = 0; count < 20; ++count) {
            ::kill(reader, SIGUSR1);
            interrupted.pass();
            if (::write(pipe.writeEnd().get(), "x", 1) != 1) return 1;
        }
        return 0;
    });
    pipe.writeEnd().reset();
    EXPECT_EQ(pipe.readToEnd(), std::string(20, 'x'));
    EXPECT_EQ(writer.exitStatus(), 0);
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST(Pipe, NoDescriptorLeftRaises) {
    EXPECT_EXIT(
        {
            while (::dup(0) >= 0) {
            }
            try {
                Pipe pipe;
            } catch (const platform::Exception& exception) {
                ::_exit(exception.reason() == "Couldn't create a pipe (Too many open files)" ? 17
                                                                                             : 1);
            }
        },
        testing::ExitedWithCode(17), "");
}

}  // namespace
}  // namespace quillmore::tests
