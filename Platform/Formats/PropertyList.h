// Reading and writing property lists: XML by pugixml, binary by a checked table of our own.
// Any input is safe: size, depth and kind are bounded and every failure is an error that says why.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/Values/Result.h"
#include "Platform/Values/Value.h"

namespace quillmore::platform {

class FileManager;

/// Larger files are refused unread: no settings file comes near it.
inline constexpr std::uint64_t kMaximumPropertyListBytes = 32ULL * 1024 * 1024;
/// Containers inside containers; deeper lists are refused.
inline constexpr int kMaximumPropertyListDepth = 128;

/// The format is told from the first bytes ("bplist" or text). Errors are of `kFileErrorDomain`.
Result<Value> parsePropertyList(std::string_view bytes);
/// Reads a file; only regular files are opened (a FIFO or a device gives an error, it does not
/// hang). Errors of `kPosixErrorDomain` with ENOENT mean that nothing is there.
Result<Value> readPropertyList(const FileManager& fileManager, const std::string& path);
/// XML text, UTF-8, with the usual document type. Null values have no form there and are left out.
std::string writePropertyList(const Value& value);

}  // namespace quillmore::platform
