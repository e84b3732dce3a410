// The one driver of the privileged update tool: checks that the installed tool is intact, installs
// it with administrator rights, and turns each repair into one command line. One shared instance;
// called from the repair thread, one repair at a time; every run blocks its caller until the tool
// has ended, except administrator runs, which return once the tool was started.
// UpdateTool/Commands/Operations.cpp lists the commands from the other side.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace quillmore {

enum UpdateToolStatus : std::int32_t {
    UpdateToolStatusOK = 0,                ///< Found intact, or the run succeeded.
    UpdateToolStatusMissing = 1,           ///< Nothing at the tool's path.
    UpdateToolStatusWrongPermissions = 2,  ///< Not owned by root, or its mode is not 04755.
    UpdateToolStatusUnknown = 3,           ///< Nothing was checked or run yet.
    UpdateToolStatusFailed = 4,            ///< Could not be started, or ended with a failure.
    UpdateToolStatusRunning = 5,           ///< A repair has begun.
};

class UpdateToolManager {
public:
    using Argument = std::optional<std::string>;

    static UpdateToolManager& sharedManager();

    /// Of the last check or repair.
    std::int32_t status() const { return status_; }
    /// Checks the installed tool of a file name: 0, 1 or 2, also kept as the status.
    std::int32_t verifyUpdateTool(const Argument& name);

    /// What the runs from now on are for, by its name in the catalogue: what their programs say on
    /// standard error then goes to the log file too, where a desktop's user can find it.
    void setRepairedItem(Argument name) { repairedItem_ = std::move(name); }

    /// `runExe:withArgs:waitUntilExit:`: 0 or 4; not waited for: always 4. Leaves the status alone.
    std::int32_t runExe(const std::string& launchPath, const std::vector<std::string>& withArgs,
                        bool waitUntilExit);
    /// `runUpdateTool:waitUntilExit:`
    std::int32_t runUpdateTool(const std::vector<std::string>& args, bool waitUntilExit);
    /// Asks the user for an administrator's credentials, starts the installed tool: 0 or 4.
    std::int32_t runUpdateToolAsAdmin(const std::vector<std::string>& args);
    /// `runUninstalledUpdateToolAsAdmin:args:`: the same with a tool that is not installed yet.
    std::int32_t runUninstalledUpdateToolAsAdmin(const std::string& toolPath,
                                                 const std::vector<std::string>& args);

    // Repairs: 0 for success. An argument that is absent ends the command line there.
    /// `repairUpdateTool:updateQMSignaturePath:`: runs the copy in the resources as administrator.
    std::int32_t repairUpdateTool(const std::string& toolPath,
                                  const std::string& updateQMSignaturePath);
    std::int32_t repairPermissions();
    std::int32_t repairCoreAppPermissions(const Argument& path);
    /// `repairQMTool:signaturePath:`
    std::int32_t repairQMTool(const Argument& packagePath, const Argument& signaturePath);
    std::int32_t repairQMToolPermissions(const Argument& name);
    std::int32_t repairBundleUsingPackage(const Argument& packagePath);
    /// Afterwards keeps a copy of the log of an installer whose path names MacFUSE.
    std::int32_t repairFrameworkUsingPackage(const std::string& packagePath);
    /// `repairQMToolRoot:signaturePath:`: restarts the Finder afterwards; 5 when that fails.
    std::int32_t repairQMToolRoot(const Argument& packagePath, const Argument& signaturePath);
    std::int32_t repairQMToolRootPermissions(const Argument& name);
    /// `repairZIPArchive:signaturePath:installPath:`
    std::int32_t repairZIPArchive(const Argument& archivePath, const Argument& signaturePath,
                                  const Argument& installPath);
    /// `repairIntel10_5:signaturePath:`
    std::int32_t repairIntel10_5(const Argument& packagePath, const Argument& signaturePath);
    /// `installClientUpdate:signaturePath:installPath:`
    std::int32_t installClientUpdate(const Argument& packagePath, const Argument& signaturePath,
                                     const Argument& installPath);
    /// Deliberate: leaves the status at 5 after success.
    std::int32_t repairMonoKeypairPermissions();

    // FinderOverlayTool
    /// `runFinderOverlayTool:waitUntilExit:`: 0 or 4; not waited for: 0. Raises what a launch
    /// raises.
    std::int32_t runFinderOverlayTool(const std::vector<std::string>& args, bool waitUntilExit);
    std::int32_t insertFinderOverlayBundle();

private:
    std::int32_t beginRepair(const char* word, std::initializer_list<Argument> arguments);
    std::int32_t endRepair(std::int32_t result);
    std::int32_t repair(const char* word, std::initializer_list<Argument> arguments);
    std::int32_t runAsAdmin(const char* method, const std::string& toolPath,
                            const std::vector<std::string>& args, bool logsPath);

    void logWords(const std::string& words, const std::string& launchPath,
                  const std::vector<std::string>& arguments) const;

    Argument repairedItem_;
    std::int32_t status_ = UpdateToolStatusUnknown;
    [[maybe_unused]] std::string updateToolPath;  ///< Reserved; neither set nor read.
};

/// Where a tool of a file name is installed.
std::string installedToolPath(const std::optional<std::string>& name);

}  // namespace quillmore
