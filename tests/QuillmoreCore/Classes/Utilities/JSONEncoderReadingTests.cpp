// The reader and its two token readers.
#include <gtest/gtest.h>

#include <limits>

#include "QuillmoreCore/Classes/Utilities/JSONEncoder.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using platform::Value;
using Read = std::optional<Dictionary>;

constexpr auto kNothing = std::nullopt;

struct Row {
    const char* text;
    Read result;
};
class JSONReader : public testing::TestWithParam<Row> {};

TEST_P(JSONReader, GivesTheResultOfTheTable) {
    EXPECT_EQ(JSONEncoder::createObjFromJSONStr(GetParam().text), GetParam().result)
        << GetParam().text;
}

const Dictionary kFive = {{"s", "x/y"}, {"i", -7}, {"d", 2.5}, {"t", true}, {"f", false}};

INSTANTIATE_TEST_SUITE_P(
    Texts, JSONReader,
    testing::Values(
        Row{R"({"s":"x\/y","i":-7,"d":2.5,"t":true,"f":false})", kFive},
        Row{"\n {\t\"s\" : \"x\\/y\" ,\r\n\"i\": -7 , \"d\":2.5,\"t\" :true, \"f\":false \n}",
            kFive},
        Row{"", kNothing}, Row{" ", kNothing}, Row{"{}", Dictionary()}, Row{"{ }", Dictionary()},
        Row{"}", kNothing}, Row{"{", kNothing}, Row{"x{}", Dictionary()},
        Row{R"({"a":1)", kNothing}, Row{R"({"a":1,)", kNothing}, Row{R"({,"a":1})", kNothing},
        Row{R"(,{"a":1})", kNothing}, Row{R"({"a":1}{"b":2})", Dictionary{{"a", 1}}},
        Row{R"({"a":1} "trailing)", Dictionary{{"a", 1}}}));

INSTANTIATE_TEST_SUITE_P(
    KeysAndValues, JSONReader,
    testing::Values(
        Row{R"({"a":1,"a":2})", Dictionary{{"a", 2}}},
        Row{R"({"a":1,"b":,"c":3})", Dictionary{{"a", 1}, {"c", 3}}},
        Row{R"({"a":1,"b","c":3})", Dictionary{{"a", 1}, {"c", 3}}},
        Row{R"({"a","b":1})", kNothing}, Row{R"({"a" "b":1})", Dictionary{{"b", 1}}},
        Row{R"({"a":null})", Dictionary()}, Row{R"({"a":null,"b":1})", kNothing},
        Row{R"({"a":1,"b":null,"c":2})", Dictionary{{"a", 1}, {"c", 2}}},
        Row{R"({"a":1,"b":null})", Dictionary{{"a", 1}}}, Row{R"({"":1})", kNothing},
        Row{R"({:1})", kNothing}, Row{R"({"a":""})", Dictionary{{"a", ""}}},
        Row{R"({"a":1,})", Dictionary{{"a", 1}}},
        Row{R"({"a":1,,"b":2})", Dictionary{{"a", 1}, {"b", 2}}}, Row{R"({"a"})", Dictionary()},
        Row{R"({1:2})", kNothing}, Row{R"({true:2})", kNothing}, Row{R"({false:2})", kNothing},
        Row{R"({true})", kNothing}, Row{R"({false})", kNothing}, Row{R"({1})", kNothing},
        Row{R"({"a":1,true})", kNothing}, Row{R"({"a":1 2})", Dictionary{{"a", 1}}},
        Row{R"({"a":1 true})", Dictionary{{"a", 1}}}, Row{R"({"a":1,"b"})", Dictionary{{"a", 1}}},
        Row{R"(5{"a"6})", Dictionary{{"a", 5}}}, Row{R"(5{"a"})", Dictionary{{"a", 5}}},
        Row{R"({"a":1 "v","b"})", Dictionary{{"a", 1}, {"b", "v"}}},
        Row{R"({"a":1,"b",:5})", Dictionary{{"a", 1}, {"b", 5}}}, Row{R"({"a":1,:5})", kNothing}));

INSTANTIATE_TEST_SUITE_P(NestingAndArrays, JSONReader,
                         testing::Values(Row{R"({"a":{"b":1},"c":2})", Dictionary{{"b", 1}}},
                                         Row{R"({"x":1,"a":{"b":{"c":3}}})", Dictionary{{"c", 3}}},
                                         Row{R"({"a":{:1}})", Dictionary{{"a", 1}}},
                                         Row{R"({"a":[1]})", Dictionary{{"a", 1}}},
                                         Row{R"({"a":[]})", Dictionary()},
                                         Row{R"({"a":[1,2]})", kNothing},
                                         Row{R"({"a":["x","y"]})", Dictionary{{"a", "x"}}}));

INSTANTIATE_TEST_SUITE_P(Literals, JSONReader,
                         testing::Values(Row{R"({"a":TRUE})", Dictionary{{"a", true}}},
                                         Row{R"({"a":False})", Dictionary{{"a", false}}},
                                         Row{R"({"a":trux})", Dictionary{{"a", false}}},
                                         Row{R"({"a":fals })", Dictionary{{"a", true}}},
                                         Row{R"({"a":fals})", kNothing},
                                         Row{R"({"a":tru})", kNothing},
                                         Row{R"({"a":true)", kNothing},
                                         Row{R"({"a":false)", kNothing}, Row{R"({"a":t)", kNothing},
                                         Row{"{\"a\":tr\xC3\xA4}", kNothing},
                                         Row{"{\"a\":tr\xC3\xA4x}", Dictionary{{"a", false}}}));

INSTANTIATE_TEST_SUITE_P(Numbers, JSONReader,
                         testing::Values(Row{R"({"a":1e3})", Dictionary{{"a", 13}}},
                                         Row{R"({"a":1-2})", Dictionary{{"a", -12}}},
                                         Row{R"({"a":1.2.3})", kNothing},
                                         Row{R"({"a":0x1f})", kNothing},
                                         Row{R"({"a":-})", Dictionary{{"a", 0}}},
                                         Row{R"({"a":1E3})", Dictionary{{"a", 1}}},
                                         Row{R"({"a":+7})", Dictionary{{"a", 7}}}));

TEST(JSONReaderEdges, SecondStringOfAnArrayIsTakenForAKey) {
    EXPECT_EQ(JSONEncoder::createObjFromJSONStr(R"({"a":["x","y"],"b":1})"),
              (Dictionary{{"a", "x"}, {"b", 1}}));
}

TEST(JSONReaderEdges, DigitsAfterAnUpperCaseExponentAreTakenForTheNextKeysValue) {
    EXPECT_EQ(JSONEncoder::createObjFromJSONStr(R"({"a":1E3,"b"})"),
              (Dictionary{{"a", 1}, {"b", 3}}));
    EXPECT_EQ(JSONEncoder::createObjFromJSONStr(R"({"a":1E3,"b":2})"), kNothing);
}

TEST(JSONReaderEdges, BytesThatAreNotUtf8AreReadAsOtherCharacters) {
    const Read read = JSONEncoder::createObjFromJSONStr("{\"a\":\"\xFF\"\xC3,\"b\":1}");
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->at("a"), "\xC3\xBD") << "the replacement character, narrowed";
    EXPECT_EQ(read->at("b"), 1);
}

TEST(JSONReaderEdges, EmbeddedZeroIsACharacter) {
    const std::string text("{\"a\":\"x\0y\"}\0", 12);
    EXPECT_EQ(JSONEncoder::createObjFromJSONStr(text)->at("a"), std::string("x\0y", 3));
}

class JSONStringToken : public testing::Test {
protected:
    std::optional<std::string> read(std::u16string_view text) {
        at = 0;
        error = false;
        return JSONEncoder::jsonStringForStr(text, at, error);
    }
    std::size_t at = 0;
    bool error = false;
};

TEST_F(JSONStringToken, CursorEndsPastTheClosingQuote) {
    EXPECT_EQ(read(u"abc\" rest"), "abc");
    EXPECT_EQ(at, 4u);
    EXPECT_FALSE(error);
    EXPECT_EQ(read(u"\""), "");
}

TEST_F(JSONStringToken, EscapesAreDecodedOnce) {
    EXPECT_EQ(read(uR"(\"\/\\\b\f\n\r\t")"), "\"/\\\b\f\n\r\t");
    EXPECT_EQ(read(uR"(\\n")"), "\\n");
    EXPECT_EQ(read(uR"(\x\u0041")"), "xu0041");
}

TEST_F(JSONStringToken, BackslashAtTheEndIsAnError) {
    EXPECT_EQ(read(u"ab\\"), kNothing);
    EXPECT_TRUE(error);
}

TEST_F(JSONStringToken, MissingQuoteIsNothingWithoutAnError) {
    EXPECT_EQ(read(u"ab"), kNothing);
    EXPECT_EQ(read(u"ab\\\""), kNothing);
    EXPECT_EQ(read(u""), kNothing);
    EXPECT_FALSE(error);
    at = 5;
    EXPECT_EQ(JSONEncoder::jsonStringForStr(u"ab\"", at, error), kNothing);
    EXPECT_FALSE(error);
}

TEST_F(JSONStringToken, EarlierErrorIsNothing) {
    error = true;
    EXPECT_EQ(JSONEncoder::jsonStringForStr(u"ab\"", at, error), kNothing);
}

TEST_F(JSONStringToken, UnitsAreNarrowedToTheirLowEightBits) {
    EXPECT_EQ(read(u"\u00E4\u00FF\""), "\xC3\xA4\xC3\xBF");
    EXPECT_EQ(read(u"\u20AC\""), "\xC2\xAC");
    EXPECT_EQ(read(u"\u4E2D\""), "-");
    EXPECT_EQ(read(u"\U0001F600\""), std::string("=\0", 2)) << "U+D83D, U+DE00";
    EXPECT_EQ(read(u"\u0122\""), "\"") << "narrowed after the quote was looked for";
}

class JSONNumberToken : public testing::Test {
protected:
    std::optional<Value> read(std::u16string_view text) {
        at = 0;
        error = false;
        return JSONEncoder::jsonNumberForStr(text, at, error);
    }
    std::size_t at = 0;
    bool error = false;
};

TEST_F(JSONNumberToken, CursorEndsOnTheFirstForeignCharacter) {
    EXPECT_EQ(read(u"12,"), Value(12));
    EXPECT_EQ(at, 2u);
    EXPECT_EQ(read(u"12"), Value(12));
    EXPECT_EQ(at, 2u);
    EXPECT_EQ(read(u"x"), Value(0));
    EXPECT_EQ(at, 0u);
}

TEST_F(JSONNumberToken, EndOfTheTextIsIntegerZero) {
    EXPECT_EQ(read(u""), Value(0));
    at = 9;
    EXPECT_EQ(JSONEncoder::jsonNumberForStr(u"12", at, error), Value(0));
}

TEST_F(JSONNumberToken, EarlierErrorIsNothing) {
    error = true;
    EXPECT_EQ(JSONEncoder::jsonNumberForStr(u"12", at, error), kNothing);
}

TEST_F(JSONNumberToken, SignCountsAnywhereAndOnce) {
    EXPECT_EQ(read(u"-5"), Value(-5));
    EXPECT_EQ(read(u"1-2-3"), Value(-123));
    EXPECT_EQ(read(u"--5"), Value(-5));
    EXPECT_EQ(read(u"2.5-"), Value(-2.5));
}

TEST_F(JSONNumberToken, PointMakesADouble) {
    EXPECT_EQ(read(u"2.5"), Value(2.5));
    EXPECT_EQ(read(u"3."), Value(3.0));
    EXPECT_EQ(read(u".25"), Value(0.25));
    EXPECT_EQ(read(u"-0.5"), Value(-0.5));
}

TEST_F(JSONNumberToken, SecondPointIsAnError) {
    EXPECT_EQ(read(u"1.2.3"), kNothing);
    EXPECT_TRUE(error);
    EXPECT_EQ(read(u"1.."), kNothing);
}

TEST_F(JSONNumberToken, LowerCaseExponentIsSkippedAndUpperCaseEnds) {
    EXPECT_EQ(read(u"1e5"), Value(15));
    EXPECT_EQ(read(u"1.5e3"), Value(1.53));
    EXPECT_EQ(read(u"1E5"), Value(1));
    EXPECT_EQ(read(u"1+5"), Value(1));
}

TEST_F(JSONNumberToken, IntegerWrapsRound) {
    EXPECT_EQ(read(u"9223372036854775807"), Value(std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(read(u"9223372036854775808"), Value(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(read(u"-9223372036854775808"), Value(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(read(u"18446744073709551617"), Value(1));
}

}  // namespace
}  // namespace quillmore::tests
