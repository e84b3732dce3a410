// Entries of a held folder, for trees that may change at any moment.
#pragma once

#include <fcntl.h>

#include <string>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::platform::administrator {

/// Opens an entry to read it, with the identity of the moment: never through a link, never into
/// another file system, without waiting for a FIFO. On a failure `errno` says why.
FileDescriptor openEntry(int folder, const std::string& name, int flags = 0);

}  // namespace quillmore::platform::administrator
