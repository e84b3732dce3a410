// Events to other applications. The one event that has a counterpart here is the request to quit,
// addressed by bundle identifier: it becomes a polite termination signal. Safe on any thread.
#pragma once

#include "Platform/Ports/AppleEvents.h"

namespace quillmore::platform {

class Workspace;

inline constexpr OSStatus kAppleEventParameterError = -50;
inline constexpr OSStatus kAppleEventApplicationNotFound = -600;
inline constexpr OSStatus kAppleEventCoercionFailed = -1700;
inline constexpr OSStatus kAppleEventPrivilegeError = -10004;

class LinuxAppleEvents final : public AppleEvents {
public:
    /// Must outlive this.
    explicit LinuxAppleEvents(Workspace& workspace) : workspace_(workspace) {}

    /// -1700 for an address that is not a bundle identifier ('bund'), -50 for an empty one and for
    /// every event but 'aevt'/'quit'.
    OSStatus build(const AppleEventRequest& request, std::unique_ptr<AppleEvent>& event) override;
    /// Asks every process of the bundle, never waiting for a reply: SIGTERM is the quit request of
    /// this system. -600 when none runs (any more), -10004 when the kernel refuses one of them.
    OSStatus send(AppleEvent& event, std::int32_t sendMode, std::int32_t timeOut) override;

    /// Takes any type and bytes.
    OSStatus createDescriptor(FourCharCode type, const std::string& bytes,
                              std::unique_ptr<AppleEventDescriptor>& descriptor) override;
    /// -600 for a process serial number ('psn '), since no process bears one here; else the
    /// statuses of build(). -50 for a descriptor of another make.
    OSStatus createEvent(const AppleEventHeader& header, const AppleEventDescriptor& address,
                         std::unique_ptr<AppleEvent>& event) override;
    /// As send(); there never is a reply.
    OSStatus sendEvent(const AppleEvent& event, const AppleEventSendOptions& options,
                       std::unique_ptr<AppleEventDescriptor>& reply) override;

private:
    OSStatus askToQuit(const AppleEvent& event);

    Workspace& workspace_;
};

}  // namespace quillmore::platform
