// One run at a time: tools that install wait for each other. Whoever gets the lock first finishes
// or undoes what an interrupted run left (Recovery.h).
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

class RunLock {
public:
    /// What to do when the product folder is missing.
    enum class Missing { fails, isMade };

    /// No run needs as long. One that has had the lock for that time is ended by the next one; what
    /// it had begun is finished or undone.
    static constexpr std::chrono::minutes kLongestHold{10};

    /// Waits as long as another run installs; fails (EX_TEMPFAIL) when one can neither come to its
    /// end nor be ended. The file lies in the product folder and only root may
    /// open it, so that nobody else can hold the lock.
    RunLock(const Context& context, Missing missing);
    /// A run that changed nothing takes the folders and the lock that it made away again. What was
    /// replaced is removed when the lock is free (OldTrees.h).
    ~RunLock();
    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;

    int productFolder() const { return folder_.get(); }
    /// Something was installed: everything stays.
    void keep() { kept_ = true; }

private:
    bool tryToLock(Missing missing);
    void takeAwayWhatWasMade();

    const Context& context_;
    platform::FileDescriptor folder_;
    platform::FileDescriptor file_;
    std::vector<std::string> madeFolders_;
    bool madeFile_ = false;
    bool kept_ = false;
};

}  // namespace quillmore::updatetool
