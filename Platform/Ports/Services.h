// Everything that the upper rings get from outside, gathered by main.cpp (or by a test) before
// anything else runs. The objects are owned by whoever gathered them and outlive all use. The
// bodies of the ports are those of the system that the program is built for: the build picks what
// is linked (`platform_backend`), main.cpp knows no system by name.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Values/Problems.h"

namespace quillmore::platform {

class AppleEvents;
class Application;
class Authorization;
class Bundle;
class Clock;
class FileManager;
class Keychain;
class ProcessSpawner;
class ScriptRunner;
class SystemInformation;
class UserDefaults;
class UserInterface;
class Workspace;

struct Services {
    std::string processName;
    std::string homeFolder;
    /// A plain file manager of one's own: each thread makes one.
    std::function<std::unique_ptr<FileManager>()> makeFileManager;

    Problems* problems = &ignoredProblems();  ///< Never null.
    Application* application = nullptr;
    Bundle* mainBundle = nullptr;
    std::vector<Bundle*> knownBundles;  ///< The main bundle and those that were loaded.
    Clock* clock = nullptr;
    ProcessSpawner* processes = nullptr;
    SystemInformation* systemInformation = nullptr;
    UserDefaults* standardUserDefaults = nullptr;
    UserInterface* userInterface = nullptr;
    AppleEvents* appleEvents = nullptr;
    Authorization* authorization = nullptr;
    Keychain* keychain = nullptr;
    ScriptRunner* scriptRunner = nullptr;
    Workspace* workspace = nullptr;
};

/// The services in force. Never call before setServices.
Services& services();
/// Not owned. Null takes them away (tests only).
void setServices(Services* services);
bool haveServices();

struct SystemServicesOptions {
    const FileManager& files;   ///< Outlives the services.
    ProcessSpawner& processes;  ///< Outlives the services.
    std::string plugInsPath;    ///< Where modules lie that are opened on first use.
    std::string helpersPath;    ///< Where programs lie that a body starts.
    Problems& problems;         ///< Outlives the services.
};

/// The bodies of the ports on this system, gathered.
class SystemServices {
public:
    virtual ~SystemServices() = default;
    /// Puts the bodies in; the user interface and the concrete parts are left as they are.
    virtual void fillIn(Services& services) = 0;
};

std::unique_ptr<SystemServices> makeSystemServices(const SystemServicesOptions& options);

}  // namespace quillmore::platform
