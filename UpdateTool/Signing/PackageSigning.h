// Signs packages for updateqm and verifies what was signed: for the one command that may install a
// package and for what it may become there (see PackageLabel.h). A tool of the distributor's; it
// follows links, but waits for no pipe, asks for no pass phrase, and writes a signature whole or
// not at all.
#pragma once

#include <ostream>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

///     PRIVATE_KEY_PEM FILE SIGNATURE_FILE COMMAND [NAME]            makes both signature files
///     --verify PUBLIC_KEY_PEM FILE SIGNATURE_FILE COMMAND [NAME]    checks both
///
/// 0 when all of it is done; else a status of sysexits.h with one line on `errors`:
///   EX_USAGE      the command line, or a label that no command of updateqm would take
///   EX_DATAERR    a key that cannot serve, a file that is empty or too large for a package, a
///                 signature that does not match
///   EX_NOINPUT    a file that is missing, no plain file, or cannot be opened
///   EX_CANTCREAT  a signature that cannot be written
///   EX_IOERR      a file that cannot be read to its end
int signPackage(const Arguments& commandLine, std::ostream& errors);

}  // namespace quillmore::updatetool
