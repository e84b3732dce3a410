// Plain text work on UTF-8 strings. Free functions, any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillmore::platform {

/// What separates words in the text forms of values.
inline constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

/// The text without white space at either end.
std::string_view trimmed(std::string_view text);
/// Of the ASCII letters alone, whatever the locale: every other character stays as it is.
constexpr char lowerCase(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}
std::string lowerCase(std::string_view text);

/// Every occurrence replaced, left to right; what was put in is not looked at again. An empty
/// `target` occurs nowhere.
std::string stringByReplacing(std::string_view text, std::string_view target,
                              std::string_view replacement);
/// The parts between the separators: always one more than there are separators.
std::vector<std::string_view> componentsSeparatedBy(std::string_view text, char separator);

}  // namespace quillmore::platform
