// The bytes of files that are held by descriptor: read whole, and written into files that are
// always new, never behind a link, and on disk before anybody believes that they are there.
#pragma once

#include <fcntl.h>
#include <sys/types.h>

#include <optional>
#include <string>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// Reads from where the file stands. Fewer than `size` bytes when it ends before; nothing when it
/// cannot be read, with the error number set.
std::optional<std::size_t> readUpTo(int file, void* bytes, std::size_t size);

/// How every file is made.
inline constexpr int kNewFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

/// Writes a new file, gives it its owner and mode, and waits until it is on disk.
void writeFile(const Context& context, int folder, const std::string& name, const Bytes& bytes,
               mode_t mode);

/// The steps of it. `path` is for the message of a failure.
void writeAll(int file, const void* bytes, std::size_t size, const std::string& path);
void finishFile(const Context& context, int file, mode_t mode, const std::string& path);

}  // namespace quillmore::updatetool
