// A table of localised strings (".strings": pairs of key and text, UTF-8 or UTF-16 with or without
// a byte order mark, comments, escapes; an XML or binary property list with string values also
// counts).
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "Platform/Values/Result.h"

namespace quillmore::platform {

class FileManager;

using StringTable = std::map<std::string, std::string, std::less<>>;

/// A syntax error names the line. Of a key that occurs twice the last text holds.
Result<StringTable> parseStringTable(std::string_view bytes);
Result<StringTable> readStringTable(const FileManager& fileManager, const std::string& path);

}  // namespace quillmore::platform
