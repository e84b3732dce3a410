// The second helper's one command, "insertfinderoverlay": the running Finder loads the overlay
// bundle that was installed.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

inline constexpr const char* kFinderOverlayFolder = "/Library/Application Support/SIMBL/Plugins";
inline constexpr const char* kFinderOverlayName = "QuillmoreOverlay.bundle";

/// 0, or a status of sysexits.h with one line on `errors`: EX_USAGE for another command line,
/// EX_OSFILE when the bundle is missing or not root's alone, EX_UNAVAILABLE when no Finder runs.
int runFinderOverlayCommand(const Context& context, const std::vector<std::string>& commandLine,
                            std::ostream& errors);

}  // namespace quillmore::updatetool
