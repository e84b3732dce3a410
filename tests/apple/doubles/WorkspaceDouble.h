// Double of the Objective-C runtime with two classes: NSWorkspace, and NSAutoreleasePool, which is
// in the ledger as "pool" until it is drained.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <functional>
#include <set>
#include <string>

namespace quillmore::apple {

struct WorkspaceDouble {
    /// Classes that no loaded library has, and messages that objects do not know.
    std::set<std::string> unknownClasses;
    std::set<std::string> unknownMessages;
    /// Makes the array that the workspace hands out, one reference; without one the answer is nil.
    std::function<CFTypeRef()> launchedApplications;
    bool launchSucceeds = true;
    bool recycleSucceeds = true;
};

WorkspaceDouble& workspaceDouble();
void resetWorkspaceDouble();

}  // namespace quillmore::apple
