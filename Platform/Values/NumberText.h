// Floating-point numbers as text, always with a point whatever the locale. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillmore::platform {

/// The shortest of the `%g` forms with 15 to 17 digits that reads back as the same number; "inf",
/// "-inf", "nan".
std::string textFromDouble(double value);
/// The whole text must be a decimal number or a name of infinity or not-a-number. Too large a
/// number is infinite, too small a one zero.
std::optional<double> doubleFromText(std::string_view text);

}  // namespace quillmore::platform
