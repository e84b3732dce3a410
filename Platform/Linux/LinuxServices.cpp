#include "Platform/Linux/LinuxAppleEvents.h"
#include "Platform/Linux/LinuxAuthorization.h"
#include "Platform/Linux/LinuxKeychain.h"
#include "Platform/Linux/LinuxScriptRunner.h"
#include "Platform/Linux/LinuxSystemInformation.h"
#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Ports/Services.h"

namespace quillmore::platform {

namespace {

LinuxAuthorizationOptions authorizationOptions(const SystemServicesOptions& options) {
    LinuxAuthorizationOptions made;
    made.moduleFolder = options.plugInsPath;
    made.programFolder = options.helpersPath;
    made.problems = &options.problems;
    return made;
}

class LinuxServices final : public SystemServices {
public:
    explicit LinuxServices(const SystemServicesOptions& options)
        : systemInformation_(options.files),
          workspace_(options.files, options.processes, "/proc", "", options.problems),
          appleEvents_(workspace_),
          authorization_(options.processes, authorizationOptions(options)),
          keychain_({options.plugInsPath, &options.problems}) {}

    void fillIn(Services& services) override {
        services.appleEvents = &appleEvents_;
        services.authorization = &authorization_;
        services.keychain = &keychain_;
        services.scriptRunner = &scriptRunner_;
        services.systemInformation = &systemInformation_;
        services.workspace = &workspace_;
    }

private:
    LinuxSystemInformation systemInformation_;
    LinuxWorkspace workspace_;
    LinuxAppleEvents appleEvents_;
    LinuxScriptRunner scriptRunner_;
    LinuxAuthorization authorization_;
    LinuxKeychain keychain_;
};

}  // namespace

std::unique_ptr<SystemServices> makeSystemServices(const SystemServicesOptions& options) {
    return std::make_unique<LinuxServices>(options);
}

}  // namespace quillmore::platform
