// The interface between the program and the module that shows windows on a display, and the opening
// of that module. It is opened on first use only, so that a start which has nothing to say never
// maps a toolkit. C++ objects pass the border, so both sides must come from one build.
// Main thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Interface/UserInterface.h"
#include "Platform/Values/Problems.h"
#include "Platform/Values/Result.h"

namespace quillmore::platform {

class Bundle;
class MainApplication;
class MainQueue;

struct UserInterfaceModuleOptions {
    MainQueue* mainQueue = nullptr;  ///< Drained in the toolkit's loop.
    std::string applicationName;
    /// Of the texts shown, as "de" or "ar-EG": the layout follows its direction.
    std::string language;
    /// Path of a resource "NAME.TYPE", or nothing.
    std::function<std::optional<std::string>(std::string_view name, std::string_view type)>
        pathForResource;
    std::function<std::string(std::string_view key)> localizedString;
    Problems* problems = &ignoredProblems();  ///< Also told what the toolkit complains about.
    /// The display went away while windows were up: expected to end the process.
    std::function<void()> displayWasLost;
};

/// Options that show the texts and resources of a bundle. All outlive the user interface; a lost
/// display is reported and ends the process with status 1.
UserInterfaceModuleOptions optionsForBundle(MainApplication& application, const Bundle& bundle,
                                            const std::string& applicationName, Problems& problems);

using MadeUserInterface = Result<std::unique_ptr<UserInterface>>;

struct UserInterfaceModule {
    std::uint32_t version;  ///< kUserInterfaceModuleVersion of the module's build.
    const char* build;      ///< userInterfaceModuleBuild() of the module's build.
    /// An error says why the display cannot be used; nothing was left behind then.
    MadeUserInterface (*make)(const UserInterfaceModuleOptions& options) noexcept;
};

/// Raised with every change of what passes the border.
inline constexpr std::uint32_t kUserInterfaceModuleVersion = 2;
/// Takes no arguments and returns a `const UserInterfaceModule*` that lives for ever.
inline constexpr const char* kUserInterfaceModuleEntryPointName = "quillmoreUserInterfaceModule";

/// Names the compiler and the layout of the objects that pass the border.
std::string_view userInterfaceModuleBuild();

/// Where the module lies in a folder: its file bears the name that the build gives to modules.
std::string userInterfaceModulePath(const std::string& folder);
/// Opens the module at the path and makes its user interface. An error says in one line that the
/// module is missing, of another build or cannot use the display.
MadeUserInterface makeUserInterfaceOfModule(const std::string& path,
                                            const UserInterfaceModuleOptions& options);

}  // namespace quillmore::platform
