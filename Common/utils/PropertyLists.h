// Property-list files whose trouble belongs into the log.
#pragma once

#include <optional>
#include <string>

#include "Platform/Values/Value.h"

namespace quillmore {

enum class Trouble { isLogged, isSilent };

/// The dictionary in a file; nothing when it is missing (never logged) or unreadable, damaged, too
/// large or not a dictionary (one error line naming the file and what is wrong, unless silent).
std::optional<platform::Dictionary> dictionaryWithContentsOfFile(
    const std::string& path, Trouble trouble = Trouble::isLogged);

}  // namespace quillmore
