// One value of a property list, a settings file or a record, and the containers made of them.
// Plain data: copied by value, safe to hand between threads, owns everything it holds.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace quillmore::platform {

class Value;

using Array = std::vector<Value>;
using Dictionary = std::map<std::string, Value, std::less<>>;

struct Data {
    std::vector<std::uint8_t> bytes;
    bool operator==(const Data&) const = default;
};

/// A point in time in seconds since 2001-01-01 00:00:00 UTC, the epoch of property lists.
struct Date {
    double secondsSinceReferenceDate = 0;
    bool operator==(const Date&) const = default;
};

class Value {
public:
    Value() = default;  ///< The null value.
    Value(bool value) : content_(value) {}
    Value(std::int32_t value) : content_(std::int64_t{value}) {}
    Value(std::int64_t value) : content_(value) {}
    Value(double value) : content_(value) {}
    Value(const char* value) : content_(std::string(value)) {}
    Value(std::string value) : content_(std::move(value)) {}
    Value(std::string_view value) : content_(std::string(value)) {}
    Value(Data value) : content_(std::move(value)) {}
    Value(Date value) : content_(value) {}
    Value(Array value) : content_(std::move(value)) {}
    Value(Dictionary value) : content_(std::move(value)) {}

    bool isNull() const { return std::holds_alternative<std::monostate>(content_); }
    bool isBoolean() const { return std::holds_alternative<bool>(content_); }
    bool isInteger() const { return std::holds_alternative<std::int64_t>(content_); }
    bool isDouble() const { return std::holds_alternative<double>(content_); }

    // Each gives null when the value is of another kind.
    const bool* boolean() const { return std::get_if<bool>(&content_); }
    const std::int64_t* integer() const { return std::get_if<std::int64_t>(&content_); }
    const double* real() const { return std::get_if<double>(&content_); }
    const std::string* string() const { return std::get_if<std::string>(&content_); }
    const Data* data() const { return std::get_if<Data>(&content_); }
    const Date* date() const { return std::get_if<Date>(&content_); }
    const Array* array() const { return std::get_if<Array>(&content_); }
    const Dictionary* dictionary() const { return std::get_if<Dictionary>(&content_); }

    /// True for the kinds that answer an integer conversion: booleans, numbers and strings.
    bool answersIntegerConversion() const;
    /// Numbers are truncated towards zero and saturate; a string is read as `integerFromText` does;
    /// every other kind gives 0.
    std::int32_t intValue() const;
    std::int64_t longLongValue() const;
    /// Numbers: not zero. Strings: leading white space, sign and zeros are passed over, then true
    /// when the next character is one of "YyTt" or "1" to "9". Every other kind is false.
    bool boolValue() const;
    /// The text that `%@` prints: a string as it is, a boolean as 1 or 0, containers as nested
    /// text.
    std::string description() const;

    /// Kinds count: the boolean true and the integer 1 differ.
    bool operator==(const Value&) const = default;

private:
    std::variant<std::monostate, bool, std::int64_t, double, std::string, Data, Date, Array,
                 Dictionary>
        content_;
};

/// Leading white space, an optional sign, then leading digits, saturating; 0 when there are none.
std::int32_t int32FromText(std::string_view text);
std::int64_t int64FromText(std::string_view text);

/// The entry under a key, or null when the dictionary has none.
const Value* find(const Dictionary& dictionary, std::string_view key);
/// The string under a key; nothing when the entry is missing or of another kind.
std::optional<std::string> stringForKey(const Dictionary& dictionary, std::string_view key);

}  // namespace quillmore::platform
