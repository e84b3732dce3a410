// The tool's own small files in the product folder, which it believes when it reads them again:
// only root can have written one.
#pragma once

#include <optional>
#include <string>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// Nothing when there is no such file. Fails (EX_OSFILE) unless it is root's, 0600, a plain file
/// with one name and of at most 1 MiB.
std::optional<std::string> readOwnFile(const Context& context, int folder, const std::string& name);

/// Replaces the file in one step; it is on disk when this returns. Fails with EX_CANTCREAT.
void writeOwnFile(const Context& context, int folder, const std::string& name,
                  const std::string& text);
/// It is gone from the disk when this returns. Fails with EX_IOERR; no such file is no failure.
void removeOwnFile(int folder, const std::string& name);
/// Removes what a killed `writeOwnFile` may have left.
void removeUnfinishedOwnFiles(const Context& context, int folder);

}  // namespace quillmore::updatetool
