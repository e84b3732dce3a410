// Commands that put a folder from a signed ZIP archive in place.
#pragma once

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// "repairzipitem ARCHIVE SIGNATURE INSTALLPATH": a plug-in, directly in one of three folders.
void repairZipItem(const Context& context, const Arguments& arguments);
/// "repairintel10_5 ARCHIVE SIGNATURE": all of the archive, as Fixes10_5 of the product folder.
void repairIntelFixes(const Context& context, const Arguments& arguments);
/// "applyfullupdate ARCHIVE SIGNATURE INSTALLPATH": an application, directly in /Applications.
void applyFullUpdate(const Context& context, const Arguments& arguments);

}  // namespace quillmore::updatetool
