// Gathers the services of this system and starts the launcher. Nothing else happens here.

#include <unistd.h>

#include <cstdio>

#include "Common/utils/Logging.h"
#include "Platform/Console/ConsoleUserInterface.h"
#include "Platform/Files/FileManager.h"
#include "Platform/Interface/Application.h"
#include "Platform/Interface/DeferredUserInterface.h"
#include "Platform/Interface/UserInterfaceModule.h"
#include "Platform/Ports/Services.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "Platform/Processes/StandardStreams.h"
#include "Platform/Processes/TerminationSignals.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Settings/UserDefaults.h"
#include "Platform/Settings/UserLanguages.h"
#include "Platform/Threads/Clock.h"
#include "QuillmoreLauncher/Launcher.h"
#include "QuillmoreLauncher/Quillmore_LauncherAppDelegate.h"

using namespace quillmore;

int main(int argc, char** argv) {
    platform::ensureStandardDescriptors();
    platform::MainApplication application;
    platform::watchTerminationSignals([&application](int signal) {
        logNormal("Received signal %d, will terminate now", signal);
        application.exitProcess(128 + signal);
    });

    const std::string executable = platform::executablePathOfThisProcess().value_or("");
    const auto bundlePath = platform::bundlePathOfExecutable(executable);
    if (!bundlePath) {
        std::fprintf(stderr, "%s: does not lie in an application bundle\n", executable.c_str());
        return 1;
    }
    const platform::FileManager files;
    const std::string home = platform::homeFolderOfUser();
    const std::string identifier =
        platform::Bundle(files, *bundlePath, {}).bundleIdentifier().value_or("Quillmore");
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    platform::UserDefaults defaults(files, home + "/Library/Preferences", identifier, arguments);
    platform::Bundle bundle(files, *bundlePath, platform::preferredLanguages(defaults));
    platform::SystemClock clock;
    const auto processes = platform::makePosixProcessSpawner();
    const auto report = [](const std::string& problem) { logError("%@", problem); };
    const auto system =
        platform::makeSystemServices({files, *processes, bundle.plugInsPath(), report});
    platform::ConsoleUserInterface console(
        application.mainQueue(), STDIN_FILENO, stdout,
        [&bundle](std::string_view key) { return bundle.localizedString(key); });
    platform::DeferredUserInterface userInterface(
        console, [&]() -> std::unique_ptr<platform::UserInterface> {
            if (!platform::environmentAsksForWindows()) return nullptr;
            std::string problem;
            auto windows = platform::makeUserInterfaceOfModule(
                platform::userInterfaceModulePath(bundle.plugInsPath()),
                platform::optionsForBundle(application, bundle,
                                           platform::lastPathComponent(executable), report),
                problem);
            if (!windows) logError("%@ - the terminal is used", problem);
            return windows;
        });

    platform::Services services;
    services.processName = platform::lastPathComponent(executable);
    services.homeFolder = home;
    services.makeFileManager = [] { return std::make_unique<platform::FileManager>(); };
    services.application = &application;
    services.mainBundle = &bundle;
    services.knownBundles = {&bundle};
    services.clock = &clock;
    services.processes = processes.get();
    services.standardUserDefaults = &defaults;
    services.userInterface = &userInterface;
    system->fillIn(services);
    platform::setServices(&services);

    Quillmore_LauncherAppDelegate delegate;
    application.exitProcess(runLauncher(delegate));
}
