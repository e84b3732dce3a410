// open APPLICATION...: starts application bundles, each in a session of its own. Carried in the
// launcher's bundle, for the shell line with which a moved launcher restarts.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "Platform/Files/FileManager.h"
#include "Platform/Files/Paths.h"
#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Processes/Environment.h"
#include "Platform/Processes/Executable.h"
#include "Platform/Processes/ProcessSpawner.h"

using namespace quillmore;

namespace {

/// The application is to find the system's own programs by their names, not this one.
void leavePath() {
    const char* path = std::getenv("PATH");
    const auto executable = platform::executablePathOfThisProcess();
    if (path == nullptr || !executable) return;
    const std::string folder = platform::pathByDeletingLastComponent(*executable);
    ::setenv("PATH", platform::pathWithoutFolder(path, folder).c_str(), 1);
}

bool openApplication(platform::Workspace& workspace, const char* argument) {
    std::error_code failure;
    const std::string path = std::filesystem::absolute(argument, failure).string();
    if (!platform::FileManager().fileExists(path)) {
        std::fprintf(stderr, "The file %s does not exist.\n", path.c_str());
        return false;
    }
    if (workspace.launchApplication(path)) return true;
    std::fprintf(stderr, "The application %s cannot be opened.\n", path.c_str());
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: open APPLICATION...\n");
        return 1;
    }
    leavePath();
    const platform::FileManager files;
    const auto processes = platform::makePosixProcessSpawner();
    platform::LinuxWorkspace workspace(files, *processes);
    bool allOpened = true;
    for (int i = 1; i < argc; ++i) allOpened = openApplication(workspace, argv[i]) && allOpened;
    return allOpened ? 0 : 1;
}
