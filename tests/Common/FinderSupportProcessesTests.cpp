#include <signal.h>

#include <cstring>

#include "Common/FinderSupport.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using platform::fourCharCode;
using testing::ElementsAre;
using testing::IsEmpty;

class SystemProcess : public LogTest {
protected:
    platform::OSStatus send() {
        return FinderSupport::sendAppleEventToSystemProcess(fourCharCode("rest"));
    }
    FakeAppleEvents& events = services.appleEvents;
};

TEST_F(SystemProcess, IsAddressedByItsSerialNumber) {
    EXPECT_EQ(send(), 0);
    ASSERT_EQ(events.descriptors.size(), 1U);
    EXPECT_EQ(events.descriptors[0].type, fourCharCode("psn "));
    ASSERT_EQ(events.descriptors[0].bytes.size(), 8U);
    std::uint32_t words[2] = {9, 9};
    std::memcpy(words, events.descriptors[0].bytes.data(), sizeof words);
    EXPECT_EQ(words[0], 0U);
    EXPECT_EQ(words[1], 1U);
}

TEST_F(SystemProcess, GetsACoreEventWithAnyTransactionAndAReturnIdentifierOfTheSystem) {
    send();
    ASSERT_EQ(events.created.size(), 1U);
    EXPECT_EQ(events.created[0].eventClass, fourCharCode("aevt"));
    EXPECT_EQ(events.created[0].eventIdentifier, fourCharCode("rest"));
    EXPECT_EQ(events.created[0].returnIdentifier, -1);
    EXPECT_EQ(events.created[0].transactionIdentifier, 0);
}

TEST_F(SystemProcess, EventIsSentWithoutReplyAtNormalPriorityAndTheDefaultTimeOut) {
    send();
    ASSERT_EQ(events.sentEvents.size(), 1U);
    EXPECT_EQ(events.sentEvents[0].sendMode, 1);
    EXPECT_EQ(events.sentEvents[0].priority, 0);
    EXPECT_EQ(events.sentEvents[0].timeOut, -1);
}

TEST_F(SystemProcess, AddressIsDisposedOfBeforeTheEventIsSentAndAllAtTheEnd) {
    send();
    EXPECT_THAT(events.aliveAtCalls, ElementsAre(1, 1));
    EXPECT_EQ(events.alive, 0);
}

TEST_F(SystemProcess, FirstFailureIsTheResultAndEndsTheWork) {
    events.createDescriptorStatus = -108;
    events.createEventStatus = -1701;
    EXPECT_EQ(send(), -108);
    EXPECT_THAT(events.created, IsEmpty());
    events.createDescriptorStatus = 0;
    EXPECT_EQ(send(), -1701);
    EXPECT_THAT(events.sentEvents, IsEmpty());
    EXPECT_EQ(events.alive, 0);
}

TEST_F(SystemProcess, FailedSendIsTheResultAndIsNotLogged) {
    events.sendEventStatus = -600;
    CapturedOutput captured;
    configureTerminal("detailed");
    captured.take();
    EXPECT_EQ(send(), -600);
    const auto written = captured.take();
    EXPECT_EQ(written.standardOutput + written.standardError, "");
    EXPECT_EQ(events.alive, 0);
}

using ITunes = LogTest;

TEST_F(ITunes, RunningITunesGetsTheTerminationSignal) {
    const auto spawner = platform::makePosixProcessSpawner();
    platform::ProcessRequest request;
    request.launchPath = "/bin/sleep";
    request.arguments = {"1000"};
    const pid_t process = spawner->spawn(request);
    services.workspace.addRunning("com.apple.iTunes", process);
    FinderSupport::quitiTunes();
    const platform::ProcessEnd end = spawner->wait(process);
    EXPECT_TRUE(end.signalled);
    EXPECT_EQ(end.value, SIGTERM);
}

TEST_F(ITunes, QuittingITunesThatDoesNotRunDoesNothing) {
    services.workspace.addRunning("com.apple.finder", ::getpid());
    CapturedOutput captured;
    configureTerminal("detailed");
    captured.take();
    FinderSupport::quitiTunes();
    const auto written = captured.take();
    EXPECT_EQ(written.standardOutput + written.standardError, "");
    EXPECT_EQ(services.workspace.listings, 1);
}

TEST_F(ITunes, RecordsWithoutAProcessOfTheirOwnAreNotSignalled) {
    for (const std::int64_t number : {0, -1}) {
        services.workspace.running.clear();
        services.workspace.addRunning("com.apple.iTunes", number);
        FinderSupport::quitiTunes();
    }
    services.workspace.running = {{{"NSApplicationBundleIdentifier", "com.apple.iTunes"}}};
    FinderSupport::quitiTunes();
    EXPECT_EQ(services.workspace.listings, 3);
}

}  // namespace
}  // namespace quillmore::tests
