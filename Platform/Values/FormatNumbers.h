// Numbers by the rules of printf, with a point whatever the locale. Internal to Format.
#pragma once

#include <cstdint>
#include <string>

namespace quillmore::platform {

/// A number before it is padded: zeros go between the prefix (sign, "0x") and the digits.
struct NumberParts {
    std::string prefix;
    std::string digits;
    bool mayBeZeroPadded = true;
};

struct NumberStyle {
    /// One of "diuoxXfFeEgGaA".
    char conversion = 'd';
    /// Negative: none given.
    int precision = -1;
    bool plusSign = false;
    bool blankSign = false;
    bool alternate = false;
};

NumberParts signedParts(std::int64_t value, const NumberStyle& style);
NumberParts unsignedParts(std::uint64_t value, const NumberStyle& style);
NumberParts doubleParts(double value, const NumberStyle& style);

}  // namespace quillmore::platform
