// A verified ZIP archive, read from memory.
#pragma once

#include <set>
#include <string>

#include "UpdateTool/Ground/ArchiveEntries.h"
#include "UpdateTool/Ground/Context.h"
#include "UpdateTool/Packages/EntryNames.h"

namespace quillmore::updatetool {

/// Looks at the whole archive, every checksum included; only then hands its entries to `take`.
/// Returns the names at its top. Fails (EX_DATAERR) for anything that EntryNames refuses, for
/// links, devices, encrypted entries, unknown compression, damaged contents, and an expansion that
/// no honest package has.
std::set<std::string> readZipArchive(const Bytes& archive, TopLevel topLevel,
                                     const TakeEntry& take);

}  // namespace quillmore::updatetool
