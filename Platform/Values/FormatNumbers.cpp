#include "Platform/Values/FormatNumbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "Platform/Values/Text.h"

namespace quillmore::platform {

namespace {

bool isUpperCase(char conversion) {
    return conversion >= 'A' && conversion <= 'Z';
}

void makeUpperCase(std::string& text) {
    for (char& letter : text) {
        if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
    }
}

std::string signOf(bool isNegative, const NumberStyle& style) {
    if (isNegative) return "-";
    if (style.plusSign) return "+";
    return style.blankSign ? " " : "";
}

std::string digitsInBase(std::uint64_t value, int base) {
    std::array<char, 24> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, base);
    return std::string(buffer.data(), end.ptr);
}

int baseOf(char conversion) {
    if (conversion == 'x' || conversion == 'X') return 16;
    return conversion == 'o' ? 8 : 10;
}

NumberParts integerParts(std::uint64_t magnitude, const NumberStyle& style) {
    NumberParts parts;
    parts.mayBeZeroPadded = style.precision < 0;
    // printf prints a zero of precision zero as nothing at all.
    if (magnitude != 0 || style.precision != 0) {
        parts.digits = digitsInBase(magnitude, baseOf(style.conversion));
    }
    const auto least = static_cast<std::size_t>(std::max(style.precision, 0));
    if (parts.digits.size() < least) parts.digits.insert(0, least - parts.digits.size(), '0');
    return parts;
}

/// Long enough for every fixed form: 309 digits before the point.
std::string printed(double value, std::chars_format form, int precision) {
    std::string buffer(static_cast<std::size_t>(precision) + 400, '\0');
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, form, precision);
    buffer.resize(static_cast<std::size_t>(end.ptr - buffer.data()));
    return buffer;
}

/// The '#' flag: a point even where no digit follows it.
void ensurePoint(std::string& digits, char exponentMark) {
    if (digits.find('.') != std::string::npos) return;
    digits.insert(std::min(digits.find(exponentMark), digits.size()), 1, '.');
}

int decimalExponent(const std::string& scientific) {
    int exponent = 0;
    const std::size_t mark = scientific.find('e');
    const char* first = scientific.data() + mark + (scientific[mark + 1] == '+' ? 2 : 1);
    std::from_chars(first, scientific.data() + scientific.size(), exponent);
    return exponent;
}

/// `%#g` keeps the zeros at the end, which to_chars drops; so choose the form as C prescribes.
std::string generalWithZeros(double value, int precision) {
    const std::string scientific = printed(value, std::chars_format::scientific, precision - 1);
    const int exponent = decimalExponent(scientific);
    if (exponent < -4 || exponent >= precision) return scientific;
    return printed(value, std::chars_format::fixed, precision - 1 - exponent);
}

std::string hexadecimal(double value, int precision) {
    if (precision >= 0) return printed(value, std::chars_format::hex, precision);
    std::array<char, 40> buffer;
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::hex);
    return std::string(buffer.data(), end.ptr);
}

std::string finiteDigits(double magnitude, char conversion, const NumberStyle& style) {
    const int precision = style.precision < 0 ? 6 : style.precision;
    switch (conversion) {
        case 'f':
            return printed(magnitude, std::chars_format::fixed, precision);
        case 'e':
            return printed(magnitude, std::chars_format::scientific, precision);
        case 'a':
            return hexadecimal(magnitude, style.precision);
        default:
            if (style.alternate) return generalWithZeros(magnitude, std::max(precision, 1));
            return printed(magnitude, std::chars_format::general, precision);
    }
}

}  // namespace

NumberParts signedParts(std::int64_t value, const NumberStyle& style) {
    const bool isNegative = value < 0;
    const auto bits = static_cast<std::uint64_t>(value);
    NumberParts parts = integerParts(isNegative ? 0 - bits : bits, style);
    parts.prefix = signOf(isNegative, style);
    return parts;
}

NumberParts unsignedParts(std::uint64_t value, const NumberStyle& style) {
    NumberParts parts = integerParts(value, style);
    if (style.alternate && style.conversion == 'o' && !parts.digits.starts_with('0')) {
        parts.digits.insert(0, 1, '0');
    }
    if (style.alternate && value != 0 && style.conversion == 'x') parts.prefix = "0x";
    if (style.conversion == 'X') {
        if (style.alternate && value != 0) parts.prefix = "0X";
        makeUpperCase(parts.digits);
    }
    return parts;
}

NumberParts doubleParts(double value, const NumberStyle& style) {
    NumberParts parts;
    const char conversion = lowerCase(style.conversion);
    parts.prefix = signOf(std::signbit(value) && !std::isnan(value), style);
    if (std::isfinite(value)) {
        parts.digits = finiteDigits(std::fabs(value), conversion, style);
        if (style.alternate) ensurePoint(parts.digits, conversion == 'a' ? 'p' : 'e');
        if (conversion == 'a') parts.prefix += "0x";
    } else {
        parts.digits = std::isnan(value) ? "nan" : "inf";
        parts.mayBeZeroPadded = false;
    }
    if (isUpperCase(style.conversion)) {
        makeUpperCase(parts.prefix);
        makeUpperCase(parts.digits);
    }
    return parts;
}

}  // namespace quillmore::platform
