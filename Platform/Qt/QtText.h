// Texts of the program as the toolkit's controls take them: no character steers anything.
#pragma once

#include <QString>
#include <string>

namespace quillmore::platform {

/// For labels, which must be set to plain text.
QString labelText(const std::string& text);
/// For buttons and check boxes: an ampersand is an ampersand.
QString buttonText(const std::string& text);
/// For title bars: "[*]" is no mark of a changed document.
QString titleText(const std::string& text);

}  // namespace quillmore::platform
