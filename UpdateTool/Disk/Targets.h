// Where each kind of item may go, and which modes it may get: all that this program ever writes
// outside its own files is in one table.
#pragma once

#include <sys/types.h>

#include <set>
#include <string>
#include <vector>

namespace quillmore::updatetool {

/// Which files of a tree become executable.
enum class Executables { none, inMacOSFolders, asPacked };

struct Target {
    const char* command;
    std::vector<const char*> folders;
    mode_t fileMode;  ///< Of a file that is not executable; of the only file for a tool.
    Executables executables = Executables::none;  ///< These get 0755; so does every folder.
};

/// Ends the process for a command that installs nothing.
const Target& targetOf(const std::string& command);
/// Each once.
std::set<std::string> targetFolders();
bool isTargetFolder(const std::string& folder);

}  // namespace quillmore::updatetool
