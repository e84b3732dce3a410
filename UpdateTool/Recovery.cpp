#include "UpdateTool/Recovery.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "Platform/FileDescriptor.h"
#include "UpdateTool/Books.h"
#include "UpdateTool/Failure.h"
#include "UpdateTool/Journal.h"
#include "UpdateTool/Paths.h"
#include "UpdateTool/Receipts.h"
#include "UpdateTool/Staging.h"
#include "UpdateTool/Trees.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

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
    const FileDescriptor staging(::openat(target, Staging::kFolderName, kFolderFlags));
    struct stat status {};
    if (!staging || !entryExists(staging.get(), Staging::kPreviousName, status) ||
        entryExists(target, item, status))
        return;
    if (::renameat(staging.get(), Staging::kPreviousName, target, item.c_str()) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot put " + quoted(item) + " back");
}

void finishOrUndo(const Context& context, int productFolder, const JournalEntry& entry) {
    const FileDescriptor target = openTrustedFolder(context, entry.folder);
    const bool done = !entry.item.empty() && isInPlace(target.get(), entry);
    if (!done && !entry.item.empty()) putBackWhatWasMovedAside(target.get(), entry.item);
    Receipts(context, productFolder).apply(done ? entry.receipt : entry.receiptBefore, entry.item);
    if (!removeTree(target.get(), Staging::kFolderName) || ::fsync(target.get()) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot remove what an interrupted run left");
    if (!done) removeEmptyFolders(context, foldersAfter(entry.presentFolders, entry.folder));
}

}  // namespace

void recover(const Context& context, int productFolder) {
    removeUnfinishedBooks(productFolder);
    const auto entry = readJournal(context, productFolder);
    if (!entry) return;
    const std::size_t depth = componentsOf(entry->folder).size();
    const std::size_t present = countOfPresentFolders(context, entry->folder);
    if (present == depth) {
        finishOrUndo(context, productFolder, *entry);
    } else {
        // It was killed while it made the folders.
        std::vector<std::string> made = foldersAfter(entry->presentFolders, entry->folder);
        made.resize(made.size() - (depth - present));
        removeEmptyFolders(context, made);
    }
    removeJournal(productFolder);
}

}  // namespace quillmore::updatetool
