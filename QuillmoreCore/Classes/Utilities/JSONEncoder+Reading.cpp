// The reader: a scanner over UTF-16 units, and its two token readers.
#include <algorithm>
#include <cmath>

#include "Platform/Values/SecretMemory.h"
#include "Platform/Values/TextEncoding.h"
#include "QuillmoreCore/Classes/Utilities/JSONEncoder.h"

namespace quillmore {

namespace {

using platform::Dictionary;
using platform::Value;
using platform::Wiped;

/// The code point at `index` of valid UTF-8, which moves past it.
char32_t nextCodePoint(std::string_view text, std::size_t& index) {
    const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    const std::uint8_t lead = byte(index++);
    if (lead < 0x80) return lead;
    const int trailing = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    char32_t codePoint = lead & (0x3FU >> trailing);
    for (int i = 0; i < trailing; ++i) codePoint = codePoint << 6 | (byte(index++) & 0x3FU);
    return codePoint;
}

/// More than a std::u16string keeps inside itself, where a text that moves leaves a copy.
constexpr std::size_t kHeapCapacity = 64;

/// A byte that is not part of valid UTF-8 counts as U+FFFD.
std::u16string unitsOf(std::string_view text) {
    Wiped<std::string> repaired;
    if (!platform::isUtf8(text)) text = *repaired = platform::repairedUtf8(text);
    std::u16string units;
    units.reserve(std::max(text.size(), kHeapCapacity));
    for (std::size_t index = 0; index < text.size();) {
        const char32_t codePoint = nextCodePoint(text, index);
        if (codePoint < 0x10000) {
            units += static_cast<char16_t>(codePoint);
        } else {
            units += static_cast<char16_t>(0xD7C0 + (codePoint >> 10));
            units += static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
        }
    }
    return units;
}

/// Units from the cursor to the closing quote or the end.
std::size_t tokenLength(std::u16string_view text, std::size_t at) {
    std::size_t end = at;
    while (end < text.size() && text[end] != u'"') end += text[end] == u'\\' ? 2 : 1;
    return std::min(end, text.size()) - at;
}

char16_t unescaped(char16_t letter) {
    switch (letter) {
        case u'b':
            return u'\b';
        case u'f':
            return u'\f';
        case u'n':
            return u'\n';
        case u'r':
            return u'\r';
        case u't':
            return u'\t';
        default:
            return letter;
    }
}

bool isDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

/// `word` in lower case.
bool equalsIgnoringCase(std::u16string_view text, std::u16string_view word) {
    return std::equal(text.begin(), text.end(), word.begin(), word.end(),
                      [](char16_t unit, char16_t letter) {
                          return (unit >= u'A' && unit <= u'Z' ? unit + 32 : unit) == letter;
                      });
}

/// One scan from left to right.
class Scanner {
public:
    explicit Scanner(std::u16string_view text) : text_(text) {}
    ~Scanner() {
        platform::wipe(result_);
        platform::wipe(key_);
        platform::wipe(value_);
    }
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    std::optional<Dictionary> read() {
        while (at_ < text_.size()) {
            const char16_t unit = text_[at_++];
            if (unit == u'}') return std::exchange(result_, std::nullopt);
            if (!take(unit) || error_) return std::nullopt;
            storePair();
        }
        return std::nullopt;
    }

private:
    /// False when the reading fails.
    bool take(char16_t unit) {
        switch (unit) {
            case u'{':
                platform::wipe(result_);
                result_.emplace();
                return expectKey_ = true;
            case u'"':
                return takeString();
            case u',':
                return expectKey_ = result_ && !result_->empty();
            case u':':
                expectKey_ = false;
                return key_ && !key_->empty();
            case u't':
            case u'T':
                return takeLiteral(u"true", true);
            case u'f':
            case u'F':
                // Deliberate: a misspelt false is true, as a misspelt true is false.
                return takeLiteral(u"false", false);
            default:
                return unit == u'-' || isDigit(unit) ? takeNumber() : true;
        }
    }
    bool takeString() {
        auto token = JSONEncoder::jsonStringForStr(text_, at_, error_);
        if (!token) return false;
        if (expectKey_) {
            platform::wipe(key_);
            key_ = std::move(token);
        } else {
            platform::wipe(value_);
            value_.emplace(std::move(*token));
        }
        return true;
    }
    bool takeNumber() {
        if (expectKey_) return false;
        --at_;
        platform::wipe(value_);
        value_ = JSONEncoder::jsonNumberForStr(text_, at_, error_);
        return true;
    }
    bool takeLiteral(std::u16string_view word, bool meaning) {
        --at_;
        // One character at least must follow.
        if (expectKey_ || at_ + word.size() >= text_.size()) return false;
        platform::wipe(value_);
        value_.emplace(equalsIgnoringCase(text_.substr(at_, word.size()), word) == meaning);
        at_ += word.size();
        return true;
    }
    void storePair() {
        if (!key_ || !value_) return;
        Value& entry = (*result_)[*key_];
        platform::wipe(entry);
        entry = std::move(*value_);
        key_.reset();
        value_.reset();
        expectKey_ = false;
    }

    std::u16string_view text_;
    std::size_t at_ = 0;
    bool error_ = false;
    bool expectKey_ = false;
    std::optional<Dictionary> result_;
    std::optional<std::string> key_;
    std::optional<Value> value_;
};

/// Wraps round as the machine's integers do.
std::int64_t negated(std::uint64_t number, bool negative) {
    return static_cast<std::int64_t>(negative ? 0 - number : number);
}

}  // namespace

std::optional<Dictionary> JSONEncoder::createObjFromJSONStr(std::string_view text) {
    const Wiped<std::u16string> units(unitsOf(text));
    return Scanner(*units).read();
}

std::optional<std::string> JSONEncoder::jsonStringForStr(std::u16string_view text, std::size_t& at,
                                                         bool& error) {
    if (at >= text.size() || error) return std::nullopt;
    Wiped<std::string> token(platform::makeSecret(2 * tokenLength(text, at)));
    while (at < text.size()) {
        char16_t unit = text[at++];
        if (unit == u'"') return std::move(*token);
        if (unit == u'\\') {
            error = at == text.size();
            if (error) return std::nullopt;
            unit = unescaped(text[at++]);
        }
        platform::appendUtf8(*token, unit & 0xFFU);
    }
    return std::nullopt;
}

std::optional<Value> JSONEncoder::jsonNumberForStr(std::u16string_view text, std::size_t& at,
                                                   bool& error) {
    std::uint64_t integer = 0;
    double real = 0;
    int position = 0;  // of the next digit behind the point; 0 before it
    bool negative = false;
    for (; at < text.size() && !error; ++at) {
        const char16_t unit = text[at];
        if (unit == u'-') {
            negative = true;
        } else if (unit == u'.') {
            error = position != 0;
            if (!error) real = static_cast<double>(static_cast<std::int64_t>(integer));
            position = 1;
        } else if (isDigit(unit) && position == 0) {
            integer = integer * 10 + (unit - u'0');
        } else if (isDigit(unit)) {
            real += (unit - u'0') / std::pow(10.0, position++);
        } else if (unit != u'e') {
            break;
        }
    }
    if (error) return std::nullopt;
    if (position == 0) return Value(negated(integer, negative));
    return Value(negative ? -real : real);
}

}  // namespace quillmore
