#include "Platform/Linux/LinuxAppleEvents.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include "Platform/Processes/ProcessSpawner.h"
#include "tests/fakes/FakeWorkspace.h"

namespace quillmore::tests {
namespace {

using platform::AppleEvent;
using platform::AppleEventRequest;
using platform::fourCharCode;

AppleEventRequest quitRequest(const std::string& identifier) {
    return {.eventClass = fourCharCode("aevt"),
            .eventIdentifier = fourCharCode("quit"),
            .addressType = fourCharCode("bund"),
            .addressBytes = identifier};
}

class LinuxAppleEvents : public testing::Test {
protected:
    platform::OSStatus sendQuit(const std::string& identifier) {
        std::unique_ptr<AppleEvent> event;
        if (const auto status = events.build(quitRequest(identifier), event); status != 0)
            return status;
        return events.send(*event, platform::kAppleEventNoReply,
                           platform::kAppleEventDefaultTimeOut);
    }
    pid_t startSleep() {
        platform::ProcessRequest request;
        request.launchPath = "/bin/sleep";
        request.arguments = {"1000"};
        return spawner->spawn(request);
    }

    FakeWorkspace workspace;
    platform::LinuxAppleEvents events{workspace};
    std::unique_ptr<platform::ProcessSpawner> spawner = platform::makePosixProcessSpawner();
};

TEST_F(LinuxAppleEvents, QuitRequestByBundleIdentifierIsBuilt) {
    std::unique_ptr<AppleEvent> event;
    EXPECT_EQ(events.build(quitRequest("com.apple.finder"), event), 0);
    EXPECT_NE(event, nullptr);
}

TEST_F(LinuxAppleEvents, OtherAddressesCannotBeMadeABundle) {
    AppleEventRequest request = quitRequest("com.apple.finder");
    request.addressType = fourCharCode("sign");
    std::unique_ptr<AppleEvent> event;
    EXPECT_EQ(events.build(request, event), -1700);
    EXPECT_EQ(event, nullptr);
}

TEST_F(LinuxAppleEvents, OtherEventsAndAnEmptyIdentifierAreParameterErrors) {
    AppleEventRequest otherClass = quitRequest("a");
    otherClass.eventClass = fourCharCode("core");
    AppleEventRequest otherEvent = quitRequest("a");
    otherEvent.eventIdentifier = fourCharCode("rest");
    for (const AppleEventRequest& request : {otherClass, otherEvent, quitRequest("")}) {
        std::unique_ptr<AppleEvent> event;
        EXPECT_EQ(events.build(request, event), -50);
        EXPECT_EQ(event, nullptr);
    }
}

TEST_F(LinuxAppleEvents, QuitEndsEveryProcessOfTheBundleAndNoOther) {
    const pid_t first = startSleep();
    const pid_t second = startSleep();
    const pid_t other = startSleep();
    workspace.addRunning("com.example.a", first);
    workspace.addRunning("com.example.b", other);
    workspace.addRunning("com.example.a", second);
    EXPECT_EQ(sendQuit("com.example.a"), 0);
    for (const pid_t process : {first, second}) {
        const auto end = spawner->wait(process);
        EXPECT_TRUE(end.signalled);
        EXPECT_EQ(end.value, SIGTERM);
    }
    EXPECT_FALSE(spawner->poll(other).has_value());
    ::kill(other, SIGKILL);
    spawner->wait(other);
}

TEST_F(LinuxAppleEvents, QuitOfAnApplicationThatDoesNotRunFindsNone) {
    workspace.addRunning("com.example.ab", ::getpid());
    workspace.running.push_back({{platform::kApplicationProcessIdentifier, std::int64_t{1}}});
    EXPECT_EQ(sendQuit("com.example.a"), -600);
}

TEST_F(LinuxAppleEvents, ApplicationThatEndedMeanwhileCountsAsNotRunning) {
    const pid_t ended = startSleep();
    ::kill(ended, SIGKILL);
    spawner->wait(ended);
    workspace.addRunning("com.example.a", ended);
    EXPECT_EQ(sendQuit("com.example.a"), -600);
}

TEST_F(LinuxAppleEvents, NumbersThatNameGroupsOfProcessesAreNeverSignalled) {
    workspace.addRunning("com.example.a", 0);
    workspace.addRunning("com.example.a", -1);
    EXPECT_EQ(sendQuit("com.example.a"), -600);
}

TEST_F(LinuxAppleEvents, RefusedSignalIsAPrivilegeError) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to own a process of another user";
    const pid_t child = startSleep();
    workspace.addRunning("com.example.a", child);
    ASSERT_EQ(::setresuid(65534, 65534, 0), 0);
    const platform::OSStatus status = sendQuit("com.example.a");
    ASSERT_EQ(::setresuid(0, 0, 0), 0);
    EXPECT_EQ(status, -10004);
    ::kill(child, SIGKILL);
    EXPECT_EQ(spawner->wait(child).value, SIGKILL);
}

TEST_F(LinuxAppleEvents, EventToASerialNumberFindsNoProcess) {
    std::unique_ptr<platform::AppleEventDescriptor> address;
    ASSERT_EQ(events.createDescriptor(fourCharCode("psn "), std::string(8, '\1'), address), 0);
    ASSERT_NE(address, nullptr);
    std::unique_ptr<AppleEvent> event;
    EXPECT_EQ(events.createEvent(
                  {.eventClass = fourCharCode("aevt"), .eventIdentifier = fourCharCode("rest")},
                  *address, event),
              -600);
    EXPECT_EQ(event, nullptr);
}

TEST_F(LinuxAppleEvents, QuitEventToADescribedBundleIsSentWithoutReply) {
    const pid_t process = startSleep();
    workspace.addRunning("com.example.a", process);
    std::unique_ptr<platform::AppleEventDescriptor> address;
    ASSERT_EQ(events.createDescriptor(fourCharCode("bund"), "com.example.a", address), 0);
    std::unique_ptr<AppleEvent> event;
    ASSERT_EQ(events.createEvent(
                  {.eventClass = fourCharCode("aevt"), .eventIdentifier = fourCharCode("quit")},
                  *address, event),
              0);
    std::unique_ptr<platform::AppleEventDescriptor> reply;
    EXPECT_EQ(events.sendEvent(*event, {}, reply), 0);
    EXPECT_EQ(reply, nullptr);
    EXPECT_EQ(spawner->wait(process).value, SIGTERM);
}

TEST_F(LinuxAppleEvents, DescriptorOfAnotherMakeIsAParameterError) {
    const platform::AppleEventDescriptor foreign;
    std::unique_ptr<AppleEvent> event;
    EXPECT_EQ(events.createEvent({}, foreign, event), -50);
}

TEST_F(LinuxAppleEvents, EventOfAnotherMakeIsAParameterError) {
    AppleEvent foreign;
    EXPECT_EQ(events.send(foreign, 1, -1), -50);
}

}  // namespace
}  // namespace quillmore::tests
