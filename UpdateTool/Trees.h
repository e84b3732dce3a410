// Single files written, and whole trees removed, below a descriptor. No function here follows a
// link or leaves the folder it was given.
#pragma once

#include <sys/types.h>

#include <string>

#include "UpdateTool/Context.h"
#include "UpdateTool/Packages.h"

namespace quillmore::updatetool {

/// Removes a file, link or whole folder, however deep. True also when there was none.
bool removeTree(int parent, const std::string& name);

/// Writes a new file, gives it its owner and mode, and waits until it is on disk.
void writeFile(const Context& context, int folder, const std::string& name, const Bytes& bytes,
               mode_t mode);

/// The steps of it. `shown` names the file in the message of a failure.
void writeAll(int file, const void* bytes, std::size_t size, const std::string& shown);
void finishFile(const Context& context, int file, mode_t mode, const std::string& shown);

}  // namespace quillmore::updatetool
