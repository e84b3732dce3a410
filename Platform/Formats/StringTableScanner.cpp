#include "Platform/Formats/StringTableScanner.h"

#include <algorithm>

#include "Platform/Values/Text.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore::platform {

namespace {

constexpr std::size_t kMaximumFaultLength = 200;

/// What a key or text without quotation marks may be made of.
bool isWordCharacter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("_$:./-").find(character) != std::string_view::npos;
}

bool isOctalDigit(char character) {
    return character >= '0' && character <= '7';
}

/// Every other character stands for itself.
char escapedCharacter(char letter) {
    switch (letter) {
        case 'a':
            return '\a';
        case 'b':
            return '\b';
        case 'f':
            return '\f';
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        case 'v':
            return '\v';
        default:
            return letter;
    }
}

}  // namespace

bool StringTableScanner::takePair(std::string& key, std::string& string) {
    if (!skipBlanksAndComments() || atEnd()) return false;
    if (!takeString(key, "a key")) return false;
    if (!skipBlanksAndComments()) return false;
    if (take('=')) {
        if (!skipBlanksAndComments() || !takeString(string, "a text")) return false;
        if (!skipBlanksAndComments()) return false;
        return take(';') || fail("';' expected after the text of \"" + key + "\"", index_);
    }
    string = key;
    return take(';') || fail("'=' or ';' expected after the key \"" + key + "\"", index_);
}

std::size_t StringTableScanner::line() const {
    // A line ends with a line feed, a carriage return or both.
    std::size_t line = 1;
    for (std::size_t index = 0; index < faultIndex_; ++index) {
        const bool isPair =
            text_[index] == '\r' && index + 1 < text_.size() && text_[index + 1] == '\n';
        if (text_[index] == '\n' || (text_[index] == '\r' && !isPair)) ++line;
    }
    return line;
}

bool StringTableScanner::fail(std::string_view fault, std::size_t index) {
    // A key of a megabyte would drown what is wrong with it.
    fault_ = utf8Prefix(fault, kMaximumFaultLength);
    faultIndex_ = std::min(index, text_.size());
    return false;
}

bool StringTableScanner::take(char wanted) {
    if (atEnd() || text_[index_] != wanted) return false;
    ++index_;
    return true;
}

bool StringTableScanner::skipBlanksAndComments() {
    for (;;) {
        index_ = std::min(text_.find_first_not_of(kWhiteSpace, index_), text_.size());
        const std::string_view rest = text_.substr(index_);
        if (!rest.starts_with("//") && !rest.starts_with("/*")) return true;
        if (!skipComment()) return false;
    }
}

bool StringTableScanner::skipComment() {
    if (text_[index_ + 1] == '/') {
        index_ = std::min(text_.find_first_of("\r\n", index_), text_.size());
        return true;
    }
    const std::size_t end = text_.find("*/", index_ + 2);
    if (end == std::string_view::npos) return fail("the comment does not end", index_);
    index_ = end + 2;
    return true;
}

bool StringTableScanner::takeString(std::string& string, std::string_view role) {
    string.clear();
    if (!atEnd() && (text_[index_] == '"' || text_[index_] == '\'')) return takeQuoted(string);
    const std::size_t start = index_;
    // "word/*comment*/" and "word//comment" end at the comment.
    while (!atEnd() && isWordCharacter(text_[index_]) && !text_.substr(index_).starts_with("//") &&
           !text_.substr(index_).starts_with("/*")) {
        ++index_;
    }
    string = text_.substr(start, index_ - start);
    return !string.empty() || fail(std::string(role) + " expected", index_);
}

bool StringTableScanner::takeQuoted(std::string& string) {
    const std::size_t start = index_;
    const char stops[] = {text_[index_++], '\\'};
    for (;;) {
        const std::size_t stop = text_.find_first_of(std::string_view(stops, 2), index_);
        if (stop == std::string_view::npos) return fail("the string does not end", start);
        string += text_.substr(index_, stop - index_);
        index_ = stop + 1;
        if (text_[stop] != '\\') return true;
        if (atEnd()) return fail("the string does not end", start);
        if (!takeEscape(string)) return false;
    }
}

bool StringTableScanner::takeEscape(std::string& string) {
    if (isOctalDigit(text_[index_])) return takeOctal(string);
    const char letter = text_[index_++];
    if (letter == 'U' || letter == 'u') return takeUnicode(string);
    string += escapedCharacter(letter);
    return true;
}

bool StringTableScanner::takeOctal(std::string& string) {
    const std::size_t start = index_;
    char32_t value = 0;
    for (; !atEnd() && index_ < start + 3 && isOctalDigit(text_[index_]); ++index_) {
        value = value * 8 + static_cast<char32_t>(text_[index_] - '0');
    }
    if (value > 0xFF) return fail("an octal escape above \\377", start);
    appendUtf8(string, value);
    return true;
}

bool StringTableScanner::takeUnicode(std::string& string) {
    const std::size_t start = index_;
    const auto unit = takeHexadecimal();
    if (!unit) return fail("four hexadecimal digits expected after \\U", start);
    if (!isHighSurrogate(*unit)) {
        if (isLowSurrogate(*unit)) return fail("a surrogate without its partner", start);
        appendUtf8(string, *unit);
        return true;
    }
    if (!take('\\') || !(take('U') || take('u'))) {
        return fail("a surrogate without its partner", start);
    }
    const auto low = takeHexadecimal();
    if (!low || !isLowSurrogate(*low)) return fail("a surrogate without its partner", start);
    appendUtf8(string, joinSurrogates(*unit, *low));
    return true;
}

std::optional<char32_t> StringTableScanner::takeHexadecimal() {
    if (text_.size() - index_ < 4) return std::nullopt;
    char32_t unit = 0;
    for (const char digit : text_.substr(index_, 4)) {
        unit *= 16;
        if (digit >= '0' && digit <= '9') {
            unit += static_cast<char32_t>(digit - '0');
        } else if (digit >= 'a' && digit <= 'f') {
            unit += static_cast<char32_t>(digit - 'a' + 10);
        } else if (digit >= 'A' && digit <= 'F') {
            unit += static_cast<char32_t>(digit - 'A' + 10);
        } else {
            return std::nullopt;
        }
    }
    index_ += 4;
    return unit;
}

}  // namespace quillmore::platform
