// Events to other applications by the Apple Event Manager. Keeps no state. Any thread for build and
// send; sendEvent belongs to the main thread, as the system's own call does.
#pragma once

#include "Platform/Ports/AppleEvents.h"

namespace quillmore::platform {

/// -50 for an event or address of another make.
class MacAppleEvents final : public AppleEvents {
public:
    OSStatus build(const AppleEventRequest& request, std::unique_ptr<AppleEvent>& event) override;
    OSStatus send(AppleEvent& event, std::int32_t sendMode, std::int32_t timeOut) override;
    OSStatus createDescriptor(FourCharCode type, const std::string& bytes,
                              std::unique_ptr<AppleEventDescriptor>& descriptor) override;
    OSStatus createEvent(const AppleEventHeader& header, const AppleEventDescriptor& address,
                         std::unique_ptr<AppleEvent>& event) override;
    OSStatus sendEvent(const AppleEvent& event, const AppleEventSendOptions& options,
                       std::unique_ptr<AppleEventDescriptor>& reply) override;
};

}  // namespace quillmore::platform
