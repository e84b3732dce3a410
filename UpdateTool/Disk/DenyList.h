// What an administrator keeps from everybody: a file "updateqm.deny" in the product folder, one
// item a line, by its name or its absolute path. A line that begins with "#" is a remark.
#pragma once

#include <string>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

inline constexpr const char* kDenyListName = "updateqm.deny";

/// Fails (EX_NOPERM) for an item of that folder that is in the list, capitals or not, and for the
/// list itself; (EX_CONFIG) for a list that others than root could have written, or over 1 MiB.
void requireAllowed(const Context& context, int productFolder, const std::string& folder,
                    const std::string& name);

}  // namespace quillmore::updatetool
