// Running applications as the process table shows them, the start of an application bundle, and the
// way to the Trash.
// Keeps no state: safe on any thread.
#pragma once

#include <string>

#include "Platform/Linux/ProcFolder.h"
#include "Platform/Ports/Workspace.h"
#include "Platform/Values/Problems.h"

namespace quillmore::platform {

class FileManager;
class ProcessSpawner;

class LinuxWorkspace final : public Workspace {
public:
    /// Both must outlive the workspace. Bundles are looked up through the file manager, so that its
    /// root counts as the root of the applications' paths too. `homeTrash`: the host path of the
    /// user's own Trash; empty for the usual one.
    LinuxWorkspace(const FileManager& fileManager, ProcessSpawner& spawner,
                   std::string procFolder = "/proc", std::string homeTrash = "",
                   Problems& problems = ignoredProblems())
        : fileManager_(fileManager),
          spawner_(spawner),
          problems_(problems),
          processes_(std::move(procFolder)),
          homeTrash_(std::move(homeTrash)) {}

    /// Processes of this real user whose program lies in an ".app" bundle's Contents/MacOS.
    std::vector<Dictionary> launchedApplications() override;
    /// The application runs in a session of its own with its standard streams on /dev/null. True
    /// also for a part of macOS that this system has not: there is nothing that would have to run.
    bool launchApplication(const std::optional<std::string>& path) override;
    bool recycleFile(const std::string& folder, const std::string& name) override;

private:
    std::string pathUnderRoot(std::string hostPath) const;
    std::optional<std::string> identifierOfBundle(const std::string& bundlePath) const;
    std::optional<std::string> executableOf(const std::string& path) const;
    bool isMissingPartOfTheSystem(const std::string& path) const;

    const FileManager& fileManager_;
    ProcessSpawner& spawner_;
    Problems& problems_;
    ProcFolder processes_;
    std::string homeTrash_;
};

}  // namespace quillmore::platform
