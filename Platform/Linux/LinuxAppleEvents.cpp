#include "Platform/Linux/LinuxAppleEvents.h"

#include <signal.h>

#include <cerrno>

#include "Platform/Ports/Workspace.h"

namespace quillmore::platform {

namespace {

class QuitEvent final : public AppleEvent {
public:
    explicit QuitEvent(std::string bundleIdentifier)
        : bundleIdentifier_(std::move(bundleIdentifier)) {}
    const std::string& bundleIdentifier() const { return bundleIdentifier_; }

private:
    std::string bundleIdentifier_;
};

class Descriptor final : public AppleEventDescriptor {
public:
    Descriptor(FourCharCode type, std::string bytes) : type_(type), bytes_(std::move(bytes)) {}
    FourCharCode type() const { return type_; }
    const std::string& bytes() const { return bytes_; }

private:
    FourCharCode type_;
    std::string bytes_;
};

}  // namespace

OSStatus LinuxAppleEvents::build(const AppleEventRequest& request,
                                 std::unique_ptr<AppleEvent>& event) {
    event.reset();
    if (request.addressType != fourCharCode("bund")) return kAppleEventCoercionFailed;
    if (request.eventClass != fourCharCode("aevt") ||
        request.eventIdentifier != fourCharCode("quit") || request.addressBytes.empty())
        return kAppleEventParameterError;
    event = std::make_unique<QuitEvent>(request.addressBytes);
    return 0;
}

OSStatus LinuxAppleEvents::send(AppleEvent& event, std::int32_t, std::int32_t) {
    return askToQuit(event);
}

OSStatus LinuxAppleEvents::createDescriptor(FourCharCode type, const std::string& bytes,
                                            std::unique_ptr<AppleEventDescriptor>& descriptor) {
    descriptor = std::make_unique<Descriptor>(type, bytes);
    return 0;
}

OSStatus LinuxAppleEvents::createEvent(const AppleEventHeader& header,
                                       const AppleEventDescriptor& address,
                                       std::unique_ptr<AppleEvent>& event) {
    event.reset();
    const auto* own = dynamic_cast<const Descriptor*>(&address);
    if (own == nullptr) return kAppleEventParameterError;
    if (own->type() == fourCharCode("psn ")) return kAppleEventApplicationNotFound;
    return build({.eventClass = header.eventClass,
                  .eventIdentifier = header.eventIdentifier,
                  .addressType = own->type(),
                  .addressBytes = own->bytes(),
                  .returnIdentifier = header.returnIdentifier,
                  .transactionIdentifier = header.transactionIdentifier},
                 event);
}

OSStatus LinuxAppleEvents::sendEvent(const AppleEvent& event, const AppleEventSendOptions&,
                                     std::unique_ptr<AppleEventDescriptor>& reply) {
    reply.reset();
    return askToQuit(event);
}

OSStatus LinuxAppleEvents::askToQuit(const AppleEvent& event) {
    const auto* quit = dynamic_cast<const QuitEvent*>(&event);
    if (quit == nullptr) return kAppleEventParameterError;
    bool reached = false;
    bool refused = false;
    for (const Dictionary& application : workspace_.launchedApplications()) {
        if (stringForKey(application, kApplicationBundleIdentifier) != quit->bundleIdentifier())
            continue;
        const Value* process = find(application, kApplicationProcessIdentifier);
        // 0 and below would name whole groups of processes.
        if (process == nullptr || process->intValue() <= 0) continue;
        if (::kill(process->intValue(), SIGTERM) == 0)
            reached = true;
        else
            refused = refused || errno != ESRCH;  // ended meanwhile: just as well
    }
    if (refused) return kAppleEventPrivilegeError;
    return reached ? 0 : kAppleEventApplicationNotFound;
}

}  // namespace quillmore::platform
