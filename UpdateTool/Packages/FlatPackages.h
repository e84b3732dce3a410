// Flat installer packages: a xar archive that holds PackageInfo (XML, with the install location)
// and Payload (a gzip'd cpio archive). Read from the very bytes that were verified, by readers of
// our own: what is needed of the two formats is small, and what is not there cannot be attacked.
#pragma once

#include <string>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

struct FlatPackage {
    std::string installLocation;
    Bytes payload;
};

/// Fails (EX_DATAERR) when it is no such package.
FlatPackage readFlatPackage(const Bytes& package);

}  // namespace quillmore::updatetool
