#include "Common/TaskOutputReader.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <future>
#include <thread>

#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using platform::NotificationCenter;

class TaskOutputReaderTest : public LogTest {
protected:
    TaskOutputReaderTest() {
        task->setStandardOutput(output);
        task->setStandardError(error);
        ::mkfifo(fifoPath.c_str(), 0600);
        // For reading too, so that neither the opening nor a child waits for the other side.
        fifo = platform::FileDescriptor(::open(fifoPath.c_str(), O_RDWR | O_CLOEXEC));
    }
    ~TaskOutputReaderTest() override {
        for (const auto token : tokens) NotificationCenter::defaultCenter().removeObserver(token);
    }
    void prepare(const std::string& script) {
        task->setLaunchPath("/bin/sh");
        task->setArguments({"-c", script, "sh", fifoPath});
    }
    /// Lets a child go on that reads a line of the FIFO, its first argument.
    void letGoOn() { ASSERT_EQ(::write(fifo.get(), "\n", 1), 1); }
    void observe(const char* name, const void* object, std::function<void()> act) {
        tokens.push_back(NotificationCenter::defaultCenter().addObserver(
            name, object, [act = std::move(act)](const auto&) { act(); }));
    }

    std::unique_ptr<platform::ProcessSpawner> spawner = platform::makePosixProcessSpawner();
    platform::Pipe output;
    platform::Pipe error;
    std::shared_ptr<platform::Task> task = std::make_shared<platform::Task>(*spawner);
    std::string fifoPath = services.host("/tmp/fifo");
    platform::FileDescriptor fifo;
    std::vector<NotificationCenter::Token> tokens;
};

TEST_F(TaskOutputReaderTest, StreamsAreKeptApart) {
    prepare("echo out; echo err >&2");
    TaskOutputReader reader(task);
    reader.launchTaskAndRunSynchronous({});
    EXPECT_EQ(reader.standardOutputData(), "out\n");
    EXPECT_EQ(reader.standardErrorData(), "err\n");
    EXPECT_EQ(task->terminationStatus(), 0);
}

TEST_F(TaskOutputReaderTest, BuffersAreTheReadersOwn) {
    prepare("echo out");
    TaskOutputReader reader(task);
    const std::string* const before = &reader.standardOutputData();
    EXPECT_EQ(*before, "");
    reader.launchTaskAndRunSynchronous({});
    EXPECT_EQ(&reader.standardOutputData(), before);
    EXPECT_EQ(*before, "out\n");
}

TEST_F(TaskOutputReaderTest, MoreThanBothPipesHoldComesWhole) {
    prepare(
        "(head -c 3000000 /dev/zero | tr '\\0' e >&2) & head -c 3000000 /dev/zero | tr '\\0' o; "
        "wait");
    TaskOutputReader reader(task);
    reader.launchTaskAndRunSynchronous({});
    EXPECT_TRUE(reader.standardOutputData() == std::string(3000000, 'o'));
    EXPECT_TRUE(reader.standardErrorData() == std::string(3000000, 'e'));
}

TEST_F(TaskOutputReaderTest, ChildThatClosesItsStreamsEarlyIsWaitedFor) {
    prepare("exec >&- 2>&-; read line <\"$1\"; exit 3");
    TaskOutputReader reader(task);
    int ends = 0;
    const auto countEnd = [&] {
        if (++ends == 2) letGoOn();
    };
    observe("NSFileHandleDataAvailableNotification", &output.readEnd(), countEnd);
    observe("NSFileHandleDataAvailableNotification", &error.readEnd(), countEnd);
    reader.launchTaskAndRunSynchronous({});
    EXPECT_EQ(ends, 2);
    EXPECT_EQ(task->terminationStatus(), 3);
}

TEST_F(TaskOutputReaderTest, GrandchildThatHoldsTheStreamsIsWaitedFor) {
    prepare("(read line <\"$1\"; echo late; echo late >&2) & echo early");
    TaskOutputReader reader(task);
    observe("NSTaskDidTerminateNotification", task.get(), [this] { letGoOn(); });
    reader.launchTaskAndRunSynchronous({});
    EXPECT_EQ(reader.standardOutputData(), "early\nlate\n");
    EXPECT_EQ(reader.standardErrorData(), "late\n");
    EXPECT_EQ(task->terminationStatus(), 0);
}

TEST_F(TaskOutputReaderTest, OutputLeftInThePipesByAnEndedChildIsRead) {
    prepare("echo out; echo err >&2");
    TaskOutputReader reader(task);
    reader.launchTaskAndRunSynchronous([](pid_t process) {
        siginfo_t information{};
        ::waitid(P_PID, static_cast<id_t>(process), &information, WEXITED | WNOWAIT);
    });
    EXPECT_EQ(reader.standardOutputData(), "out\n");
    EXPECT_EQ(reader.standardErrorData(), "err\n");
}

TEST_F(TaskOutputReaderTest, BlockIsCalledOnceWithTheProcessIdentifier) {
    prepare("echo $$");
    std::vector<pid_t> processes;
    TaskOutputReader reader(task);
    reader.launchTaskAndRunSynchronous([&](pid_t process) { processes.push_back(process); });
    ASSERT_EQ(processes.size(), 1U);
    EXPECT_EQ(reader.standardOutputData(), std::to_string(processes[0]) + "\n");
}

