// Single files written, and whole trees removed, below a descriptor. No function here follows a
// link or leaves the folder it was given.
#pragma once

#include <fcntl.h>

#include <optional>
#include <string>
#include <vector>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// How every file is made.
inline constexpr int kNewFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

using Names = std::vector<std::string>;
/// What is in a folder, not all of it when there is more. Nothing when it cannot be listed.
std::optional<Names> namesIn(int folder, std::size_t maximum);

/// Removes a file, link or whole folder, out of a folder of root's. True also when there was none.
/// False when not all of it could be removed: an installed item may be somebody else's, full of
/// what holds out, and nobody waits for that.
bool removeTree(const Context& context, int parent, const std::string& name);

/// Writes a new file, gives it its owner and mode, and waits until it is on disk.
void writeFile(const Context& context, int folder, const std::string& name, const Bytes& bytes,
               mode_t mode);

/// The steps of it. `shown` names the file in the message of a failure.
void writeAll(int file, const void* bytes, std::size_t size, const std::string& shown);
void finishFile(const Context& context, int file, mode_t mode, const std::string& shown);

}  // namespace quillmore::updatetool
