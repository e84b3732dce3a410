// Port: events from one application to another, with the calls and status codes of the Apple Event
// Manager. Each call is named after the one it carries. Test double: FakeAppleEvents.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Platform/Ports/Authorization.h"
#include "Platform/Ports/SystemInformation.h"

namespace quillmore::platform {

inline constexpr std::int16_t kAppleEventAutoGenerateReturnIdentifier = -1;
inline constexpr std::int32_t kAppleEventAnyTransactionIdentifier = 0;
inline constexpr std::int32_t kAppleEventNoReply = 1;
inline constexpr std::int16_t kAppleEventNormalPriority = 0;
inline constexpr std::int32_t kAppleEventDefaultTimeOut = -1;

/// What an event is built from.
struct AppleEventRequest {
    FourCharCode eventClass = 0;
    FourCharCode eventIdentifier = 0;
    FourCharCode addressType = 0;
    std::string addressBytes;
    std::int16_t returnIdentifier = kAppleEventAutoGenerateReturnIdentifier;
    std::int32_t transactionIdentifier = kAppleEventAnyTransactionIdentifier;
};

/// The same but for the address, which is a descriptor of its own.
struct AppleEventHeader {
    FourCharCode eventClass = 0;
    FourCharCode eventIdentifier = 0;
    std::int16_t returnIdentifier = kAppleEventAutoGenerateReturnIdentifier;
    std::int32_t transactionIdentifier = kAppleEventAnyTransactionIdentifier;
};

struct AppleEventSendOptions {
    std::int32_t sendMode = kAppleEventNoReply;
    std::int16_t priority = kAppleEventNormalPriority;
    std::int32_t timeOut = kAppleEventDefaultTimeOut;  ///< In ticks of 1/60 s.
};

/// Data with a type: an address or a reply. Disposing of it is its destruction.
class AppleEventDescriptor {
public:
    virtual ~AppleEventDescriptor() = default;
};

/// An event that was built; disposing of it is its destruction.
class AppleEvent {
public:
    virtual ~AppleEvent() = default;
};

/// What a call makes is left null when its status is not 0.
class AppleEvents {
public:
    virtual ~AppleEvents() = default;
    /// AEBuildAppleEvent, with an address and no parameters.
    virtual OSStatus build(const AppleEventRequest& request,
                           std::unique_ptr<AppleEvent>& event) = 0;
    /// AESendMessage, with no place for a reply.
    virtual OSStatus send(AppleEvent& event, std::int32_t sendMode, std::int32_t timeOut) = 0;

    /// AECreateDesc.
    virtual OSStatus createDescriptor(FourCharCode type, const std::string& bytes,
                                      std::unique_ptr<AppleEventDescriptor>& descriptor) = 0;
    /// AECreateAppleEvent. The address is copied.
    virtual OSStatus createEvent(const AppleEventHeader& header,
                                 const AppleEventDescriptor& address,
                                 std::unique_ptr<AppleEvent>& event) = 0;
    /// AESend, with neither an idle nor a filter procedure.
    virtual OSStatus sendEvent(const AppleEvent& event, const AppleEventSendOptions& options,
                               std::unique_ptr<AppleEventDescriptor>& reply) = 0;
};

}  // namespace quillmore::platform
