// Flat installer packages: a xar archive that holds PackageInfo (XML, with the install location)
// and Payload (a gzip'd cpio archive). Read from the very bytes that were verified, by readers of
// our own: what is needed of the two formats is small, and what is not there cannot be attacked.
#pragma once

#include <string>

#include "UpdateTool/Ground/ArchiveEntries.h"
#include "UpdateTool/Packages/Packages.h"

namespace quillmore::updatetool {

struct FlatPackage {
    std::string installLocation;
    Bytes payload;
};

/// Fails (EX_DATAERR) when it is no such package.
FlatPackage readFlatPackage(const Bytes& package);

/// Looks at the whole payload; only then hands its entries to `take`. Returns the name of the one
/// folder at its top. Fails (EX_DATAERR) for names that EntryNames refuses, hard links, devices,
/// links that are absolute or lead upwards, and an expansion that no honest package has.
std::string readPayload(const Bytes& payload, const TakeEntry& take);

}  // namespace quillmore::updatetool
