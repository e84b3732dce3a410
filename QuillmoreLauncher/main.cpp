// Gathers the services of this system and starts the launcher. Nothing else happens here.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "Common/utils/Logging.h"
#include "Common/utils/ProblemLog.h"
#include "Platform/Console/ConsoleUserInterface.h"
#include "Platform/Files/FileManager.h"
#include "Platform/Files/Paths.h"
#include "Platform/Interface/Application.h"
#include "Platform/Interface/DeferredUserInterface.h"
#include "Platform/Interface/UserInterfaceModule.h"
#include "Platform/Ports/Services.h"
#include "Platform/Processes/Executable.h"
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

namespace {

int launch(int argc, char** argv) {
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
    platform::SystemClock clock;
    const auto processes = platform::makePosixProcessSpawner();
    ProblemLog problems;
    // Only says who we are: what is wrong with its files, the bundle in the user's languages says.
    const platform::Bundle self(files, *bundlePath, {}, platform::ignoredProblems());
    const auto system = platform::makeSystemServices(
        {files, *processes, self.plugInsPath(), self.helpersPath(), problems});
    // In force before the first file is read, so that its fault has a whole line in the log.
    platform::Services services;
    services.processName = platform::lastPathComponent(executable);
    services.homeFolder = platform::homeFolderOfUser();
    services.makeFileManager = [] { return std::make_unique<platform::FileManager>(); };
    services.problems = &problems;
    services.clock = &clock;
    services.processes = processes.get();
    system->fillIn(services);
    platform::setServices(&services);

    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    platform::UserDefaults defaults(files, services.homeFolder + "/Library/Preferences",
                                    self.bundleIdentifier().value_or("Quillmore"), arguments,
                                    problems);
    platform::Bundle bundle(files, *bundlePath, platform::preferredLanguages(defaults), problems);
    platform::ConsoleUserInterface console(
        application.mainQueue(), STDIN_FILENO, stdout,
        [&bundle](std::string_view key) { return bundle.localizedString(key); });
    platform::DeferredUserInterface userInterface(
        console, [&]() -> std::unique_ptr<platform::UserInterface> {
            if (!platform::environmentAsksForWindows()) return nullptr;
            auto windows = platform::makeUserInterfaceOfModule(
                platform::userInterfaceModulePath(bundle.plugInsPath()),
                platform::optionsForBundle(application, bundle, services.processName, problems));
            if (windows) return std::move(*windows);
            problems.report(windows.error().localizedDescription() + " - the terminal is used");
            return nullptr;
        });

    services.application = &application;
    services.mainBundle = &bundle;
    services.knownBundles = {&bundle};
    services.standardUserDefaults = &defaults;
    services.userInterface = &userInterface;

    Quillmore_LauncherAppDelegate delegate;
    application.exitProcess(runLauncher(delegate));
}

}  // namespace

int main(int argc, char** argv) {
    platform::ensureStandardDescriptors();
    // Not by way of exit(): the thread that waits for signals may still use what this one leaves.
    std::_Exit(
        statusOfProgram(argc > 0 ? argv[0] : "Quillmore", [&] { return launch(argc, argv); }));
}
