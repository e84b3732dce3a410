// Searching in text as a reader would. Any thread.
#pragma once

#include <string_view>

namespace quillmore::Substring {

/// True when `substring` occurs in `text` with case ignored. Compared are characters in their fully
/// folded and canonically decomposed form: "STRASSE" occurs in "Straße", an accented letter equals
/// the letter followed by its accent, and a letter alone does not occur in an accented one. An
/// empty substring occurs nowhere. Bytes that are not UTF-8 count as U+FFFD.
bool hasCaseInsensitiveSubstring(std::string_view text, std::string_view substring);

}  // namespace quillmore::Substring
