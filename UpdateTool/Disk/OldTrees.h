// What an installation replaced is removed when everything else is done and the lock is free: it
// may have been a user's, and as large as they like. It waits under a name of its own where it was,
// in a folder that only root can open; a run that is killed leaves it to the next one.
#pragma once

#include <string>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// In a target folder: this and a number.
inline constexpr const char* kOldTreePrefix = ".quillmore-old.";

/// Takes the staging folder out of the way of later runs, with all that is in it; true also when
/// there was none. False when it cannot be done, with the error number set.
bool retireStaging(int target);

/// Removes what waits in all target folders, but for what another run removes at the moment. What
/// holds out is put aside, for an administrator to look at. Call without the lock.
void removeOldTrees(const Context& context);

}  // namespace quillmore::updatetool
