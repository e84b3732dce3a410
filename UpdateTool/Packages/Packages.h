// The files that a caller hands in. They are opened once, as the caller, and verified piece by
// piece, so that only what the distributor signed is ever held; then they are read into memory that
// only this process can change, and verified there: those bytes are the bytes that are used.
//
// A signature says more than "the distributor made these bytes": it covers a label in front of
// them, with the command that may install them and the name or place they may get. So a signed tool
// cannot be installed under another's name, nor with the set-user-ID bit that it was not meant for.
#pragma once

#include <cstdint>
#include <string>

#include "UpdateTool/Ground/Context.h"
#include "UpdateTool/Packages/InputFile.h"
#include "UpdateTool/Packages/Signatures.h"

namespace quillmore::updatetool {

/// A regular file with one name, of at most `maximum` bytes; a link, FIFO or device is refused and
/// never waited for.
InputFile openAsCaller(const Context& context, const std::string& path, std::uint64_t maximum);

/// The package's bytes, verified. Fails (EX_DATAERR) unless the signature file, and the second one
/// beside it, are for exactly these bytes and this purpose. The second may be missing (that, and
/// no other trouble with it) unless the context requires it (EX_NOINPUT).
Bytes readVerifiedPackage(const Context& context, const std::string& packagePath,
                          const std::string& signaturePath, const Purpose& purpose);
/// The same for the running program's own file.
Bytes readVerifiedProgram(const Context& context, const std::string& signaturePath,
                          const Purpose& purpose);

}  // namespace quillmore::updatetool
