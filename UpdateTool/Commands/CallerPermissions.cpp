#include "UpdateTool/Commands/CallerPermissions.h"

#include <unistd.h>

#include <limits>
#include <string_view>
#include <vector>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Caller/Caller.h"
#include "UpdateTool/Disk/DenyList.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/RunLock.h"
#include "UpdateTool/Disk/TreeRemoval.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

constexpr mode_t kCoreMode = 0755;
constexpr std::string_view kCoreEnding = "Core.app";
constexpr std::string_view kKeypairsEnding = "/.config/.mono/keypairs";
constexpr mode_t kKeypairsMode = 0700;
constexpr mode_t kKeypairMode = 0600;

struct stat examine(int folder, const std::string& name, const std::string& path) {
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        failWithSystemError(EX_NOINPUT, "cannot examine " + quoted(path));
    return status;
}

void setMode(int folder, const std::string& name, mode_t mode, const std::string& path) {
    if (::fchmodat(folder, name.c_str(), mode, AT_SYMLINK_NOFOLLOW) != 0)
        failWithSystemError(EX_NOPERM, "cannot change the permissions of " + quoted(path));
}

/// With the caller's rights; false when the folder is not the caller's. It is changed by its name
/// and not by a descriptor, which nobody gets for a folder whose mode forbids it: whatever is put
/// in its place meanwhile, the caller could have changed without this program.
bool repairOwnCore(const Context& context, const std::string& path) {
    const SplitPath split = splitPath(path);
    const FileDescriptor folder = openUntrustedFolder(context, split.folder, path);
    const struct stat status = examine(folder.get(), split.name, path);
    if (!S_ISDIR(status.st_mode))
        fail(EX_NOINPUT, quoted(path) + " is not a folder: name the application itself");
    if (status.st_uid != context.callerUser) return false;
    setMode(folder.get(), split.name, kCoreMode, path);
    return true;
}

/// The folder that the application's core lies in. An application may be a user's, who may have
/// mounted anything in it.
FileDescriptor openTrustedFolderOf(const Context& context, const std::string& path) {
    FileDescriptor folder = openTrustedFolder(context, kApplicationsFolder);
    std::string pathSoFar = kApplicationsFolder;
    const std::vector<std::string> parts = componentsOf(path);
    for (std::size_t index = 1; index + 1 < parts.size(); ++index) {
        pathSoFar += "/" + parts[index];
        folder = openTrustedFolderIn(context, folder.get(), parts[index], pathSoFar);
    }
    return folder;
}

/// With root's rights.
void repairRootsCore(const Context& context, const std::string& path) {
    if (!isCoreOfInstalledApplication(path))
        fail(EX_NOPERM, "the folder " + quoted(path) + " is not the caller's to change");
    becomeRoot(context);
    const RunLock lock(context, RunLock::Missing::isMade);
    const SplitPath split = splitPath(path);
    requireAllowed(context, lock.productFolder(), split.folder, split.name);
    const FileDescriptor folder = openTrustedFolderOf(context, path);
    const FileDescriptor core = openFolder(folder.get(), split.name);
    struct stat status {};
    if (!core || ::fstat(core.get(), &status) != 0)
        failWithSystemError(EX_NOINPUT, "cannot open the folder " + quoted(path));
    if (status.st_uid != context.owner)
        fail(EX_NOPERM, "the folder " + quoted(path) + " belongs to another user");
    if (::fchmod(core.get(), kCoreMode) != 0)
        failWithSystemError(EX_NOPERM, "cannot change the permissions of " + quoted(path));
}

struct KeyPair {
    std::string name;
    mode_t mode = 0;
};

std::vector<KeyPair> keyPairsIn(int folder, const Context& context, const std::string& path) {
    std::vector<KeyPair> keyPairs;
    const auto names = namesIn(folder, std::numeric_limits<std::size_t>::max());
    if (!names) failWithSystemError(EX_NOINPUT, "cannot list " + quoted(path));
    for (const std::string& name : *names) {
        const struct stat status = examine(folder, name, path);
        if (!S_ISREG(status.st_mode)) continue;
        if (status.st_uid != context.callerUser)
            fail(EX_NOPERM, "a key pair in " + quoted(path) + " belongs to another user");
        if (status.st_nlink != 1)
            fail(EX_NOPERM, "a key pair in " + quoted(path) +
                                " has a second name (a hard link): use a copy of it");
        keyPairs.push_back({name, status.st_mode & 07777});
    }
    return keyPairs;
}

/// All of them or none.
void makePrivate(int folder, const std::vector<KeyPair>& keyPairs, const std::string& path) {
    std::size_t done = 0;
    try {
        for (; done < keyPairs.size(); ++done)
            setMode(folder, keyPairs[done].name, kKeypairMode, path + "/" + keyPairs[done].name);
    } catch (...) {
        while (done-- > 0)
            ::fchmodat(folder, keyPairs[done].name.c_str(), keyPairs[done].mode,
                       AT_SYMLINK_NOFOLLOW);
        throw;
    }
}

}  // namespace

bool isCoreOfInstalledApplication(const std::string& path) {
    const std::vector<std::string> parts = componentsOf(path);
    return parts.size() == 5 && "/" + parts[0] == kApplicationsFolder &&
           parts[1].ends_with(".app") && parts[2] == "Contents" && parts[3] == "Resources" &&
           parts[4].ends_with(kCoreEnding);
}

void repairCore(const Context& context, const Arguments& arguments) {
    const std::string& path = arguments[0];
    const std::string name = splitPath(path).name;
    if (!name.ends_with(kCoreEnding)) fail(EX_USAGE, quoted(path) + " is not a core application");
    if (!repairOwnCore(context, path)) repairRootsCore(context, path);
}

void fixMonoKeypairs(const Context& context, const Arguments& arguments) {
    const std::string& path = arguments[0];
    const SplitPath split = splitPath(path);
    if (!path.ends_with(kKeypairsEnding))
        fail(EX_USAGE, quoted(path) + " is not a folder of key pairs");
    becomeCaller(context);
    const FileDescriptor parent = openUntrustedFolder(context, split.folder, path);
    const struct stat before = examine(parent.get(), split.name, path);
    if (!S_ISDIR(before.st_mode)) fail(EX_NOINPUT, quoted(path) + " is not a folder");
    if (before.st_uid != context.callerUser)
        fail(EX_NOPERM, "the folder " + quoted(path) + " belongs to another user");
    setMode(parent.get(), split.name, kKeypairsMode, path);
    try {
        const FileDescriptor folder = openFolder(parent.get(), split.name);
        if (!folder) failWithSystemError(EX_NOINPUT, "cannot open " + quoted(path));
        makePrivate(folder.get(), keyPairsIn(folder.get(), context, path), path);
    } catch (...) {
        setMode(parent.get(), split.name, before.st_mode & 07777, path);
        throw;
    }
}

}  // namespace quillmore::updatetool
