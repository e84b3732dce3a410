#include "Platform/UserInterfaceModule.h"

#include <dlfcn.h>

#include "Platform/Application.h"
#include "Platform/Bundle.h"
#include "Platform/DrawnView.h"
#include "Platform/MainQueue.h"

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
                                            std::function<void(const std::string&)> report) {
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
    options.displayWasLost = [&application, report] {
        report("The display was lost, will terminate now");
        application.exitProcess(1);
    };
    options.report = std::move(report);
    return options;
}

std::string_view userInterfaceModuleBuild() {
    static const std::string text = buildText();
    return text;
}

std::unique_ptr<UserInterface> makeUserInterfaceOfModule(const std::string& path,
                                                         const UserInterfaceModuleOptions& options,
                                                         std::string& problem) {
    // Never closed again: a toolkit cannot be unloaded.
    void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* reason = ::dlerror();
        problem = reason != nullptr ? reason : path + ": cannot be opened";
        return nullptr;
    }
    const auto entryPoint = reinterpret_cast<UserInterfaceModuleEntryPoint>(
        ::dlsym(library, kUserInterfaceModuleEntryPointName));
    const UserInterfaceModule* module = entryPoint != nullptr ? entryPoint() : nullptr;
    if (module == nullptr || module->version != kUserInterfaceModuleVersion ||
        module->build != userInterfaceModuleBuild()) {
        problem = path + ": is not of this version";
        return nullptr;
    }
    return std::unique_ptr<UserInterface>(module->make(options, problem));
}

}  // namespace quillmore::platform
