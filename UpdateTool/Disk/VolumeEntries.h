// Entries of a folder, opened and examined without leaving the volume that the folder is on. A user
// may mount a volume of their own over what is theirs, inside an installed item too, and a program
// of theirs answers for it, or never does: nothing here asks such a volume anything.
#pragma once

#include <sys/stat.h>

#include <string>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::updatetool {

/// The entry `name` (one component, or ".") of the folder, never behind a link; close-on-exec.
/// Empty when it cannot be opened, with the error number set: EXDEV for whatever is mounted there,
/// also for another folder of the same volume.
platform::FileDescriptor openEntry(int folder, const std::string& name, int flags);
/// What an entry is, a link itself being one. False with the error number set, as above.
bool examineEntry(int folder, const std::string& name, struct stat& status);

}  // namespace quillmore::updatetool
