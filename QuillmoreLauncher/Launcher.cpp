#include "QuillmoreLauncher/Launcher.h"

#include <cstdio>
#include <exception>

#include "Common/BrandingManager.h"
#include "Common/utils/Errors.h"
#include "Platform/Interface/UserInterface.h"
#include "Platform/Ports/Services.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Values/Format.h"

namespace quillmore {

namespace {

void reportFailedStart(const platform::Exception& exception) {
    logErrorException(exception);
    platform::services().userInterface->runModal(
        {QMLocalizedString("QuillmoreLauncher_StartFailed"),
         errorExceptionToString(exception),
         {{QMLocalizedString("Quit"), ""}},
         false});
}

/// Without a listing of the resources no text and no localised resource is found: every window
/// would show keys.
void ensureResourcesCanBeListed() {
    const platform::Bundle& bundle = *platform::services().mainBundle;
    if (const auto fault = bundle.resourcesFault())
        throw platform::Exception(
            platform::kGenericException,
            platform::format("Failed to list \"%@\" (%@)", bundle.resourcePath(),
                             fault->localizedDescription()));
}

}  // namespace

int runLauncher(platform::ApplicationDelegate& delegate) {
    platform::services().application->setDelegate(&delegate);
    try {
        ensureResourcesCanBeListed();
        delegate.applicationDidFinishLaunching();
    } catch (const platform::Exception& exception) {
        reportFailedStart(exception);
        return 1;
    }
    for (;;) {
        try {
            platform::services().userInterface->run();
            return 0;
        } catch (const platform::Exception& exception) {
            logErrorException(exception);
        }
    }
}

int statusOfProgram(const std::string& program, const std::function<int()>& body) {
    try {
        return body();
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "%s: %s\n", program.c_str(), fault.what());
    } catch (...) {
        std::fprintf(stderr, "%s: failed for an unknown reason\n", program.c_str());
    }
    return 1;
}

}  // namespace quillmore
