// The files that a caller hands in. They are read once, as the caller, into memory that only this
// process can change; the bytes that were verified there are the bytes that are used.
//
// A signature says more than "the distributor made these bytes": it covers a label in front of
// them, with the command that may install them and the name or place they may get. So a signed tool
// cannot be installed under another's name, nor with the set-user-ID bit that it was not meant for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// What a package is signed for: see PackageLabel.h.
struct Purpose {
    std::string command;
    std::string name;
};

/// A regular file with one name, of at most `maximum` bytes; a link, FIFO or device is refused and
/// never waited for.
Bytes readAsCaller(const Context& context, const std::string& path, std::uint64_t maximum);

/// The package's bytes, verified. Fails (EX_DATAERR) unless the signature file is for exactly these
/// bytes and this purpose.
Bytes readVerifiedPackage(const Context& context, const std::string& packagePath,
                          const std::string& signaturePath, const Purpose& purpose);
/// The same for the running program's own file.
Bytes readVerifiedProgram(const Context& context, const std::string& signaturePath,
                          const Purpose& purpose);

}  // namespace quillmore::updatetool
