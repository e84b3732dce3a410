// What a run is about to change, written down before it does: a file in the product folder that
// only root reads and writes. It is there as long as an installation is under way, and holds all
// that a later run needs to finish or undo it.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// What happens to an item's receipt when it is in place.
enum class ReceiptChange { none, add, remove };

struct JournalEntry {
    uid_t caller = 0;                ///< Whose run it is.
    std::string folder;              ///< The target folder; the staging folder is in it.
    std::size_t presentFolders = 0;  ///< How many of its components were there before.
    std::string item;                ///< Empty as long as nothing is being put in place.
    ino_t staged = 0;                ///< The inode of the item that is being put in place.
    ReceiptChange receipt = ReceiptChange::none;
    ReceiptChange receiptBefore = ReceiptChange::none;  ///< What undoes it.
    std::string digest;                                 ///< Of the receipt; "" for none.
    std::string digestBefore;                           ///< Of the receipt that undoes it.
    /// The tool that is being replaced, when it has the set-user-ID bit and loses it beforehand:
    /// what its mode is, and which bytes get that back if they stay. 0 and "" otherwise.
    mode_t replacedMode = 0;
    std::string replacedDigest;
};

/// Atomically, and on disk when it returns. Fails with EX_CANTCREAT.
void writeJournal(const Context& context, int productFolder, const JournalEntry& entry);
/// Nothing when there is none. Fails (EX_OSFILE) for one that is not root's own or makes no sense.
std::optional<JournalEntry> readJournal(const Context& context, int productFolder);
void removeJournal(int productFolder);

}  // namespace quillmore::updatetool
