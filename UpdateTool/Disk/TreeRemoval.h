// Whole trees listed and removed below a descriptor. No function here follows a link or leaves the
// folder that it was given, whatever somebody else put into it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

using Names = std::vector<std::string>;
/// What is in a folder, not all of it when there is more. Nothing when it cannot be listed.
std::optional<Names> namesIn(int folder, std::size_t maximum);

/// Removes a file, link or whole folder, out of a folder of root's. True also when there was none.
/// False when not all of it could be removed: an installed item may be somebody else's, full of
/// what holds out, and nobody waits for that.
bool removeTree(const Context& context, int parent, const std::string& name);

}  // namespace quillmore::updatetool
