#include "Platform/Mac/MacServices.h"

namespace quillmore::platform {

void MacServices::fillIn(Services& services) {
    services.appleEvents = &appleEvents_;
    services.authorization = &authorization_;
    services.keychain = &keychain_;
    services.scriptRunner = &scriptRunner_;
    services.systemInformation = &systemInformation_;
    services.workspace = &workspace_;
}

std::unique_ptr<SystemServices> makeSystemServices(const SystemServicesOptions&) {
    return std::make_unique<MacServices>();
}

}  // namespace quillmore::platform
