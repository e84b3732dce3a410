#include "Platform/Values/TextEncoding.h"

#include <cstdint>
#include <cstring>

namespace quillmore::platform {

namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;

std::uint8_t byteAt(std::string_view text, std::size_t index) {
    return static_cast<std::uint8_t>(text[index]);
}

bool isContinuation(std::string_view text, std::size_t index) {
    return index < text.size() && (byteAt(text, index) & 0xC0) == 0x80;
}

/// Bytes of the valid sequence at `index`, 0 when there is none (table 3-7 of the Unicode
/// standard).
std::size_t sequenceLength(std::string_view text, std::size_t index) {
    const std::uint8_t lead = byteAt(text, index);
    if (lead < 0x80) return 1;
    if (lead < 0xC2 || lead > 0xF4 || !isContinuation(text, index + 1)) return 0;
    if (lead < 0xE0) return 2;
    const std::uint8_t second = byteAt(text, index + 1);
    if (!isContinuation(text, index + 2)) return 0;
    if (lead < 0xF0) {
        if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F)) return 0;
        return 3;
    }
    if ((lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) return 0;
    return isContinuation(text, index + 3) ? 4 : 0;
}

/// The first place from `index` on that is not ASCII. Eight bytes a step: almost all of every file
/// is ASCII.
std::size_t skipAscii(std::string_view text, std::size_t index) {
    while (index + sizeof(std::uint64_t) <= text.size()) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + index, sizeof(word));
        if ((word & 0x8080808080808080ULL) != 0) break;
        index += sizeof(word);
    }
    while (index < text.size() && byteAt(text, index) < 0x80) ++index;
    return index;
}

char32_t unitAt(std::string_view bytes, std::size_t index, ByteOrder order) {
    const char32_t first = byteAt(bytes, index);
    const char32_t second = byteAt(bytes, index + 1);
    return order == ByteOrder::bigEndian ? (first << 8 | second) : (second << 8 | first);
}

struct Utf16Form {
    ByteOrder order;
    std::size_t markBytes;
};

std::optional<Utf16Form> utf16Form(std::string_view bytes) {
    if (bytes.starts_with("\xFF\xFE")) return Utf16Form{ByteOrder::littleEndian, 2};
    if (bytes.starts_with("\xFE\xFF")) return Utf16Form{ByteOrder::bigEndian, 2};
    if (bytes.size() < 2 || (bytes[0] == 0) == (bytes[1] == 0)) return std::nullopt;
    return Utf16Form{bytes[0] == 0 ? ByteOrder::bigEndian : ByteOrder::littleEndian, 0};
}

}  // namespace

bool isUtf8(std::string_view bytes) {
    for (std::size_t index = skipAscii(bytes, 0); index < bytes.size();) {
        const std::size_t length = sequenceLength(bytes, index);
        if (length == 0) return false;
        index = skipAscii(bytes, index + length);
    }
    return true;
}

std::size_t utf8Length(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (!isContinuation(text, index)) ++count;
    }
    return count;
}

std::string_view utf8Prefix(std::string_view text, std::size_t count) {
    std::size_t index = 0;
    for (; index < text.size(); ++index) {
        if (isContinuation(text, index)) continue;
        if (count == 0) break;
        --count;
    }
    return text.substr(0, index);
}

void appendUtf8(std::string& text, char32_t codePoint) {
    if (codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF)) {
        codePoint = kReplacementCharacter;
    }
    const auto trailing = [&](int shift) {
        text += static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
    };
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        text += static_cast<char>(0xC0 | (codePoint >> 6));
        trailing(0);
    } else if (codePoint < 0x10000) {
        text += static_cast<char>(0xE0 | (codePoint >> 12));
        trailing(6);
        trailing(0);
    } else {
        text += static_cast<char>(0xF0 | (codePoint >> 18));
        trailing(12);
        trailing(6);
        trailing(0);
    }
}

std::string repairedUtf8(std::string_view text) {
    std::string repaired;
    repaired.reserve(text.size());
    for (std::size_t index = 0; index < text.size();) {
        const std::size_t length = sequenceLength(text, index);
        if (length == 0) {
            appendUtf8(repaired, kReplacementCharacter);
            ++index;
        } else {
            repaired += text.substr(index, length);
            index += length;
        }
    }
    return repaired;
}

std::optional<std::string> utf8FromUtf16(std::string_view bytes, ByteOrder order) {
    if (bytes.size() % 2 != 0) return std::nullopt;
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t index = 0; index < bytes.size(); index += 2) {
        char32_t unit = unitAt(bytes, index, order);
        if (isLowSurrogate(unit)) return std::nullopt;
        if (isHighSurrogate(unit)) {
            index += 2;
            if (index >= bytes.size()) return std::nullopt;
            const char32_t low = unitAt(bytes, index, order);
            if (!isLowSurrogate(low)) return std::nullopt;
            unit = joinSurrogates(unit, low);
        }
        appendUtf8(text, unit);
    }
    return text;
}

std::optional<std::string_view> textOfFile(std::string_view bytes, std::string& storage) {
    if (const auto form = utf16Form(bytes)) {
        auto text = utf8FromUtf16(bytes.substr(form->markBytes), form->order);
        if (!text) return std::nullopt;
        storage = std::move(*text);
        return storage;
    }
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    if (!isUtf8(bytes)) return std::nullopt;
    return bytes;
}

}  // namespace quillmore::platform
