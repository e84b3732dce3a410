#include "Platform/Interface/UserInterfaceModule.h"

#include "Platform/Interface/Application.h"
#include "Platform/Interface/DrawnView.h"
#include "Platform/Processes/Module.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Threads/MainQueue.h"

namespace quillmore::platform {

namespace {

/// The sizes tell most changes of an object apart that nobody raised the version for.
std::string buildText() {
    std::string text = __VERSION__;
    for (const std::size_t size :
         {sizeof(UserInterfaceModuleOptions), sizeof(Alert), sizeof(Window), sizeof(TextField),
          sizeof(Button), sizeof(ProgressIndicator), sizeof(DrawnView), sizeof(Image),
          sizeof(MainQueue), sizeof(TextAttributes)}) {
        text += "," + std::to_string(size);
    }
    return text;
}

}  // namespace

UserInterfaceModuleOptions optionsForBundle(MainApplication& application, const Bundle& bundle,
                                            const std::string& applicationName,
                                            Problems& problems) {
    const auto localizations = bundle.preferredLocalizations();
    UserInterfaceModuleOptions options;
    options.mainQueue = &application.mainQueue();
    options.applicationName = applicationName;
    options.language = localizations.empty() ? "en" : localizations.front();
    options.pathForResource = [&bundle](std::string_view name, std::string_view type) {
        return bundle.pathForResource(name, type);
    };
    options.localizedString = [&bundle](std::string_view key) {
        return bundle.localizedString(key);
    };
    options.displayWasLost = [&application, &problems] {
        problems.report("The display was lost, will terminate now");
        application.exitProcess(1);
    };
    options.problems = &problems;
    return options;
}

std::string_view userInterfaceModuleBuild() {
    static const std::string text = buildText();
    return text;
}

std::string userInterfaceModulePath(const std::string& folder) {
    return folder + "/" + QUILLMORE_USER_INTERFACE_MODULE_FILE;
}

MadeUserInterface makeUserInterfaceOfModule(const std::string& path,
                                            const UserInterfaceModuleOptions& options) {
    Module<UserInterfaceModule> library(path, kUserInterfaceModuleEntryPointName,
                                        kUserInterfaceModuleVersion);
    const auto module = library.open();
    if (!module) return module.error();
    if ((*module)->build != userInterfaceModuleBuild()) return notOfThisVersion(path);
    return (*module)->make(options);
}

}  // namespace quillmore::platform
