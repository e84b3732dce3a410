// The encodings that text files come in: UTF-8 and UTF-16. Free functions, any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillmore::platform {

enum class ByteOrder { littleEndian, bigEndian };

/// Strict: no overlong forms, no surrogates, nothing above U+10FFFF.
bool isUtf8(std::string_view bytes);
/// Code points of valid UTF-8; in other bytes every one that is not a continuation counts.
std::size_t utf8Length(std::string_view text);
/// The first `count` code points.
std::string_view utf8Prefix(std::string_view text, std::size_t count);
/// Surrogates and values above U+10FFFF become U+FFFD, so the result stays valid UTF-8.
void appendUtf8(std::string& text, char32_t codePoint);
/// The text with every byte that is not part of valid UTF-8 replaced by U+FFFD.
std::string repairedUtf8(std::string_view text);

inline bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
inline bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}
inline char32_t joinSurrogates(char32_t high, char32_t low) {
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

/// Nothing for an odd number of bytes or a surrogate without its partner.
std::optional<std::string> utf8FromUtf16(std::string_view bytes, ByteOrder order);

/// The text of a file without its byte order mark; `storage` holds it when it had to be converted.
/// UTF-16 is told by its mark, or without one by a zero byte among the first two, since the first
/// character of the formats read here is ASCII. Nothing when the bytes are neither encoding.
std::optional<std::string_view> textOfFile(std::string_view bytes, std::string& storage);

}  // namespace quillmore::platform