TEST_F(TaskOutputReaderTest, LaunchIsLoggedAtTheDetailedLevel) {
    prepare("exit 0");
    CapturedOutput captured;
    configureTerminal("detailed");
    captured.take();
    TaskOutputReader reader(task);
    reader.launchTaskAndRunSynchronous({});
    EXPECT_EQ(
        messages(captured.take().standardOutput),
        std::vector<std::string>{"Launched process " + std::to_string(task->processIdentifier())});
}

TEST_F(TaskOutputReaderTest, LaunchIsNotLoggedAtTheVerboseLevel) {
    prepare("exit 0");
    CapturedOutput captured;
    configureTerminal("verbose");
    captured.take();
    TaskOutputReader reader(task);
    reader.launchTaskAndRunSynchronous({});
    EXPECT_EQ(captured.take().standardOutput, "");
}

TEST_F(TaskOutputReaderTest, LaunchIsLoggedBeforeTheBlockHears) {
    prepare("exit 0");
    CapturedOutput captured;
    configureTerminal("detailed");
    captured.take();
    TaskOutputReader reader(task);
    std::string before;
    reader.launchTaskAndRunSynchronous([&](pid_t) { before = captured.take().standardOutput; });
    EXPECT_EQ(messages(before).size(), 1U);
}

TEST_F(TaskOutputReaderTest, OneStreamForBothIsHeardByTheOutputFirst) {
    prepare("printf text");
    task->setStandardError(output);
    TaskOutputReader reader(task);
    reader.launchTaskAndRunSynchronous({});
    EXPECT_EQ(reader.standardOutputData(), "text");
    EXPECT_EQ(reader.standardErrorData(), "");
}

TEST_F(TaskOutputReaderTest, OutputIsWaitedForBeforeTheError) {
    std::string order;
    const char* const name = "NSFileHandleDataAvailableNotification";
    observe(name, &output.readEnd(), [&] { order += "output "; });
    observe(name, &error.readEnd(), [&] { order += "error "; });
    output.writeEnd().reset();
    error.writeEnd().reset();
    const TaskOutputReader reader(task);
    while (platform::RunLoop::current().runOnce(platform::RunLoop::Seconds(1e9))) {
    }
    EXPECT_EQ(order, "output error ");
}

// The streams are waited for by the thread that made the reader: the other one's run loop is left
// with nothing to wait for as soon as the child has ended.
TEST_F(TaskOutputReaderTest, RunLoopWithNothingToWaitForEndsTheRun) {
    prepare("echo out");
    auto reader = std::make_unique<TaskOutputReader>(task);
    std::promise<void> ran;
    std::promise<void> readerIsGone;
    std::thread other([&] {
        reader->launchTaskAndRunSynchronous({});
        ran.set_value();
        readerIsGone.get_future().wait();
    });
    ran.get_future().wait();
    EXPECT_EQ(task->terminationStatus(), 0);
    EXPECT_EQ(reader->standardOutputData(), "");
    reader.reset();
    readerIsGone.set_value();
    other.join();
}

TEST_F(TaskOutputReaderTest, ReaderRegistersForThreeNotificationsAndTakesThemBack) {
    const std::size_t before = NotificationCenter::defaultCenter().observerCount();
    {
        TaskOutputReader reader(task);
        EXPECT_EQ(NotificationCenter::defaultCenter().observerCount(), before + 3);
        EXPECT_EQ(task.use_count(), 2);
    }
    EXPECT_EQ(NotificationCenter::defaultCenter().observerCount(), before);
    EXPECT_EQ(task.use_count(), 1);
}

TEST_F(TaskOutputReaderTest, ReaderThatGoesUnusedLeavesNothingToWaitFor) {
    { TaskOutputReader reader(task); }
    output.writeEnd().reset();
    error.writeEnd().reset();
    EXPECT_FALSE(platform::RunLoop::current().runOnce(platform::RunLoop::Seconds(1e9)));
}

/// Says that it started a child without a number.
class NumberlessSpawner final : public platform::ProcessSpawner {
public:
    pid_t spawn(const platform::ProcessRequest&) override { return 0; }
    platform::ProcessEnd wait(pid_t) override { return {}; }
    std::optional<platform::ProcessEnd> poll(pid_t) override { return std::nullopt; }
    void abandon(pid_t) override {}
};

TEST_F(TaskOutputReaderTest, ProcessIdentifierOfZeroFailsAnAssertion) {
    NumberlessSpawner numberless;
    const auto strange = std::make_shared<platform::Task>(numberless);
    strange->setStandardOutput(output);
    strange->setStandardError(error);
    TaskOutputReader reader(strange);
    EXPECT_EXIT(
        {
            configureTerminal("detailed");
            std::fflush(nullptr);
            ::dup2(STDERR_FILENO, STDOUT_FILENO);
            reader.launchTaskAndRunSynchronous({});
        },
        testing::KilledBySignal(SIGABRT),
        "Launched process 0\n.*ASSERTION ERROR: pid \\(file "
        "\"Common/NSTask\\+OneLineTasksWithOutput.cpp\", line [0-9]+");
}

}  // namespace
}  // namespace quillmore::tests
