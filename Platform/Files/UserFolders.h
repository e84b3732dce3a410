// The file in which a desktop keeps the places of the user's folders (xdg-user-dirs).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillmore::platform {

/// The folder that the last usable line `KEY="$HOME/..."` or `KEY="/..."` of the file's text names;
/// nothing without one. A backslash takes the next character as it is.
std::optional<std::string> userFolderInText(std::string_view text, std::string_view key,
                                            std::string_view homeFolder);

}  // namespace quillmore::platform
