#include "UpdateTool/Disk/Recovery.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/FileDigests.h"
#include "UpdateTool/Disk/Journal.h"
#include "UpdateTool/Disk/OldTrees.h"
#include "UpdateTool/Disk/OwnFiles.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/Receipts.h"
#include "UpdateTool/Disk/Staging.h"
#include "UpdateTool/Disk/TreeRemoval.h"
#include "UpdateTool/Disk/VolumeEntries.h"
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

/// What cannot be examined is not what this program put there: its owner mounted something on it.
bool isInPlace(int target, const JournalEntry& entry) {
    struct stat status {};
    return examineEntry(target, entry.item, status) && status.st_ino == entry.staged;
}

bool isMissing(int target, const std::string& item) {
    struct stat status {};
    return !examineEntry(target, item, status) && errno == ENOENT;
}

/// Where the volume cannot exchange entries, the old item may have been moved aside already.
void putBackWhatWasMovedAside(int target, const std::string& item) {
    const FileDescriptor staging = openFolder(target, Staging::kFolderName);
    struct stat status {};
    if (!staging || !entryExists(staging.get(), Staging::kPreviousName, status) ||
        !isMissing(target, item))
        return;
    if (::renameat(staging.get(), Staging::kPreviousName, target, item.c_str()) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot put " + quoted(item) + " back");
}

/// A tool that was to be replaced lost its bit and stayed: those bytes, and no others, get it back.
void giveBitBack(const Context& context, int target, const JournalEntry& entry) {
    if (entry.replacedDigest.empty()) return;
    const FileDescriptor file = openEntry(target, entry.item, O_RDONLY | O_NONBLOCK);
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        !isTrusted(context, status) || digestOfFile(file.get(), entry.item) != entry.replacedDigest)
        return;
    if (::fchmod(file.get(), entry.replacedMode & 07777) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot give the set-user-ID bit back");
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
    Receipts(context, productFolder)
        .apply(done ? entry.receipt : entry.receiptBefore, entry.item,
               done ? entry.digest : entry.digestBefore);
    if (!done) giveBitBack(context, target.get(), entry);
    audit(context, entry, done);
    const std::vector<std::string> made = foldersAfter(entry.presentFolders, entry.folder);
    // Folders that are taken away must be empty; nothing was there that it could have replaced.
    if (!done && !made.empty()) removeTree(context, target.get(), Staging::kFolderName);
    if (!retireStaging(target.get()) || ::fsync(target.get()) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot remove what an interrupted run left");
    if (!done) removeEmptyFolders(context, made);
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
