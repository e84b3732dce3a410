#include "QuillmoreLauncher/Quillmore_LauncherAppDelegate.h"

#include "Common/BrandingManager.h"
#include "Common/MoveToApplications/PFMoveApplication.h"
#include "Common/Tools/ProcessUtilities.h"
#include "Common/utils/Logging.h"
#include "Common/utils/PropertyLists.h"
#include "Common/utils/Versions.h"
#include "Platform/Files/Paths.h"
#include "Platform/Files/SearchPaths.h"
#include "Platform/Interface/UserInterface.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/Workspace.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Settings/UserDefaults.h"
#include "QuillmoreLauncher/Classes/BundleSearch.h"
#include "QuillmoreLauncher/Classes/InstallCheckManager.h"

namespace quillmore {

namespace {

std::optional<platform::Dictionary> propertyListResource(const char* name) {
    const auto path = platform::services().mainBundle->pathForResource(name, "plist");
    if (!path) return std::nullopt;
    return dictionaryWithContentsOfFile(*path);
}

std::string productName() {
    return QMLocalizedString("ProductName");
}

std::string coreName() {
    return platform::format("%@Core", productName());
}

}  // namespace

void Quillmore_LauncherAppDelegate::applicationDidFinishLaunching() {
    config = propertyListResource("Config");
    platform::UserDefaults& defaults = *platform::services().standardUserDefaults;
    defaults.registerDefaults(propertyListResource("Defaults").value_or(platform::Dictionary()));

    const std::string product = productName();
    logFilePath =
        initLogging3(defaults.stringForKey("FileLogging"), defaults.stringForKey("StdioLogging"),
                     std::nullopt, product, product);
    logNormal("%@ version %@", product, versionOfThisAppAsString(true));
    logNormal("%@ did begin launching...", product);

    ensureCoreNotRunning();

    PFAltDstBundleName(product);
    PFAlsoRemoveBundles(pathsOfOlderCopies());
    PFMoveToApplicationsFolderIfNecessary();

    logNormal("%@ did finish launching", product);
    if (InstallCheckManager::sharedManager().checkForRequiredItems()) launchCore();
}

void Quillmore_LauncherAppDelegate::ensureCoreNotRunning() const {
    if (!ProcessUtilities::quillmoreCoreAlreadyRunning(coreName())) return;
    platform::Alert alert;
    alert.messageText = QMLocalizedString("QuillmoreLauncher_AlreadyRunning");
    alert.informativeText = QMLocalizedString("QuillmoreLauncher_YouMustQuit");
    alert.buttons = {{QMLocalizedString("Quit"), ""}};
    logNormal("Letting other copy run, we will terminate");
    platform::services().userInterface->runModal(alert);
    logNormal("User did quit");
    platform::services().application->terminate();
}

void Quillmore_LauncherAppDelegate::pathsForIdent(const std::string& ident,
                                                  const std::string& fromPath,
                                                  Paths* foundPaths) const {
    for (std::string& path : bundlesWithIdentifier(ident, fromPath)) {
        if (foundPaths == nullptr) continue;
        if (!*foundPaths) foundPaths->emplace();
        (*foundPaths)->push_back(std::move(path));
    }
}

std::vector<std::string> Quillmore_LauncherAppDelegate::pathsOfOlderCopies() const {
    Paths found{std::in_place};
    for (const platform::Domain domain : {platform::Domain::user, platform::Domain::local}) {
        const auto folders = platform::applicationsFolders(domain, platform::services().homeFolder);
        if (!folders.empty()) pathsForIdent(ClientAppBundleIdentifier, folders.back(), &found);
    }
    // Duplicates of what the search found stay: whoever removes the copies does not mind.
    for (std::string& path : fixedPathsOfOlderCopies()) found->push_back(std::move(path));
    return std::move(*found);
}

std::vector<std::string> Quillmore_LauncherAppDelegate::fixedPathsOfOlderCopies() const {
    const std::string product = productName();
    std::vector<std::string> paths;
    for (const char* name : {"%@", "%@ Client"}) {
        for (const char* folder : {"~/Applications/", "/Applications/"}) {
            const std::string start = folder + platform::format(name, product);
            paths.push_back(start + ".app");
            for (int copy = 1; copy <= 5; ++copy)
                paths.push_back(platform::format("%@-%d.app", start, copy));
        }
    }
    return paths;
}

void Quillmore_LauncherAppDelegate::launchCore() const {
    auto path = platform::services().mainBundle->pathForResource(coreName(), "app");
    if (path) {
        path = platform::pathByAppending(*path,
                                         platform::format("Contents/MacOS/%@Core", productName()));
    }
    logNormal("Launching \"%@\"...", path);
    platform::services().workspace->launchApplication(path);
    logNormal("Launched \"%@\"", path);
    logNormal("Will terminate now");
    platform::services().application->terminate();
}

std::int32_t Quillmore_LauncherAppDelegate::brandId() const {
    const platform::Value* brand = config ? platform::find(*config, "Brand") : nullptr;
    return brand == nullptr ? 0 : brand->intValue();
}

}  // namespace quillmore
