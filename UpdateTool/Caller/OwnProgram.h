// What differs between systems about the program itself.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace quillmore::updatetool {

/// A path whose opening gives the running program's own file.
std::string ownProgramPath();
/// Groups whose members may become root anyway, and to which system folders belong there.
std::vector<gid_t> trustedGroups();
/// Where the system keeps its logs; a path without links.
const char* systemLogFolder();
/// Closes every descriptor from 3 up, however high. False when the system cannot.
bool closeOtherDescriptors();
/// The processor's and the disk's ordinary share, on any processor, and no preference of the memory
/// killer's: others wait for this one.
void takeOrdinaryPriority();
/// An administrator authorised this run: it was started by root, or given root by the system and
/// not by its own set-user-ID bit.
bool isAdministratorsRun(const std::string& programPath);

}  // namespace quillmore::updatetool
