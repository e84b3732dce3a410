#include "UpdateTool/Disk/Recovery.h"

#include <unistd.h>

#include <algorithm>
#include <vector>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/Journal.h"
#include "UpdateTool/Disk/OwnFiles.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/Receipts.h"
#include "UpdateTool/Disk/Staging.h"
#include "UpdateTool/Disk/TreeRemoval.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

/// Paths of the components after the first `present` ones.
std::vector<std::string> foldersAfter(std::size_t present, const std::string& path) {
    std::vector<std::string> paths;
    std::string done;
    for (const std::string& name : componentsOf(path)) {
        done += "/" + name;
        if (present > 0) {
            --present;
        } else {
            paths.push_back(done);
        }
    }
    return paths;
}

bool isInPlace(int target, const JournalEntry& entry) {
    struct stat status {};
    return entryExists(target, entry.item, status) && status.st_ino == entry.staged;
}

/// Where the volume cannot exchange entries, the old item may have been moved aside already.
void putBackWhatWasMovedAside(int target, const std::string& item) {
    const FileDescriptor staging = openFolder(target, Staging::kFolderName);
    struct stat status {};
    if (!staging || !entryExists(staging.get(), Staging::kPreviousName, status) ||
        entryExists(target, item, status))
        return;
    if (::renameat(staging.get(), Staging::kPreviousName, target, item.c_str()) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot put " + quoted(item) + " back");
}

/// An item that was replaced may have been somebody else's and hold what cannot be removed. It
/// stays where root alone can reach it, and no later run has to do with it.
void putStagingAside(const Context& context, int target, const std::string& folder) {
    struct stat status {};
    if (!entryExists(target, Staging::kFolderName, status)) return;
    const std::string aside = Staging::kFolderName + ("." + std::to_string(status.st_ino));
    if (::renameat(target, Staging::kFolderName, target, aside.c_str()) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot remove what an interrupted run left");
    if (context.audit)
        context.audit("what was replaced could not be removed: remove " +
                      quoted(folder + "/" + aside));
}

/// The run itself could not tell.
void audit(const Context& context, const JournalEntry& entry, bool done) {
    if (!context.audit || entry.item.empty()) return;
    context.audit("user " + std::to_string(entry.caller) + " unfinished item " +
                  quoted(entry.folder + "/" + entry.item) + (done ? ": installed" : ": undone"));
}

void finishOrUndo(const Context& context, int productFolder, const JournalEntry& entry) {
    const FileDescriptor target = openTrustedFolder(context, entry.folder);
    const bool done = !entry.item.empty() && isInPlace(target.get(), entry);
    if (!done && !entry.item.empty()) putBackWhatWasMovedAside(target.get(), entry.item);
    Receipts(context, productFolder).apply(done ? entry.receipt : entry.receiptBefore, entry.item);
    audit(context, entry, done);
    if (!removeTree(context, target.get(), Staging::kFolderName))
        putStagingAside(context, target.get(), entry.folder);
    if (::fsync(target.get()) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot remove what an interrupted run left");
    if (!done) removeEmptyFolders(context, foldersAfter(entry.presentFolders, entry.folder));
}

}  // namespace

void recover(const Context& context, int productFolder) {
    removeUnfinishedOwnFiles(context, productFolder);
    const auto entry = readJournal(context, productFolder);
    if (!entry) return;
    const std::size_t depth = componentsOf(entry->folder).size();
    const std::size_t present = countOfPresentFolders(context, entry->folder);
    if (present == depth) {
        finishOrUndo(context, productFolder, *entry);
    } else {
        // It was killed while it made the folders.
        std::vector<std::string> made = foldersAfter(entry->presentFolders, entry->folder);
        made.resize(made.size() - std::min(made.size(), depth - present));
        removeEmptyFolders(context, made);
    }
    removeJournal(productFolder);
}

}  // namespace quillmore::updatetool
