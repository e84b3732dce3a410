#include "QuillmoreLauncher/Launcher.h"

#include "Common/BrandingManager.h"
#include "Common/utils/Errors.h"
#include "Platform/Interface/UserInterface.h"
#include "Platform/Ports/Services.h"

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

}  // namespace

int runLauncher(platform::ApplicationDelegate& delegate) {
    platform::services().application->setDelegate(&delegate);
    try {
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

}  // namespace quillmore
