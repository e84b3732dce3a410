// Commands that give modes back to what is the caller's own as a rule.
#pragma once

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// "repaircore PATH": the core application's folder is 0755 again.
void repairCore(const Context& context, const Arguments& arguments);
/// "fixmonokeypairs PATH": the caller's key pairs are the caller's alone.
void fixMonoKeypairs(const Context& context, const Arguments& arguments);

}  // namespace quillmore::updatetool
