// AppleEvents double: statuses to give and a record of the calls.
#pragma once

#include <string>
#include <vector>

#include "Platform/Ports/AppleEvents.h"

namespace quillmore::tests {

class FakeAppleEvents final : public platform::AppleEvents {
public:
    struct Sent {
        std::int32_t sendMode;
        std::int32_t timeOut;
    };
    struct CreatedDescriptor {
        platform::FourCharCode type;
        std::string bytes;
    };

    platform::OSStatus buildStatus = 0;
    platform::OSStatus sendStatus = 0;
    platform::OSStatus createDescriptorStatus = 0;
    platform::OSStatus createEventStatus = 0;
    platform::OSStatus sendEventStatus = 0;
    std::vector<platform::AppleEventRequest> built;
    std::vector<Sent> sent;
    std::vector<CreatedDescriptor> descriptors;
    std::vector<platform::AppleEventHeader> created;
    std::vector<platform::AppleEventSendOptions> sentEvents;
    /// Events and descriptors not yet disposed of.
    int alive = 0;
    /// `alive` at each createEvent and sendEvent.
    std::vector<int> aliveAtCalls;

    platform::OSStatus build(const platform::AppleEventRequest& request,
                             std::unique_ptr<platform::AppleEvent>& event) override {
        built.push_back(request);
        if (buildStatus == 0) event = std::make_unique<Counted<platform::AppleEvent>>(alive);
        return buildStatus;
    }
    platform::OSStatus send(platform::AppleEvent&, std::int32_t sendMode,
                            std::int32_t timeOut) override {
        sent.push_back({sendMode, timeOut});
        return sendStatus;
    }
    platform::OSStatus createDescriptor(
        platform::FourCharCode type, const std::string& bytes,
        std::unique_ptr<platform::AppleEventDescriptor>& descriptor) override {
        descriptors.push_back({type, bytes});
        if (createDescriptorStatus == 0) descriptor = newDescriptor();
        return createDescriptorStatus;
    }
    platform::OSStatus createEvent(const platform::AppleEventHeader& header,
                                   const platform::AppleEventDescriptor&,
                                   std::unique_ptr<platform::AppleEvent>& event) override {
        created.push_back(header);
        aliveAtCalls.push_back(alive);
        if (createEventStatus == 0) event = std::make_unique<Counted<platform::AppleEvent>>(alive);
        return createEventStatus;
    }
    platform::OSStatus sendEvent(const platform::AppleEvent&,
                                 const platform::AppleEventSendOptions& options,
                                 std::unique_ptr<platform::AppleEventDescriptor>& reply) override {
        sentEvents.push_back(options);
        aliveAtCalls.push_back(alive);
        if (sendEventStatus == 0) reply = newDescriptor();
        return sendEventStatus;
    }

private:
    template <class Base>
    struct Counted final : Base {
        explicit Counted(int& count) : count_(count) { ++count_; }
        ~Counted() override { --count_; }
        int& count_;
    };
    std::unique_ptr<platform::AppleEventDescriptor> newDescriptor() {
        return std::make_unique<Counted<platform::AppleEventDescriptor>>(alive);
    }
};

}  // namespace quillmore::tests
