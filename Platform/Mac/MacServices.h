// The bodies of the ports on this system, gathered. Owned by main.cpp.
#pragma once

#include "Platform/Mac/MacAppleEvents.h"
#include "Platform/Mac/MacAuthorization.h"
#include "Platform/Mac/MacKeychain.h"
#include "Platform/Mac/MacScriptRunner.h"
#include "Platform/Mac/MacSystemInformation.h"
#include "Platform/Mac/MacWorkspace.h"
#include "Platform/Ports/Services.h"

namespace quillmore::platform {

class MacServices final : public SystemServices {
public:
    void fillIn(Services& services) override;

private:
    MacAppleEvents appleEvents_;
    MacAuthorization authorization_;
    MacKeychain keychain_;
    MacScriptRunner scriptRunner_;
    MacSystemInformation systemInformation_;
    MacWorkspace workspace_;
};

}  // namespace quillmore::platform
