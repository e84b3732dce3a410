// Property-list files that hold a dictionary.
#pragma once

#include <optional>
#include <string>

#include "Platform/Values/Value.h"

namespace quillmore {

/// What becomes of a file that is there but holds no dictionary.
enum class Damage { isReported, isIgnored };

/// The dictionary in a file; nothing when it is missing (never reported) or unreadable, damaged,
/// too large or not a dictionary (reported by the file's name and what is wrong, unless ignored).
std::optional<platform::Dictionary> dictionaryWithContentsOfFile(
    const std::string& path, Damage damage = Damage::isReported);

}  // namespace quillmore
