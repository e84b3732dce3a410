// Floating-point numbers as text, always with a point whatever the locale. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillmore::platform {

/// What separates words in the text forms of values.
inline constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

/// The text without white space at either end.
std::string_view trimmed(std::string_view text);
/// The shortest of the `%g` forms with 15 to 17 digits that reads back as the same number; "inf",
/// "-inf", "nan".
std::string textFromDouble(double value);
/// The whole text must be a decimal number or a name of infinity or not-a-number. Too large a
/// number is infinite, too small a one zero.
std::optional<double> doubleFromText(std::string_view text);

}  // namespace quillmore::platform
