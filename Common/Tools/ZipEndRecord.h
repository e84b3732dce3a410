// What the end of a ZIP archive says, where the library that reads archives does not tell: it takes
// every empty archive whose end record comes first for a damaged one, and one whose end record
// breaks off for an empty one. Any thread.
#pragma once

#include <string>

namespace quillmore {

/// Whether the file ends with a whole end record, of either size, that speaks of no entries.
bool isArchiveWithoutEntries(const std::string& path);

}  // namespace quillmore
