#include "UpdateTool/Commands/ToolInstallation.h"

#include "UpdateTool/Caller/Caller.h"
#include "UpdateTool/Commands/InstalledVersions.h"
#include "UpdateTool/Commands/SignedNames.h"
#include "UpdateTool/Disk/DenyList.h"
#include "UpdateTool/Disk/FileContents.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/RunLock.h"
#include "UpdateTool/Disk/Staging.h"
#include "UpdateTool/Disk/Targets.h"
#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/Packages.h"

namespace quillmore::updatetool {

namespace {

void installTool(const Context& context, const Bytes& bytes, const Purpose& purpose,
                 ReceiptChange receipt) {
    becomeRoot(context);
    const Target& target = targetOf(purpose.command);
    RunLock lock(context, RunLock::Missing::isMade);
    requireAllowed(context, lock.productFolder(), target.folders.front(), purpose.name);
    Staging staging(context, lock, target.folders.front());
    requireNotOlder(versionOfTool(bytes), versionOfInstalledTool(staging.target(), purpose.name),
                    purpose.name);
    writeFile(context, staging.folder(), purpose.name, bytes, target.fileMode);
    staging.install(purpose.name, receipt);
}

/// The name that a package is installed under: its own, but none that belongs to another command.
std::string toolNameOf(const std::string& packagePath) {
    const std::string name = splitPath(packagePath).name;
    requireOrdinaryToolsName(name);
    return name;
}

}  // namespace

void repair(const Context& context, const Arguments& arguments) {
    const Purpose purpose{"repair", kUpdateToolName};
    const Bytes bytes = readVerifiedProgram(context, arguments[0], purpose);
    // updateqm needs no receipt: "repairpermissions" is for it alone.
    installTool(context, bytes, purpose, ReceiptChange::none);
}

void repairOther(const Context& context, const Arguments& arguments) {
    const Purpose purpose{"repairother", toolNameOf(arguments[0])};
    const Bytes bytes = readVerifiedPackage(context, arguments[0], arguments[1], purpose);
    installTool(context, bytes, purpose, ReceiptChange::remove);
}

void repairOtherRoot(const Context& context, const Arguments& arguments) {
    const Purpose purpose{"repairotherroot", toolNameOf(arguments[0])};
    const Bytes bytes = readVerifiedPackage(context, arguments[0], arguments[1], purpose);
    installTool(context, bytes, purpose, ReceiptChange::add);
}

}  // namespace quillmore::updatetool
