#include "Platform/Values/Value.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "Platform/Values/DateText.h"
#include "Platform/Values/NumberText.h"
#include "Platform/Values/Text.h"

namespace quillmore::platform {

namespace {

template <class Integer>
Integer saturated(double value) {
    if (std::isnan(value)) return 0;
    constexpr auto lowest = std::numeric_limits<Integer>::min();
    // The largest 64-bit integer has no double of its own, so the bound is the power of two above.
    if (value >= -static_cast<double>(lowest)) return std::numeric_limits<Integer>::max();
    if (value <= static_cast<double>(lowest)) return lowest;
    return static_cast<Integer>(value);
}

std::int32_t saturated32(std::int64_t value) {
    if (value > std::numeric_limits<std::int32_t>::max()) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (value < std::numeric_limits<std::int32_t>::min()) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(value);
}

std::string_view withoutLeadingWhiteSpace(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
    return text;
}

bool boolFromText(std::string_view text) {
    text = withoutLeadingWhiteSpace(text);
    if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
    text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
    return !text.empty() && std::string_view("YyTt123456789").find(text[0]) != std::string::npos;
}

/// "<0a0b0c0d 0e>": groups of four bytes.
void appendData(std::string& text, const Data& data) {
    constexpr std::string_view digits = "0123456789abcdef";
    text += '<';
    for (std::size_t index = 0; index < data.bytes.size(); ++index) {
        if (index > 0 && index % 4 == 0) text += ' ';
        text += digits[data.bytes[index] >> 4];
        text += digits[data.bytes[index] & 0x0F];
    }
    text += '>';
}

void appendDescription(std::string& text, const Value& value, std::size_t indent);

void appendArray(std::string& text, const Array& array, std::size_t indent) {
    text += "(\n";
    for (std::size_t index = 0; index < array.size(); ++index) {
        text.append(indent + 4, ' ');
        appendDescription(text, array[index], indent + 4);
        text += index + 1 < array.size() ? ",\n" : "\n";
    }
    text.append(indent, ' ') += ')';
}

void appendDictionary(std::string& text, const Dictionary& dictionary, std::size_t indent) {
    text += "{\n";
    for (const auto& [key, value] : dictionary) {
        text.append(indent + 4, ' ').append(key) += " = ";
        appendDescription(text, value, indent + 4);
        text += ";\n";
    }
    text.append(indent, ' ') += '}';
}

void appendDescription(std::string& text, const Value& value, std::size_t indent) {
    if (const auto* string = value.string()) {
        text += *string;
    } else if (const auto* boolean = value.boolean()) {
        text += *boolean ? '1' : '0';
    } else if (const auto* integer = value.integer()) {
        text += std::to_string(*integer);
    } else if (const auto* real = value.real()) {
        text += textFromDouble(*real);
    } else if (const auto* data = value.data()) {
        appendData(text, *data);
    } else if (const auto* date = value.date()) {
        text += textFromDate(*date, " ", " +0000");
    } else if (const auto* array = value.array()) {
        appendArray(text, *array, indent);
    } else if (const auto* dictionary = value.dictionary()) {
        appendDictionary(text, *dictionary, indent);
    } else {
        text += "(null)";
    }
}

}  // namespace

bool Value::answersIntegerConversion() const {
    return isBoolean() || isInteger() || isDouble() || string() != nullptr;
}

std::int32_t Value::intValue() const {
    if (const auto* value = real()) return saturated<std::int32_t>(*value);
    return saturated32(longLongValue());
}

std::int64_t Value::longLongValue() const {
    if (const auto* value = boolean()) return *value ? 1 : 0;
    if (const auto* value = integer()) return *value;
    if (const auto* value = real()) return saturated<std::int64_t>(*value);
    if (const auto* value = string()) return int64FromText(*value);
    return 0;
}

bool Value::boolValue() const {
    if (const auto* value = boolean()) return *value;
    if (const auto* value = integer()) return *value != 0;
    if (const auto* value = real()) return *value != 0;
    if (const auto* value = string()) return boolFromText(*value);
    return false;
}

std::string Value::description() const {
    if (const auto* text = string()) return *text;
    std::string text;
    appendDescription(text, *this, 0);
    return text;
}

std::int32_t int32FromText(std::string_view text) {
    return saturated32(int64FromText(text));
}

std::int64_t int64FromText(std::string_view text) {
    text = withoutLeadingWhiteSpace(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return 0;
    }
    std::int64_t value = 0;
    const auto outcome = std::from_chars(text.data(), text.data() + text.size(), value);
    if (outcome.ec == std::errc::result_out_of_range) {
        return text[0] == '-' ? std::numeric_limits<std::int64_t>::min()
                              : std::numeric_limits<std::int64_t>::max();
    }
    return value;
}

const Value* find(const Dictionary& dictionary, std::string_view key) {
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? nullptr : &found->second;
}

std::optional<std::string> stringForKey(const Dictionary& dictionary, std::string_view key) {
    const Value* value = find(dictionary, key);
    if (value == nullptr || value->string() == nullptr) return std::nullopt;
    return *value->string();
}

}  // namespace quillmore::platform
