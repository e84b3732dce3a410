// The root-only folder in which an item is prepared, inside the folder that it is installed into
// and therefore on the same volume. Everything is unpacked and checked in here; one exchange at the
// end makes it visible, and what was there before goes when the staging folder goes.
//
// The journal says at each moment what a later run would have to do about a run that was killed:
//   1. journal: target folder             2. folders and staging made, item prepared and on disk
//   3. journal: the item and its inode; the tool that it replaces loses its set-user-ID bit
//   4. exchanged: this is the moment of installation
//   5. receipt                            6. staging retired (OldTrees.h)    7. journal removed
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/Journal.h"
#include "UpdateTool/Disk/RunLock.h"
#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

class Staging {
public:
    /// Opens the target folder, made when missing, and a fresh staging folder in it.
    Staging(const Context& context, RunLock& lock, const std::string& targetFolder);
    /// Removes the staging folder and all in it, and when nothing was installed the folders that
    /// were made for it.
    ~Staging();
    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;

    int folder() const { return staging_.get(); }
    int target() const { return target_.get(); }
    const std::string& targetFolder() const { return journal_.folder; }

    /// Makes the staged entry `name` the entry `name` of the target folder and changes its receipt:
    /// both or neither. A folder is never replaced by a file.
    void install(const std::string& name, ReceiptChange receipt);

    static constexpr const char* kFolderName = ".quillmore-staging";
    /// In the staging folder: an installed item that was moved aside.
    static constexpr const char* kPreviousName = ".previous";

private:
    enum class Placed { no, asNew, exchanged, besideThePrevious };

    void prepare(const std::string& targetFolder);
    void place(const std::string& name);
    void noteReplaced(const std::string& name);
    void takeBitAway(const std::string& name);
    void giveBitBack();
    void replaceByMovingAside(const std::string& name);
    void takeBack(const std::string& name);
    void clear();
    bool discard();

    const Context& context_;
    RunLock& lock_;
    platform::FileDescriptor target_;
    platform::FileDescriptor staging_;
    std::vector<std::string> madeFolders_;
    platform::FileDescriptor replaced_;  ///< A tool that has the bit until it is replaced.
    JournalEntry journal_;
    Placed placed_ = Placed::no;
    /// The item could not be taken back; the next run sees to it.
    bool leftToTheNextRun_ = false;
};

/// Fails (EX_OSFILE) when it cannot be told, and for what is mounted there.
bool entryExists(int folder, const std::string& name, struct stat& status);

}  // namespace quillmore::updatetool
