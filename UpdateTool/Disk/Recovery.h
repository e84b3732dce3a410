// What a run that was killed left behind: finished when its item is in place already, undone when
// it is not. Either way the item is the old one or the new one, and nothing else is left.
#pragma once

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// Called with the lock held, before anything else is done. Fails when the system does not let it
/// put things in order; then nothing else is done either.
void recover(const Context& context, int productFolder);

}  // namespace quillmore::updatetool
