// Everything that the upper rings get from outside, gathered by main.cpp (or by a test) before
// anything else runs. The objects are owned by whoever gathered them and outlive all use.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

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

}  // namespace quillmore::platform
