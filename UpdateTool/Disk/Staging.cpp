#include "UpdateTool/Disk/Staging.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "UpdateTool/Disk/Exchange.h"
#include "UpdateTool/Disk/FileDigests.h"
#include "UpdateTool/Disk/OldTrees.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/Receipts.h"
#include "UpdateTool/Disk/TreeRemoval.h"
#include "UpdateTool/Disk/VolumeEntries.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {

void renameEntry(int fromFolder, const std::string& from, int toFolder, const std::string& to) {
    if (::renameat(fromFolder, from.c_str(), toFolder, to.c_str()) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot put " + quoted(to) + " in place");
}

void syncFolder(int folder) {
    if (::fsync(folder) != 0) failWithSystemError(EX_IOERR, "cannot write the folder to disk");
}

}  // namespace

bool entryExists(int folder, const std::string& name, struct stat& status) {
    if (examineEntry(folder, name, status)) return true;
    if (errno == EXDEV) fail(EX_OSFILE, quoted(name) + " is a mount point: unmount it");
    if (errno != ENOENT) failWithSystemError(EX_OSFILE, "cannot examine " + quoted(name));
    return false;
}

Staging::Staging(const Context& context, RunLock& lock, const std::string& targetFolder)
    : context_(context), lock_(lock) {
    journal_.caller = context.callerUser;
    journal_.folder = targetFolder;
    journal_.presentFolders = countOfPresentFolders(context, targetFolder);
    try {
        writeJournal(context, lock.productFolder(), journal_);
        prepare(targetFolder);
    } catch (...) {
        clear();
        throw;
    }
}

void Staging::prepare(const std::string& targetFolder) {
    target_ = openOrMakeTrustedFolder(context_, targetFolder, madeFolders_);
    if (!retireStaging(target_.get()) || ::mkdirat(target_.get(), kFolderName, 0700) != 0)
        failWithSystemError(EX_CANTCREAT,
                            "cannot make a staging folder in " + quoted(targetFolder));
    staging_ = openFolder(target_.get(), kFolderName);
    struct stat status {};
    if (!staging_ || ::fstat(staging_.get(), &status) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot open the staging folder");
    if (status.st_uid != context_.owner || (status.st_mode & 07777) != 0700)
        fail(EX_CANTCREAT, "the staging folder is not the one that was made");
}

Staging::~Staging() {
    clear();
}

void Staging::clear() {
    if (leftToTheNextRun_) return lock_.keep();
    try {
        staging_.reset();
        if (target_ && (!discard() || ::fsync(target_.get()) != 0))
            return lock_.keep();  // with the journal, for the next run
        if (placed_ == Placed::no) {
            removeEmptyFolders(context_, madeFolders_);
        } else {
            lock_.keep();
        }
        removeJournal(lock_.productFolder());
    } catch (...) {
        lock_.keep();
    }
}

bool Staging::discard() {
    // A folder that was made for it must be empty, and nothing was there that could be replaced.
    if (!madeFolders_.empty()) return removeTree(context_, target_.get(), kFolderName);
    return retireStaging(target_.get());
}

void Staging::install(const std::string& name, ReceiptChange receipt) {
    syncFolder(staging_.get());
    struct stat staged {};
    struct stat installed {};
    if (!entryExists(staging_.get(), name, staged))
        fail(EX_SOFTWARE, "nothing was staged as " + quoted(name));
    if (entryExists(target_.get(), name, installed) && S_ISDIR(installed.st_mode) &&
        !S_ISDIR(staged.st_mode))
        fail(EX_CANTCREAT, "a folder named " + quoted(name) + " is in the way: remove it");
    Receipts receipts(context_, lock_.productFolder());
    journal_.item = name;
    journal_.staged = staged.st_ino;
    journal_.receipt = receipt;
    if (receipt != ReceiptChange::none)
        journal_.receiptBefore = receipts.has(name) ? ReceiptChange::add : ReceiptChange::remove;
    journal_.digestBefore = receipts.digestOf(name);
    if (receipt == ReceiptChange::add)
        journal_.digest = digestOfFile(openEntry(staging_.get(), name, O_RDONLY).get(), name);
    noteReplaced(name);
    writeJournal(context_, lock_.productFolder(), journal_);
    try {
        takeBitAway(name);
        place(name);
        syncFolder(target_.get());
        receipts.apply(receipt, name, journal_.digest);
    } catch (...) {
        takeBack(name);
        throw;
    }
}

void Staging::noteReplaced(const std::string& name) {
    struct stat status {};
    if (!entryExists(target_.get(), name, status) || !S_ISREG(status.st_mode) ||
        (status.st_mode & (S_ISUID | S_ISGID)) == 0)
        return;
    replaced_ = openEntry(target_.get(), name, O_RDONLY | O_NONBLOCK);
    if (!replaced_) failWithSystemError(EX_OSFILE, "cannot open the installed " + quoted(name));
    journal_.replacedMode = status.st_mode & 07777;
    journal_.replacedDigest = digestOfFile(replaced_.get(), name);
}

/// Anybody may hold it open, and run it as long as it has the bit: also when this run is killed.
void Staging::takeBitAway(const std::string& name) {
    if (replaced_ && ::fchmod(replaced_.get(), journal_.replacedMode & 0777) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot change the permissions of " + quoted(name));
}

void Staging::giveBitBack() {
    if (replaced_ && ::fchmod(replaced_.get(), journal_.replacedMode) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot give the set-user-ID bit back");
}

void Staging::place(const std::string& name) {
    struct stat installed {};
    if (!entryExists(target_.get(), name, installed)) {
        renameEntry(staging_.get(), name, target_.get(), name);
        placed_ = Placed::asNew;
        return;
    }
    switch (exchangeEntries(staging_.get(), name, target_.get(), name)) {
        case Exchanged::done:
            placed_ = Placed::exchanged;
            return;
        case Exchanged::notSupported:
            return replaceByMovingAside(name);
        case Exchanged::failed:
            failWithSystemError(EX_CANTCREAT, "cannot put " + quoted(name) + " in place");
    }
}

void Staging::replaceByMovingAside(const std::string& name) {
    renameEntry(target_.get(), name, staging_.get(), kPreviousName);
    try {
        renameEntry(staging_.get(), name, target_.get(), name);
    } catch (...) {
        leftToTheNextRun_ = true;  // unless the next line puts it back
        renameEntry(staging_.get(), kPreviousName, target_.get(), name);
        leftToTheNextRun_ = false;
        throw;
    }
    placed_ = Placed::besideThePrevious;
}

void Staging::takeBack(const std::string& name) {
    const bool isLeftAlready = std::exchange(leftToTheNextRun_, true);
    if (placed_ == Placed::no) {
        giveBitBack();
        leftToTheNextRun_ = isLeftAlready;
        return;
    }
    if (placed_ == Placed::exchanged) {
        if (exchangeEntries(staging_.get(), name, target_.get(), name) != Exchanged::done) return;
    } else {
        renameEntry(target_.get(), name, staging_.get(), name);
        if (placed_ == Placed::besideThePrevious)
            renameEntry(staging_.get(), kPreviousName, target_.get(), name);
    }
    syncFolder(target_.get());
    // It may have been written although writing it failed.
    Receipts(context_, lock_.productFolder())
        .apply(journal_.receiptBefore, name, journal_.digestBefore);
    giveBitBack();
    placed_ = Placed::no;
    leftToTheNextRun_ = false;
}

}  // namespace quillmore::updatetool
