// A flat dictionary of strings, numbers and booleans as one line of JSON-like text, and back. Not a
// general JSON library: the reader is a tolerant scanner that reads back what the writer produced
// and has quirks of its own, each stated with its function. Stateless, any thread. The texts hold
// passwords: whatever is made on the way is wiped before it is let go.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Values/Value.h"

namespace quillmore {

class JSONEncoder {
public:
    /// Backslash, double quote, slash, backspace, form feed, line feed, carriage return and tab get
    /// a backslash before them or become one with a letter; nothing else is escaped.
    static std::string stringByAddingJSONEscape(std::string_view text);
    /// Deliberate: not the inverse. The doubled backslash is undone first, so that two backslashes
    /// and an "n" become a line feed. The reader below does not use it.
    static std::string stringByReplacingJSONEscape(std::string_view text);

    /// "{}" for an empty dictionary. Keys come in the dictionary's order and are not escaped: they
    /// must hold no quotes or backslashes. A value of a kind that JSON text here cannot say (a
    /// container, data, a date, null) is written as an empty string. A double is written as `%@`
    /// prints it: a whole one reads back as an integer, one with an exponent as another number.
    static std::string createJSONStrFromDict(const platform::Dictionary& dictionary);

    /// Reads up to the first "}"; what follows is ignored. The values are strings, booleans, 64-bit
    /// integers and doubles. Nothing when it fails: empty text, no "{" or "}", a misplaced "," ":"
    /// number or literal, a number with two points. Of nested objects the innermost first one
    /// survives; arrays and null are not supported. See also the two token readers.
    static std::optional<platform::Dictionary> createObjFromJSONStr(std::string_view text);

    // The token readers take UTF-16, the units that their rules count, and move the cursor `at`.

    /// `jsonStringForStr:at:error:`: a string token from just past its opening quote; the cursor
    /// ends just past the closing one. Nothing without a closing quote; `error` is set only by a
    /// backslash at the very end. After a backslash b f n r t are control characters, every other
    /// character (u too) stands for itself.
    /// Each UTF-16 unit keeps its low 8 bits only, taken for the character of that number: of UTF-8
    /// text that the writer was given, U+0000 to U+00FF come back as they were, any other character
    /// comes back as one below U+0100 (U+20AC as U+00AC), one above U+FFFF as two.
    static std::optional<std::string> jsonStringForStr(std::u16string_view text, std::size_t& at,
                                                       bool& error);
    /// `jsonNumberForStr:at:error:`: an integer, or a double once a point was met; the cursor ends
    /// on the first character that is not part of it. Nothing, and `error` set, at a second point.
    /// Deliberate: "-" counts anywhere, "e" is skipped and its digits go on ("1e3" is 13); an
    /// integer wraps round when it grows too large. Integer 0 at the end of the text.
    static std::optional<platform::Value> jsonNumberForStr(std::u16string_view text,
                                                           std::size_t& at, bool& error);
};

}  // namespace quillmore
