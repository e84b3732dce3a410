// Escapes and the writer.
#include "QuillmoreCore/Classes/Utilities/JSONEncoder.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Data;
using platform::Date;
using platform::Dictionary;
using platform::Value;

std::string written(const Value& value) {
    return JSONEncoder::createJSONStrFromDict({{"k", value}});
}

TEST(JSONEscape, EveryPairIsAddedAndRemoved) {
    const std::pair<const char*, const char*> pairs[] = {
        {"\\", "\\\\"}, {"\"", "\\\""}, {"/", "\\/"},  {"\b", "\\b"},
        {"\f", "\\f"},  {"\n", "\\n"},  {"\r", "\\r"}, {"\t", "\\t"}};
    for (const auto& [plain, escaped] : pairs) {
        EXPECT_EQ(JSONEncoder::stringByAddingJSONEscape(plain), escaped);
        EXPECT_EQ(JSONEncoder::stringByReplacingJSONEscape(escaped), plain);
        const std::string amid = std::string("<") + escaped + ">" + escaped;
        EXPECT_EQ(JSONEncoder::stringByReplacingJSONEscape(amid),
                  std::string("<") + plain + ">" + plain);
    }
}

TEST(JSONEscape, NothingElseIsEscaped) {
    const std::string other = std::string("\x01\x1F\x7F\v'<", 6) + '\0' + "\xC3\xA4\xE2\x82\xAC";
    EXPECT_EQ(JSONEncoder::stringByAddingJSONEscape(other), other);
    EXPECT_EQ(JSONEncoder::stringByReplacingJSONEscape(other), other);
    EXPECT_EQ(JSONEncoder::stringByAddingJSONEscape(""), "");
    EXPECT_EQ(JSONEncoder::stringByReplacingJSONEscape(""), "");
}

TEST(JSONEscape, BackslashAndLetterAreEscapedOnce) {
    EXPECT_EQ(JSONEncoder::stringByAddingJSONEscape("\\n\\"), "\\\\n\\\\");
    EXPECT_EQ(JSONEncoder::stringByAddingJSONEscape("\"\\\""), "\\\"\\\\\\\"");
}

TEST(JSONEscape, DoubledBackslashIsUndoneFirstAndItsLetterThen) {
    EXPECT_EQ(JSONEncoder::stringByReplacingJSONEscape("\\\\n"), "\n");
    EXPECT_EQ(JSONEncoder::stringByReplacingJSONEscape("\\\\\\\\n"), "\\\n");
    EXPECT_EQ(JSONEncoder::stringByReplacingJSONEscape("\\\\\\n"), "\\\n");
    EXPECT_EQ(JSONEncoder::stringByReplacingJSONEscape("\\\\/"), "/");
}

TEST(JSONEscape, BackslashesAreUndoneBeforeEveryOtherEscape) {
    const std::pair<const char*, const char*> letters[] = {
        {"\"", "\""}, {"/", "/"}, {"b", "\b"}, {"f", "\f"}, {"n", "\n"}, {"r", "\r"}, {"t", "\t"}};
    for (const auto& [letter, character] : letters) {
        EXPECT_EQ(JSONEncoder::stringByReplacingJSONEscape(std::string("\\\\") + letter),
                  character);
        EXPECT_EQ(JSONEncoder::stringByReplacingJSONEscape(std::string("\\\\\\\\") + letter),
                  std::string("\\") + character);
    }
}

TEST(JSONEscape, UnknownEscapeAndBackslashAtTheEndStay) {
    EXPECT_EQ(JSONEncoder::stringByReplacingJSONEscape("\\u0041\\x\\"), "\\u0041\\x\\");
}

TEST(JSONWriter, EmptyDictionaryIsTwoBraces) {
    EXPECT_EQ(JSONEncoder::createJSONStrFromDict({}), "{}");
}

TEST(JSONWriter, StringsAreEscapedAndQuoted) {
    EXPECT_EQ(written("a/b\"\n"), R"({"k":"a\/b\"\n"})");
    EXPECT_EQ(written(""), R"({"k":""})");
    EXPECT_EQ(written("\xC3\xA4"), "{\"k\":\"\xC3\xA4\"}");
}

TEST(JSONWriter, BooleanIsAWordAndTheIntegerOneADigit) {
    EXPECT_EQ(written(true), R"({"k":true})");
    EXPECT_EQ(written(false), R"({"k":false})");
    EXPECT_EQ(written(1), R"({"k":1})");
    EXPECT_EQ(written(0), R"({"k":0})");
}

TEST(JSONWriter, NumbersAreWrittenPlainly) {
    EXPECT_EQ(written(-12), R"({"k":-12})");
    EXPECT_EQ(written(std::numeric_limits<std::int64_t>::min()), R"({"k":-9223372036854775808})");
    EXPECT_EQ(written(1.5), R"({"k":1.5})");
    EXPECT_EQ(written(-0.25), R"({"k":-0.25})");
}

TEST(JSONWriter, OtherKindsAreEmptyStrings) {
    const Value others[] = {Value(), Array{1}, Dictionary{{"a", 1}}, Data{{1}}, Date{1}};
    for (const Value& other : others) EXPECT_EQ(written(other), R"({"k":""})");
}

TEST(JSONWriter, PairsComeInTheDictionarysOrderWithoutBlanks) {
    EXPECT_EQ(JSONEncoder::createJSONStrFromDict({{"b", 1}, {"a", "x"}, {"c", true}}),
              R"({"a":"x","b":1,"c":true})");
}

TEST(JSONWriter, KeyIsWrittenAsItStands) {
    EXPECT_EQ(JSONEncoder::createJSONStrFromDict({{"a/b\n", 1}}), "{\"a/b\n\":1}");
}

/// Values that survive: ASCII and Latin-1 text, booleans, integers, short fractions.
class RandomRecord {
public:
    explicit RandomRecord(std::uint32_t seed) : random_(seed) {}
    Dictionary make() {
        Dictionary record;
        for (std::uint32_t i = below(6); i > 0; --i) record[text(1, 'a', 26)] = value();
        return record;
    }

private:
    std::uint32_t below(std::uint32_t bound) {
        return std::uniform_int_distribution<std::uint32_t>(0, bound - 1)(random_);
    }
    std::string text(std::uint32_t least, char first, std::uint32_t kinds) {
        std::string result;
        for (std::uint32_t i = below(12) + least; i > 0; --i)
            result += static_cast<char>(first + static_cast<char>(below(kinds)));
        return result;
    }
    Value value() {
        switch (below(5)) {
            case 0:
                return below(2) == 0;
            case 1:
                return static_cast<std::int64_t>((std::uint64_t{random_()} << 32) | random_());
            case 2:
                return (static_cast<double>(below(2000)) - 1000) + 0.5;
            case 3:
                return text(0, '\0', 127) + "\xC3\xBF\xC2\x80";
            default:
                return text(0, '\0', 127);
        }
    }
    std::mt19937 random_;
};

TEST(JSONProperty, WhatTheWriterProducesReadsBackWithItsKinds) {
    for (std::uint32_t seed = 0; seed < 2000; ++seed) {
        const Dictionary record = RandomRecord(seed).make();
        const std::string text = JSONEncoder::createJSONStrFromDict(record);
        ASSERT_EQ(JSONEncoder::createObjFromJSONStr(text), record) << "seed " << seed << text;
    }
}

}  // namespace
}  // namespace quillmore::tests
