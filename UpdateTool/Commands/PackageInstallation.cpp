#include "UpdateTool/Commands/PackageInstallation.h"

#include <algorithm>

#include "UpdateTool/Caller/Caller.h"
#include "UpdateTool/Commands/InstalledVersions.h"
#include "UpdateTool/Disk/DenyList.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/RunLock.h"
#include "UpdateTool/Disk/Targets.h"
#include "UpdateTool/Disk/TreeWriter.h"
#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/CpioPayloads.h"
#include "UpdateTool/Packages/FlatPackages.h"

namespace quillmore::updatetool {

namespace {
constexpr const char* kSignatureEnding = ".sig";
}

void repairPackage(const Context& context, const Arguments& arguments) {
    const std::string& path = arguments[0];
    const Target& target = targetOf("repairpackage");
    const Bytes bytes =
        readVerifiedPackage(context, path, path + kSignatureEnding, {target.command, ""});
    const FlatPackage package = readFlatPackage(bytes);
    const std::string& location = package.installLocation;
    if (std::count(target.folders.begin(), target.folders.end(), location) == 0)
        fail(EX_DATAERR, "the package may not be installed at " + quoted(location));
    becomeRoot(context);
    RunLock lock(context, RunLock::Missing::isMade);
    Staging staging(context, lock, location);
    TreeWriter writer(context, staging.folder(), target);
    const std::string name = readPayload(
        package.payload,
        [&](const ArchiveEntry& entry, const ReadBlock& read) { writer.take(entry, read); });
    writer.finish();
    requirePlainName(name);
    requireAllowed(context, lock.productFolder(), location, name);
    requireNotOlder(versionOfBundle(context, staging.folder(), name),
                    versionOfBundle(context, staging.target(), name), name);
    installStagedPackage(context, bytes, staging, name);
}

#ifndef __APPLE__

void installStagedPackage(const Context&, const Bytes&, Staging& staging, const std::string& name) {
    staging.install(name, ReceiptChange::none);
}

#endif

}  // namespace quillmore::updatetool
