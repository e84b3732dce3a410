// Commands that put a single signed tool file into the product folder.
#pragma once

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// "repair SIGNATURE": the running program itself, as updateqm, set-user-ID root.
void repair(const Context& context, const Arguments& arguments);
/// "repairother PACKAGE SIGNATURE": root's, 0755, under the package's own file name.
void repairOther(const Context& context, const Arguments& arguments);
/// "repairotherroot PACKAGE SIGNATURE": the same, set-user-ID root, with a receipt.
void repairOtherRoot(const Context& context, const Arguments& arguments);

}  // namespace quillmore::updatetool
