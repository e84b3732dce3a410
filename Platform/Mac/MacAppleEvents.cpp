#include "Platform/Mac/MacAppleEvents.h"

#include <Carbon/Carbon.h>

#include "Platform/Mac/AppleEventData.h"

namespace quillmore::platform {

static_assert(kAppleEventAutoGenerateReturnIdentifier == kAutoGenerateReturnID);
static_assert(kAppleEventAnyTransactionIdentifier == kAnyTransactionID);
static_assert(kAppleEventNoReply == kAENoReply);
static_assert(kAppleEventNormalPriority == kAENormalPriority);
static_assert(kAppleEventDefaultTimeOut == kAEDefaultTimeout);
static_assert(fourCharCode("bund") == typeApplicationBundleID);
static_assert(fourCharCode("psn ") == typeProcessSerialNumber);

namespace {

class Event final : public AppleEvent {
public:
    explicit Event(const AEDesc& made) : data(made) {}
    const AppleEventData data;
};

class Descriptor final : public AppleEventDescriptor {
public:
    explicit Descriptor(const AEDesc& made) : data(made) {}
    const AppleEventData data;
};

const AEDesc* contentOf(const AppleEvent& event) {
    const auto* own = dynamic_cast<const Event*>(&event);
    return own == nullptr ? nullptr : own->data.get();
}

/// What a failed call left in `made` is not looked at: it may be anything.
template <class Body, class Owner>
OSStatus take(OSStatus status, const AEDesc& made, std::unique_ptr<Owner>& owner) {
    owner.reset();
    if (status == noErr) owner = std::make_unique<Body>(made);
    return status;
}

}  // namespace

OSStatus MacAppleEvents::build(const AppleEventRequest& request,
                               std::unique_ptr<AppleEvent>& event) {
    AEDesc made{typeNull, nullptr};
    const OSStatus status = ::AEBuildAppleEvent(
        request.eventClass, request.eventIdentifier, request.addressType,
        request.addressBytes.data(), static_cast<Size>(request.addressBytes.size()),
        request.returnIdentifier, request.transactionIdentifier, &made, nullptr, "");
    return take<Event>(status, made, event);
}

OSStatus MacAppleEvents::send(AppleEvent& event, std::int32_t sendMode, std::int32_t timeOut) {
    const AEDesc* const content = contentOf(event);
    if (content == nullptr) return paramErr;
    return ::AESendMessage(content, nullptr, sendMode, timeOut);
}

OSStatus MacAppleEvents::createDescriptor(FourCharCode type, const std::string& bytes,
                                          std::unique_ptr<AppleEventDescriptor>& descriptor) {
    AEDesc made{typeNull, nullptr};
    const OSStatus status =
        ::AECreateDesc(type, bytes.data(), static_cast<Size>(bytes.size()), &made);
    return take<Descriptor>(status, made, descriptor);
}

OSStatus MacAppleEvents::createEvent(const AppleEventHeader& header,
                                     const AppleEventDescriptor& address,
                                     std::unique_ptr<AppleEvent>& event) {
    const auto* own = dynamic_cast<const Descriptor*>(&address);
    if (own == nullptr) return paramErr;
    AEDesc made{typeNull, nullptr};
    const OSStatus status =
        ::AECreateAppleEvent(header.eventClass, header.eventIdentifier, own->data.get(),
                             header.returnIdentifier, header.transactionIdentifier, &made);
    return take<Event>(status, made, event);
}

OSStatus MacAppleEvents::sendEvent(const AppleEvent& event, const AppleEventSendOptions& options,
                                   std::unique_ptr<AppleEventDescriptor>& reply) {
    const AEDesc* const content = contentOf(event);
    if (content == nullptr) return paramErr;
    AEDesc made{typeNull, nullptr};
    const OSStatus status = ::AESend(content, &made, options.sendMode, options.priority,
                                     options.timeOut, nullptr, nullptr);
    return take<Descriptor>(status, made, reply);
}

}  // namespace quillmore::platform
