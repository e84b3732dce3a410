// The payload of a flat package: cpio in its two portable forms, with numbers in octal digits
// ("odc") or hexadecimal ones ("newc"), inside gzip.
#pragma once

#include <string>

#include "UpdateTool/Ground/ArchiveEntries.h"
#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// Looks at the whole payload; only then hands its entries to `take`. Returns the name of the one
/// folder at its top. Fails (EX_DATAERR) for names that EntryNames refuses, hard links, devices,
/// links that are absolute or lead upwards, and an expansion that no honest package has.
std::string readPayload(const Bytes& payload, const TakeEntry& take);

}  // namespace quillmore::updatetool
