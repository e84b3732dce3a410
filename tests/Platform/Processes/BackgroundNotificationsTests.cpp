#include "Platform/Processes/BackgroundNotifications.h"

#include <gtest/gtest.h>

#include <thread>

#include "Platform/Processes/Task.h"
#include "Platform/Threads/NotificationCenter.h"
#include "tests/fakes/FakeProcessSpawner.h"

namespace quillmore::tests {
namespace {

using platform::NotificationCenter;
using platform::Pipe;
using platform::RunLoop;

constexpr RunLoop::Seconds kFarOff(1e30);

class BackgroundNotifications : public testing::Test {
protected:
    ~BackgroundNotifications() override {
        for (const auto token : tokens_) NotificationCenter::defaultCenter().removeObserver(token);
    }
    void observe(const char* name, const void* object) {
        tokens_.push_back(NotificationCenter::defaultCenter().addObserver(
            name, object, [this](const platform::Notification& posted) {
                posted_.push_back(posted.name);
                threads_.push_back(std::this_thread::get_id());
            }));
    }
    void prepareShell(const std::string& script) {
        task_.setLaunchPath("/bin/sh");
        task_.setArguments({"-c", script});
    }

    std::vector<NotificationCenter::Token> tokens_;
    std::vector<std::string> posted_;
    std::vector<std::thread::id> threads_;
    std::unique_ptr<platform::ProcessSpawner> spawner_ = platform::makePosixProcessSpawner();
    platform::Task task_{*spawner_};
};

TEST_F(BackgroundNotifications, DataIsAnnouncedOnceForOneRequest) {
    Pipe pipe;
    observe("NSFileHandleDataAvailableNotification", &pipe.readEnd());
    const auto wait = platform::waitForDataInBackgroundAndNotify(pipe.readEnd());
    ASSERT_EQ(::write(pipe.writeEnd().get(), "x", 1), 1);
    EXPECT_TRUE(posted_.empty());
    EXPECT_TRUE(RunLoop::current().runOnce(kFarOff));
    EXPECT_FALSE(RunLoop::current().runOnce(kFarOff));
    EXPECT_EQ(posted_, std::vector<std::string>{"NSFileHandleDataAvailableNotification"});
}

TEST_F(BackgroundNotifications, OtherHandlesAreNotMeant) {
    Pipe pipe;
    Pipe other;
    observe("NSFileHandleDataAvailableNotification", &other.readEnd());
    const auto wait = platform::waitForDataInBackgroundAndNotify(pipe.readEnd());
    pipe.writeEnd().reset();
    EXPECT_TRUE(RunLoop::current().runOnce(kFarOff));
    EXPECT_TRUE(posted_.empty());
}

TEST_F(BackgroundNotifications, EndOfATaskIsAnnouncedWhenItsStatusIsKnown) {
    observe("NSTaskDidTerminateNotification", &task_);
    prepareShell("exit 7");
    task_.launch();
    const auto wait = platform::waitForTerminationInBackgroundAndNotify(task_);
    EXPECT_TRUE(RunLoop::current().runOnce(kFarOff));
    EXPECT_EQ(posted_, std::vector<std::string>{"NSTaskDidTerminateNotification"});
    EXPECT_EQ(task_.terminationStatus(), 7);
    EXPECT_EQ(threads_.at(0), std::this_thread::get_id());
}

TEST_F(BackgroundNotifications, TaskThatHasEndedAlreadyIsAnnouncedByTheNextRun) {
    observe("NSTaskDidTerminateNotification", &task_);
    prepareShell("exit 0");
    task_.launch();
    task_.waitUntilExit();
    const auto wait = platform::waitForTerminationInBackgroundAndNotify(task_);
    EXPECT_TRUE(posted_.empty());
    EXPECT_TRUE(RunLoop::current().runOnce(kFarOff));
    EXPECT_EQ(posted_.size(), 1U);
}

TEST_F(BackgroundNotifications, TaskIsNotAnnouncedWhileItRuns) {
    Pipe held;
    observe("NSTaskDidTerminateNotification", &task_);
    task_.setStandardOutput(held);
    prepareShell("kill -STOP $$; exit 0");
    task_.launch();
    const auto wait = platform::waitForTerminationInBackgroundAndNotify(task_);
    EXPECT_FALSE(RunLoop::current().runOnce(RunLoop::Seconds(0)));
    EXPECT_TRUE(posted_.empty());
    ::kill(task_.processIdentifier(), SIGKILL);
    EXPECT_TRUE(RunLoop::current().runOnce(kFarOff));
    EXPECT_EQ(task_.terminationStatus(), SIGKILL);
}

TEST_F(BackgroundNotifications, RequestThatIsTakenBackAnnouncesNothing) {
    observe("NSTaskDidTerminateNotification", &task_);
    prepareShell("exit 0");
    task_.launch();
    platform::waitForTerminationInBackgroundAndNotify(task_).reset();
    EXPECT_FALSE(RunLoop::current().runOnce(kFarOff));
    EXPECT_TRUE(posted_.empty());
    task_.waitUntilExit();
}

}  // namespace
}  // namespace quillmore::tests
