#include "Platform/Mac/MacAppleEvents.h"

#include "tests/Platform/Mac/AppleTest.h"

namespace quillmore::tests {
namespace {

using platform::fourCharCode;
using testing::ElementsAre;
using testing::IsEmpty;

class MacAppleEvents : public AppleTest {
protected:
    void makeEvent() {
        EXPECT_EQ(events.createDescriptor(fourCharCode("psn "), "12345678", address), 0);
        EXPECT_EQ(events.createEvent(
                      {.eventClass = fourCharCode("aevt"), .eventIdentifier = fourCharCode("rest")},
                      *address, event),
                  0);
        calls().clear();
    }

    platform::MacAppleEvents events;
    const platform::AppleEventRequest quit{.eventClass = fourCharCode("aevt"),
                                           .eventIdentifier = fourCharCode("quit"),
                                           .addressType = fourCharCode("bund"),
                                           .addressBytes = "com.apple.finder"};
    std::unique_ptr<platform::AppleEventDescriptor> address;
    std::unique_ptr<platform::AppleEventDescriptor> reply;
    std::unique_ptr<platform::AppleEvent> event;
};

TEST_F(MacAppleEvents, EventIsBuiltForABundleIdentifierWithNoParameters) {
    EXPECT_EQ(events.build(quit, event), 0);
    EXPECT_NE(event, nullptr);
    EXPECT_THAT(calls(),
                ElementsAre("AEBuildAppleEvent aevt quit bund com.apple.finder -1 0 \"\""));
}

TEST_F(MacAppleEvents, FailedBuildGivesItsStatusAndDisposesOfNothing) {
    fail("AEBuildAppleEvent", -1700);
    EXPECT_EQ(events.build(quit, event), -1700);
    EXPECT_EQ(event, nullptr);
    EXPECT_EQ(calls().size(), 1U);
}

TEST_F(MacAppleEvents, MessageIsSentWithNoPlaceForAReply) {
    events.build(quit, event);
    EXPECT_EQ(
        events.send(*event, platform::kAppleEventNoReply, platform::kAppleEventDefaultTimeOut), 0);
    EXPECT_EQ(calls().back(), "AESendMessage aevt:quit - 1 -1");
}

TEST_F(MacAppleEvents, FailedSendGivesItsStatusAndKeepsTheEvent) {
    events.build(quit, event);
    fail("AESendMessage", -600);
    EXPECT_EQ(events.send(*event, 1, -1), -600);
    EXPECT_EQ(apple::ledger().countOf("descriptor"), 1);
}

TEST_F(MacAppleEvents, EventIsDisposedOfOnceWhenItGoes) {
    events.build(quit, event);
    calls().clear();
    event.reset();
    EXPECT_THAT(calls(), ElementsAre("AEDisposeDesc aevt"));
}

TEST_F(MacAppleEvents, DescriptorHoldsItsTypeAndBytes) {
    EXPECT_EQ(events.createDescriptor(fourCharCode("psn "), std::string("\0\1", 2), address), 0);
    EXPECT_THAT(calls(), ElementsAre("AECreateDesc psn  " + std::string("\0\1", 2)));
}

TEST_F(MacAppleEvents, FailedDescriptorGivesItsStatusAndIsNull) {
    makeEvent();
    fail("AECreateDesc", -108);
    EXPECT_EQ(events.createDescriptor(fourCharCode("psn "), "12345678", address), -108);
    EXPECT_EQ(address, nullptr);
}

TEST_F(MacAppleEvents, EventForADescriptorGoesToItsAddress) {
    events.createDescriptor(fourCharCode("psn "), "12345678", address);
    EXPECT_EQ(events.createEvent(
                  {.eventClass = fourCharCode("aevt"), .eventIdentifier = fourCharCode("shut")},
                  *address, event),
              0);
    EXPECT_EQ(calls().back(), "AECreateAppleEvent aevt shut psn :12345678 -1 0");
}

TEST_F(MacAppleEvents, AddressMayGoBeforeTheEvent) {
    makeEvent();
    address.reset();
    EXPECT_THAT(calls(), ElementsAre("AEDisposeDesc psn "));
    EXPECT_EQ(events.sendEvent(*event, {}, reply), 0);
}

TEST_F(MacAppleEvents, FailedEventGivesItsStatusAndIsNull) {
    makeEvent();
    fail("AECreateAppleEvent", -1701);
    EXPECT_EQ(events.createEvent({}, *address, event), -1701);
    EXPECT_EQ(event, nullptr);
}

TEST_F(MacAppleEvents, EventIsSentWithItsModePriorityAndTimeOut) {
    makeEvent();
    EXPECT_EQ(events.sendEvent(*event, {.sendMode = 3, .priority = 1, .timeOut = 120}, reply), 0);
    EXPECT_THAT(calls(), ElementsAre("AESend aevt:rest 3 1 120"));
}

TEST_F(MacAppleEvents, SentEventNeedsNoReplyByDefault) {
    makeEvent();
    events.sendEvent(*event, {}, reply);
    EXPECT_THAT(calls(), ElementsAre("AESend aevt:rest 1 0 -1"));
}

TEST_F(MacAppleEvents, ReplyIsDisposedOfWhenItGoes) {
    makeEvent();
    events.sendEvent(*event, {}, reply);
    EXPECT_EQ(apple::ledger().countOf("descriptor"), 3);
    reply.reset();
    EXPECT_EQ(apple::ledger().countOf("descriptor"), 2);
}

TEST_F(MacAppleEvents, ReplyOfAFailedSendIsNotDisposedOf) {
    makeEvent();
    fail("AESend", -609);
    EXPECT_EQ(events.sendEvent(*event, {}, reply), -609);
    EXPECT_EQ(reply, nullptr);
    EXPECT_EQ(calls().size(), 1U);
}

TEST_F(MacAppleEvents, EventsAndAddressesOfAnotherMakeAreParameterErrors) {
    platform::AppleEvent otherEvent;
    platform::AppleEventDescriptor otherAddress;
    EXPECT_EQ(events.send(otherEvent, 1, -1), -50);
    EXPECT_EQ(events.sendEvent(otherEvent, {}, reply), -50);
    EXPECT_EQ(events.createEvent({}, otherAddress, event), -50);
    EXPECT_THAT(calls(), IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
