// The install-check window, its progress sheet and what their controls do.
#include "Common/BrandingManager.h"
#include "Common/utils/Errors.h"
#include "Common/utils/Logging.h"
#include "Platform/Interface/Application.h"
#include "Platform/Interface/UserInterface.h"
#include "Platform/Ports/Services.h"
#include "Platform/Threads/Thread.h"
#include "QuillmoreLauncher/Classes/InstallCheckManager.h"

namespace quillmore {

void InstallCheckManager::awakeFromNib() {
    checkHeaderView.setTitle(QMLocalizedString("Installing Quillmore"));
    checkHeaderView.setUseWelcomeBranding(true);
    BrandingManager::sharedManager().setHeaderViewBrandedLogoImage(checkHeaderView);
    checkInstall.setTitle(QMLocalizedString("Continue"));
    checkDontInstall.setTitle(QMLocalizedString("QuillmoreLauncher_DontInstall"));
    checkWindow.setTitle(QMLocalizedString("ProductName"));
    repairProgressText.setStringValue(QMLocalizedString("QuillmoreLauncher_Installing"));
    checkWindow.setDefaultButton(&checkInstall);
}

// No separators: each text carries its own spacing and punctuation.
std::string InstallCheckManager::repairText() const {
    std::string text = QMLocalizedString("QuillmoreLauncher_RepairInfo");
    if (!m_MacFuseRepairRequired && !m_HelperRepairRequired) return text;
    text += QMLocalizedString("QuillmoreLauncher_Components");
    if (m_MacFuseRepairRequired) text += QMLocalizedString("QuillmoreLauncher_FileSystem");
    if (m_HelperRepairRequired) text += QMLocalizedString("QuillmoreLauncher_Helpers");
    return text + "\n";
}

void InstallCheckManager::runSelfRepair() {
    checkText.setStringValue(repairText());
    platform::services().userInterface->present(checkWindow);
}

void InstallCheckManager::installButtonClick() {
    platform::services().userInterface->beginSheet(repairProgressWindow, checkWindow, [this] {
        sheetDidEnd(repairProgressWindow, 0, nullptr);
    });
    repairProgressIndicator.startAnimation();
    try {
        platform::detachNewThread([this] {
            try {
                runSelfRepairThread();
            } catch (const platform::Exception& exception) {
                logErrorException(exception);
                _repairFailed();
            }
        });
    } catch (const platform::Exception& exception) {  // no thread: the sheet must not stay for ever
        logErrorException(exception);
        _repairFailed();
    }
}

void InstallCheckManager::dontInstallButtonClick() {
    logNormal("User chose to quit");
    platform::services().application->exitProcess(0);
}

void InstallCheckManager::windowWillClose(const platform::Window& closing) {
    if (&closing == &checkWindow) platform::services().application->exitProcess(0);
}

// Nothing is left to do: the user interface orders a sheet out as it ends it.
void InstallCheckManager::sheetDidEnd(platform::Window&, std::int32_t, void*) {}

}  // namespace quillmore
