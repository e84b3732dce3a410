// The script texts that the Finder is driven with, byte for byte.
#pragma once

#include <string>

namespace quillmore {

/// Hands back the paths of the items that are selected in the Finder.
std::string selectionScript();
/// The same after the client's core and then the Finder were brought to the front.
std::string retrySelectionScript(const std::string& productName);
/// Whether connected servers are shown on the desktop.
std::string showConnectedServersScript();
std::string setShowConnectedServersScript(bool show);
/// Has the Finder look at a file anew. Deliberate: quotes and backslashes of the path go into the
/// text as they are.
std::string updateFileScript(const std::string& path);

}  // namespace quillmore
