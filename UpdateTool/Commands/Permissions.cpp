#include "UpdateTool/Commands/Permissions.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Caller/Caller.h"
#include "UpdateTool/Disk/DenyList.h"
#include "UpdateTool/Disk/FileDigests.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/Receipts.h"
#include "UpdateTool/Disk/RunLock.h"
#include "UpdateTool/Disk/RunningProgram.h"
#include "UpdateTool/Disk/Targets.h"
#include "UpdateTool/Disk/VolumeEntries.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

struct InstalledTool {
    FileDescriptor file;
    struct stat status {};
};

/// A plain file with one name, held open: what is examined is what is changed.
InstalledTool openTool(int productFolder, const std::string& name) {
    InstalledTool tool;
    tool.file = openEntry(productFolder, name, O_RDONLY | O_NONBLOCK);
    if (!tool.file || ::fstat(tool.file.get(), &tool.status) != 0)
        failWithSystemError(EX_NOINPUT, "cannot open the installed " + quoted(name));
    if (!S_ISREG(tool.status.st_mode) || tool.status.st_nlink != 1)
        fail(EX_NOPERM, "the installed " + quoted(name) +
                            " is not a plain file with one name: remove it and repair it");
    return tool;
}

void setOwnerAndMode(const Context& context, const InstalledTool& tool, const std::string& name,
                     mode_t mode) {
    // The owner first: changing it takes set-user-ID bits away.
    if (::fchown(tool.file.get(), context.owner, context.group) != 0 ||
        ::fchmod(tool.file.get(), mode) != 0)
        failWithSystemError(EX_NOPERM, "cannot change the permissions of " + quoted(name));
    ::fsync(tool.file.get());
}

/// Whether the bytes of the file can only be what root put there.
bool isOwnersAlone(const Context& context, const struct stat& status) {
    return status.st_uid == context.owner && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

void requireOtherTool(const std::string& name) {
    requireToolName(name);
    requireUnreservedName(name);
}

}  // namespace

void repairPermissions(const Context& context, const Arguments&) {
    becomeRoot(context);
    RunLock lock(context, RunLock::Missing::fails);
    requireAllowed(context, lock.productFolder(), kProductFolder, kUpdateToolName);
    const InstalledTool tool = openTool(lock.productFolder(), kUpdateToolName);
    // A file that others could write may hold anything. Only when an administrator has just run
    // that very file as root does the bit add nothing to what its bytes could do already.
    if (!isOwnersAlone(context, tool.status) && !isRunningProgram(context, tool.status))
        fail(EX_NOPERM, "the installed updateqm could be changed by others; use repair instead");
    setOwnerAndMode(context, tool, kUpdateToolName, targetOf("repair").fileMode);
}

void repairPermissionsOther(const Context& context, const Arguments& arguments) {
    const std::string& name = arguments[0];
    requireOtherTool(name);
    becomeRoot(context);
    RunLock lock(context, RunLock::Missing::fails);
    requireAllowed(context, lock.productFolder(), kProductFolder, name);
    const InstalledTool tool = openTool(lock.productFolder(), name);
    if (Receipts(context, lock.productFolder()).covers(tool.status))
        fail(EX_NOPERM, quoted(name) + " is a root tool");
    setOwnerAndMode(context, tool, name, targetOf("repairother").fileMode);
}

void repairPermissionsOtherRoot(const Context& context, const Arguments& arguments) {
    const std::string& name = arguments[0];
    requireOtherTool(name);
    becomeRoot(context);
    RunLock lock(context, RunLock::Missing::fails);
    requireAllowed(context, lock.productFolder(), kProductFolder, name);
    const std::string digest = Receipts(context, lock.productFolder()).digestOf(name);
    if (digest.empty()) fail(EX_NOPERM, quoted(name) + " was not installed as a root tool");
    const InstalledTool tool = openTool(lock.productFolder(), name);
    if (!isOwnersAlone(context, tool.status))
        fail(EX_NOPERM, "the installed " + quoted(name) + " could be changed by others than root");
    if (digestOfFile(tool.file.get(), name) != digest)
        fail(EX_NOPERM, "the installed " + quoted(name) + " is not what was installed: repair it");
    setOwnerAndMode(context, tool, name, targetOf("repairotherroot").fileMode);
}

}  // namespace quillmore::updatetool
