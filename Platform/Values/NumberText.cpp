#include "Platform/Values/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace quillmore::platform {

namespace {

/// Whether a number that no double can hold is too small rather than too large: the power of ten
/// of its first digit that is not zero, which lies far from 0 either way.
bool isTooSmall(std::string_view text) {
    const std::size_t mark = std::min(text.find_first_of("eE"), text.size());
    const std::string_view digits = text.substr(0, mark);
    const auto point = static_cast<std::ptrdiff_t>(std::min(digits.find('.'), digits.size()));
    const auto first = static_cast<std::ptrdiff_t>(digits.find_first_of("123456789"));
    std::ptrdiff_t exponent = 0;
    if (mark < text.size()) {
        std::string_view written = text.substr(mark + 1);
        if (written.starts_with('+')) written.remove_prefix(1);
        const auto outcome =
            std::from_chars(written.data(), written.data() + written.size(), exponent);
        if (outcome.ec != std::errc()) return written.starts_with('-');
    }
    constexpr std::ptrdiff_t limit = std::numeric_limits<std::ptrdiff_t>::max() / 2;
    return std::clamp(exponent, -limit, limit) + point - first < 0;
}

}  // namespace

std::string textFromDouble(double value) {
    if (std::isnan(value)) return "nan";
    std::array<char, 40> buffer;
    std::string_view text;
    for (int digits = 15; digits <= 17; ++digits) {
        const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                       std::chars_format::general, digits);
        text = std::string_view(buffer.data(), static_cast<std::size_t>(end.ptr - buffer.data()));
        if (doubleFromText(text) == value) break;
    }
    return std::string(text);
}

std::optional<double> doubleFromText(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return std::nullopt;
    }
    // from_chars would also take the "nan(...)" of the C library.
    if (text.ends_with(')')) return std::nullopt;
    double value = 0;
    const auto outcome = std::from_chars(text.data(), text.data() + text.size(), value);
    if (outcome.ptr != text.data() + text.size() || outcome.ec == std::errc::invalid_argument) {
        return std::nullopt;
    }
    if (outcome.ec == std::errc::result_out_of_range) {
        value = isTooSmall(text) ? 0.0 : std::numeric_limits<double>::infinity();
        return text.starts_with('-') ? -value : value;
    }
    return value;
}

}  // namespace quillmore::platform
