#include "UpdateTool/Disk/RunLock.h"

#include <cerrno>
#include <chrono>
#include <optional>

#include "UpdateTool/Disk/LockHolder.h"
#include "UpdateTool/Disk/OldTrees.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/Recovery.h"
#include "UpdateTool/Disk/RunningProgram.h"
#include "UpdateTool/Disk/TimedLock.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

/// How long a run that was ended may take to be gone.
constexpr std::chrono::seconds kPatience{30};
constexpr const char* kLockFileName = ".updateqm.lock";
constexpr int kLockFlags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

void waitForLock(int file) {
    const std::chrono::seconds begin = clockNow();
    const bool isLocked = lockWhile(file, [&] {
        const std::optional<LockHolder> holder = readHolder(file);
        const std::chrono::seconds held = clockNow() - (holder ? holder->since : begin);
        if (holder && held >= RunLock::kLongestHold) endHolder(*holder);
        return held < RunLock::kLongestHold + kPatience;
    });
    if (!isLocked && errno == EWOULDBLOCK)
        fail(EX_TEMPFAIL, "another run does not come to its end: restart the machine");
    if (!isLocked) failWithSystemError(EX_OSERR, "cannot lock the product folder");
}

/// Whether the file is still the one of that name: a run that changed nothing takes it away.
bool isStillThere(int folder, int file) {
    struct stat held {};
    struct stat named {};
    return ::fstat(file, &held) == 0 &&
           ::fstatat(folder, kLockFileName, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

}  // namespace

RunLock::RunLock(const Context& context, Missing missing) : context_(context) {
    try {
        while (!tryToLock(missing)) continue;
        requireInstalledProgram(context_, folder_.get());
        recover(context_, folder_.get());
    } catch (...) {
        takeAwayWhatWasMade();
        throw;
    }
}

RunLock::~RunLock() {
    if (!kept_) takeAwayWhatWasMade();
    removeHolder(file_.get());
    file_.reset();
    try {
        removeOldTrees(context_);
    } catch (...) {
        // There is not even memory for that. They are left to the next run.
    }
}

bool RunLock::tryToLock(Missing missing) {
    try {
        folder_ = missing == Missing::isMade
                      ? openOrMakeTrustedFolder(context_, kProductFolder, madeFolders_)
                      : openTrustedFolder(context_, kProductFolder);
    } catch (const FolderVanished&) {
        return false;
    }
    file_ =
        FileDescriptor(::openat(folder_.get(), kLockFileName, kLockFlags | O_CREAT | O_EXCL, 0600));
    madeFile_ = static_cast<bool>(file_);
    if (!file_ && errno == EEXIST)
        file_ = FileDescriptor(::openat(folder_.get(), kLockFileName, kLockFlags));
    // The folder or the file may just have been taken away by the run that made them.
    if (!file_ && errno == ENOENT) return false;
    struct stat status {};
    if (!file_ || ::fstat(file_.get(), &status) != 0)
        failToOpen(folder_.get(), kLockFileName, std::string(kProductFolder) + "/" + kLockFileName);
    if (!S_ISREG(status.st_mode) || status.st_uid != context_.owner || status.st_nlink > 1)
        fail(EX_OSFILE, "the lock of the product folder is not root's own file: remove it");
    waitForLock(file_.get());
    if (!isStillThere(folder_.get(), file_.get())) return false;
    writeHolder(file_.get());
    return true;
}

void RunLock::takeAwayWhatWasMade() {
    try {
        if (madeFile_) ::unlinkat(folder_.get(), kLockFileName, 0);
        removeEmptyFolders(context_, madeFolders_);
    } catch (...) {
        // They are harmless, and the reason why nothing was installed is on its way.
    }
}

}  // namespace quillmore::updatetool
