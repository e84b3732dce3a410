// What the packages of each command may be signed for, and so what they may become. One function a
// kind of command; each fails (EX_USAGE) for any other name.
#pragma once

#include <string>

#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/Targets.h"

namespace quillmore::updatetool {

/// The path of an item directly in one of the target's folders, under a name that no other command
/// has.
SplitPath requireInstallPath(const std::string& path, const Target& target);

void requireUpdateToolsName(const std::string& name);
void requireOrdinaryToolsName(const std::string& name);
void requireZipItemsPath(const std::string& name);
void requireApplicationsPath(const std::string& name);
void requireFixesName(const std::string& name);
/// Empty: the package itself says what it is.
void requireNoName(const std::string& name);

}  // namespace quillmore::updatetool
