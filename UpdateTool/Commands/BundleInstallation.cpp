#include "UpdateTool/Commands/BundleInstallation.h"

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Caller/Caller.h"
#include "UpdateTool/Commands/InstalledVersions.h"
#include "UpdateTool/Commands/SignedNames.h"
#include "UpdateTool/Disk/DenyList.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/RunLock.h"
#include "UpdateTool/Disk/Staging.h"
#include "UpdateTool/Disk/Targets.h"
#include "UpdateTool/Disk/TreeRemoval.h"
#include "UpdateTool/Disk/TreeWriter.h"
#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/Packages.h"
#include "UpdateTool/Packages/ZipArchives.h"

namespace quillmore::updatetool {

namespace {

void installBundle(const Context& context, const std::string& command, const Arguments& arguments) {
    const Target& target = targetOf(command);
    const SplitPath place = requireInstallPath(arguments[2], target);
    const Bytes archive =
        readVerifiedPackage(context, arguments[0], arguments[1], {command, arguments[2]});
    becomeRoot(context);
    RunLock lock(context, RunLock::Missing::isMade);
    requireAllowed(context, lock.productFolder(), place.folder, place.name);
    Staging staging(context, lock, place.folder);
    TreeWriter writer(context, staging.folder(), target);
    const std::set<std::string> top = readZipArchive(
        archive, TopLevel::oneFolder,
        [&](const ArchiveEntry& entry, const ReadBlock& read) { writer.take(entry, read); });
    writer.finish();
    if (*top.begin() != place.name)
        fail(EX_DATAERR,
             "the archive holds " + quoted(*top.begin()) + ", not " + quoted(place.name));
    requireNotOlder(versionOfBundle(context, staging.folder(), place.name),
                    versionOfBundle(context, staging.target(), place.name), place.name);
    staging.install(place.name, ReceiptChange::none);
}

/// The fixes are a folder of bundles, each with a version of its own. None of them may go missing,
/// or the next archive could bring an older one.
void requireFixesNotOlder(const Context& context, const Staging& staging) {
    const platform::FileDescriptor installed = openFolder(staging.target(), kIntelFixesName);
    if (!installed) return;
    const platform::FileDescriptor staged = openFolder(staging.folder(), kIntelFixesName);
    const auto names = namesIn(installed.get(), EntryNames::kMaximumEntries);
    if (!staged || !names) failWithSystemError(EX_CANTCREAT, "cannot compare the fixes");
    for (const std::string& name : *names)
        requireNotOlder(versionOfBundle(context, staged.get(), name),
                        versionOfBundle(context, installed.get(), name), name);
}

}  // namespace

void repairZipItem(const Context& context, const Arguments& arguments) {
    installBundle(context, "repairzipitem", arguments);
}

void applyFullUpdate(const Context& context, const Arguments& arguments) {
    requireApplicationsPath(arguments[2]);
    installBundle(context, "applyfullupdate", arguments);
}

void repairIntelFixes(const Context& context, const Arguments& arguments) {
    const Target& target = targetOf("repairintel10_5");
    const Bytes archive =
        readVerifiedPackage(context, arguments[0], arguments[1], {target.command, kIntelFixesName});
    becomeRoot(context);
    RunLock lock(context, RunLock::Missing::isMade);
    requireAllowed(context, lock.productFolder(), target.folders.front(), kIntelFixesName);
    Staging staging(context, lock, target.folders.front());
    // All of the archive lies in a folder of that name.
    TreeWriter writer(context, staging.folder(), target);
    ArchiveEntry fixes;
    fixes.path = kIntelFixesName;
    fixes.kind = ArchiveEntry::Kind::folder;
    writer.take(fixes, [] { return std::string(); });
    readZipArchive(archive, TopLevel::anything, [&](ArchiveEntry entry, const ReadBlock& read) {
        entry.path = fixes.path + "/" + entry.path;
        writer.take(entry, read);
    });
    writer.finish();
    requireFixesNotOlder(context, staging);
    staging.install(kIntelFixesName, ReceiptChange::none);
}

}  // namespace quillmore::updatetool
