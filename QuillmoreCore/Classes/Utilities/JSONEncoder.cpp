#include "QuillmoreCore/Classes/Utilities/JSONEncoder.h"

#include <array>

#include "Platform/Values/SecretMemory.h"

namespace quillmore {

namespace {

using platform::makeSecret;
using platform::Value;

struct Escape {
    char character;
    char letter;  ///< After the backslash.
};
/// The order counts where escapes are undone.
constexpr std::array<Escape, 8> kEscapes = {{{'\\', '\\'},
                                             {'"', '"'},
                                             {'/', '/'},
                                             {'\b', 'b'},
                                             {'\f', 'f'},
                                             {'\n', 'n'},
                                             {'\r', 'r'},
                                             {'\t', 't'}}};

/// Replaces in one go what step after step would: no step finds what an earlier one put in but the
/// first, which doubles backslashes before there are others.
void appendEscaped(std::string& text, std::string_view plain) {
    for (const char character : plain) {
        char letter = 0;
        for (const Escape& escape : kEscapes)
            if (escape.character == character) letter = escape.letter;
        if (letter != 0) text += '\\';
        text += letter != 0 ? letter : character;
    }
}

/// The text never grows, so it stays in its buffer.
void undoEscape(std::string& text, const Escape& escape) {
    std::size_t length = 0;
    for (std::size_t at = 0; at < text.size(); ++at, ++length) {
        const bool found =
            text[at] == '\\' && at + 1 < text.size() && text[at + 1] == escape.letter;
        text[length] = found ? escape.character : text[at];
        if (found) ++at;
    }
    text.resize(length);
}

void appendValue(std::string& text, const Value& value) {
    if (const auto* string = value.string()) {
        text += '"';
        appendEscaped(text, *string);
        text += '"';
    } else if (const auto* boolean = value.boolean()) {
        text += *boolean ? "true" : "false";
    } else if (value.isInteger() || value.isDouble()) {
        text += value.description();
    } else {
        text += "\"\"";
    }
}

/// An upper bound: the text is to be made without leaving outgrown buffers behind.
std::size_t roomFor(const platform::Dictionary& dictionary) {
    constexpr std::size_t kPunctuationAndNumber = 400;  // a double may have 300 digits
    std::size_t room = 2;
    for (const auto& [key, value] : dictionary) {
        room += key.size() + kPunctuationAndNumber;
        if (const auto* string = value.string()) room += 2 * string->size();
    }
    return room;
}

}  // namespace

std::string JSONEncoder::stringByAddingJSONEscape(std::string_view text) {
    std::string escaped = makeSecret(2 * text.size());
    appendEscaped(escaped, text);
    return escaped;
}

std::string JSONEncoder::stringByReplacingJSONEscape(std::string_view text) {
    std::string plain = makeSecret(text);
    for (const Escape& escape : kEscapes) undoEscape(plain, escape);
    return plain;
}

std::string JSONEncoder::createJSONStrFromDict(const platform::Dictionary& dictionary) {
    std::string text = makeSecret(roomFor(dictionary));
    text += '{';
    for (const auto& [key, value] : dictionary) {
        if (text.size() > 1) text += ',';
        text.append(1, '"').append(key) += "\":";
        appendValue(text, value);
    }
    text += '}';
    return text;
}

}  // namespace quillmore
