// The bodies of the ports on the system that the program is built for. The build picks the one that
// is linked (`platform_backend`); main.cpp knows no system by name.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quillmore::platform {

class FileManager;
class ProcessSpawner;
struct Services;

struct SystemServicesOptions {
    const FileManager& files;   ///< Outlives the services.
    ProcessSpawner& processes;  ///< Outlives the services.
    std::string plugInsPath;    ///< Where modules lie that are opened on first use.
    /// Told what a body could not do, one line; for the log. Any thread.
    std::function<void(const std::string&)> report;
};

class SystemServices {
public:
    virtual ~SystemServices() = default;
    /// Puts the bodies in; the user interface and the concrete parts are left as they are.
    virtual void fillIn(Services& services) = 0;
};

std::unique_ptr<SystemServices> makeSystemServices(const SystemServicesOptions& options);

/// The path of this process's executable file; nothing when the system does not tell.
std::optional<std::string> executablePathOfThisProcess();

}  // namespace quillmore::platform
