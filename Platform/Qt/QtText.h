// Texts of the program as the toolkit's controls take them: no character steers anything.
#pragma once

#include <QString>
#include <string>

class QPushButton;

namespace quillmore::platform {

/// For labels, which must be set to plain text.
QString labelText(const std::string& text);
/// For check boxes and buttons: an ampersand is an ampersand.
QString buttonText(const std::string& text);
/// Gives a button its title and at least the width for all of it.
void setTitle(QPushButton& button, const std::string& title);
/// For title bars: "[*]" is no mark of a changed document.
QString titleText(const std::string& text);

}  // namespace quillmore::platform
