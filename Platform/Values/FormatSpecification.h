// One conversion specification of a format ("%-08.3lx"), taken apart. Internal to Format.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace quillmore::platform {

/// Widths and precisions beyond this are held to it: a hostile translation must not be able to
/// exhaust the memory.
inline constexpr int kMaximumFormatWidth = 10'000;

/// A width or precision: none, a number, or an argument ("*", "*2$").
struct FormatCount {
    enum class Kind { none, number, nextArgument, argumentAt };
    Kind kind = Kind::none;
    /// The number, or the position of the argument, counted from 1.
    std::size_t number = 0;
};

enum class FormatLength { none, byte, half, wide };

struct FormatSpecification {
    /// From the '%' to the conversion character.
    std::string_view text;
    /// Position of the argument, counted from 1; none takes the next one.
    std::optional<std::size_t> position;
    bool leftAligned = false;
    bool plusSign = false;
    bool blankSign = false;
    bool alternate = false;
    bool zeroPadded = false;
    FormatCount width;
    FormatCount precision;
    FormatLength length = FormatLength::none;
    /// 0 when the format ends within it.
    char conversion = 0;
};

/// `text` begins with the '%'.
FormatSpecification parseFormatSpecification(std::string_view text);

}  // namespace quillmore::platform
