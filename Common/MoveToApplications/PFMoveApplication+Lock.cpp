// Of two launchers of one user only one moves at a time.
#include <cerrno>

#include "Common/MoveToApplications/PFMoveApplication+Steps.h"
#include "Common/utils/Folders.h"
#include "Platform/Ports/Services.h"
#include "Platform/Settings/Bundle.h"

namespace quillmore {

namespace {

platform::Result<platform::LockFile> takeMoveLock() {
    const platform::FileManager& files = __QMCurrentThreadFileManager();
    const platform::Services& services = platform::services();
    const std::string folder = platform::pathByAppending(services.homeFolder, "Library/Caches");
    files.createDirectory(folder, 0700);
    const std::string name =
        services.mainBundle->bundleIdentifier().value_or(services.processName) + ".move.lock";
    return platform::LockFile::take(files.hostPath(platform::pathByAppending(folder, name)), {});
}

}  // namespace

MoveLock::MoveLock() : lock_(takeMoveLock()) {}

bool MoveLock::isHeldByAnother() const {
    return !lock_ && lock_.error().code() == EWOULDBLOCK;
}

}  // namespace quillmore
