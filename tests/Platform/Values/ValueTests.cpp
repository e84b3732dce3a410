#include "Platform/Values/Value.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Data;
using platform::Date;
using platform::Dictionary;
using platform::int32FromText;
using platform::int64FromText;
using platform::Value;

constexpr std::int32_t kMax32 = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMin32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kMax64 = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin64 = std::numeric_limits<std::int64_t>::min();

TEST(IntegerFromText, ReadsLeadingDigitsAfterBlanksAndASign) {
    EXPECT_EQ(int32FromText("42"), 42);
    EXPECT_EQ(int32FromText(" \t\r\n\v\f42"), 42);
    EXPECT_EQ(int32FromText("-42"), -42);
    EXPECT_EQ(int32FromText("+42"), 42);
    EXPECT_EQ(int32FromText("42.9 apples"), 42);
    EXPECT_EQ(int64FromText("  -0042x"), -42);
}

TEST(IntegerFromText, TextWithoutLeadingDigitsIsZero) {
    for (const char* text : {"", " ", "-", "+", "x1", "- 1", "+-1", "--1", "-+1", ".5"}) {
        EXPECT_EQ(int32FromText(text), 0) << text;
        EXPECT_EQ(int64FromText(text), 0) << text;
    }
}

TEST(IntegerFromText, SaturatesInBothWidths) {
    EXPECT_EQ(int32FromText("2147483647"), kMax32);
    EXPECT_EQ(int32FromText("2147483648"), kMax32);
    EXPECT_EQ(int32FromText("-2147483649"), kMin32);
    EXPECT_EQ(int32FromText("99999999999999999999"), kMax32);
    EXPECT_EQ(int64FromText("9223372036854775807"), kMax64);
    EXPECT_EQ(int64FromText("9223372036854775808"), kMax64);
    EXPECT_EQ(int64FromText("-9223372036854775808"), kMin64);
    EXPECT_EQ(int64FromText("-99999999999999999999"), kMin64);
    EXPECT_EQ(int64FromText("+99999999999999999999"), kMax64);
}

TEST(ValueConversions, NumbersAnswerTheIntegerConversions) {
    EXPECT_EQ(Value(true).intValue(), 1);
    EXPECT_EQ(Value(false).longLongValue(), 0);
    EXPECT_EQ(Value(std::int64_t{1} << 40).longLongValue(), std::int64_t{1} << 40);
    EXPECT_EQ(Value(std::int64_t{1} << 40).intValue(), kMax32);
    EXPECT_EQ(Value(-(std::int64_t{1} << 40)).intValue(), kMin32);
    EXPECT_EQ(Value(" 12x").intValue(), 12);
}

TEST(ValueConversions, DoublesAreCutTowardsZeroAndSaturate) {
    EXPECT_EQ(Value(2.9).intValue(), 2);
    EXPECT_EQ(Value(-2.9).intValue(), -2);
    EXPECT_EQ(Value(2147483647.5).intValue(), kMax32);
    EXPECT_EQ(Value(1e300).intValue(), kMax32);
    EXPECT_EQ(Value(-1e300).intValue(), kMin32);
    EXPECT_EQ(Value(9223372036854775808.0).longLongValue(), kMax64);
    EXPECT_EQ(Value(-9223372036854775808.0).longLongValue(), kMin64);
    EXPECT_EQ(Value(std::numeric_limits<double>::infinity()).longLongValue(), kMax64);
    EXPECT_EQ(Value(std::numeric_limits<double>::quiet_NaN()).longLongValue(), 0);
    EXPECT_EQ(Value(std::numeric_limits<double>::quiet_NaN()).intValue(), 0);
}

TEST(ValueConversions, OtherKindsAreZeroAndSayThatTheyDoNotAnswer) {
    for (const Value& value : {Value(), Value(Data{{1}}), Value(Date{7}), Value(Array{1}),
                               Value(Dictionary{{"a", 1}})}) {
        EXPECT_FALSE(value.answersIntegerConversion());
        EXPECT_EQ(value.intValue(), 0);
        EXPECT_EQ(value.longLongValue(), 0);
        EXPECT_FALSE(value.boolValue());
    }
}

TEST(ValueConversions, BooleansNumbersAndStringsAnswer) {
    for (const Value& value : {Value(false), Value(0), Value(0.0), Value("")}) {
        EXPECT_TRUE(value.answersIntegerConversion());
    }
}

TEST(ValueConversions, NumbersThatAreNotZeroAreTrue) {
    EXPECT_TRUE(Value(true).boolValue());
    EXPECT_TRUE(Value(-1).boolValue());
    EXPECT_TRUE(Value(0.5).boolValue());
    EXPECT_FALSE(Value(false).boolValue());
    EXPECT_FALSE(Value(0).boolValue());
    EXPECT_FALSE(Value(-0.0).boolValue());
}

TEST(ValueConversions, StringsAreTrueByTheirFirstTellingCharacter) {
    for (const char* text : {"YES", "yes", "true", "T", "1", "9", "  +0001", "-5", "\n0y", "7up"}) {
        EXPECT_TRUE(Value(text).boolValue()) << text;
    }
    for (const char* text : {"", "NO", "no", "false", "0", "000", "-", "+ 1", "--1", "x1", "0.5"}) {
        EXPECT_FALSE(Value(text).boolValue()) << text;
    }
}

TEST(ValueEquality, KindsCount) {
    EXPECT_NE(Value(true), Value(1));
    EXPECT_NE(Value(1), Value(1.0));
    EXPECT_NE(Value("1"), Value(1));
    EXPECT_EQ(Value(1), Value(std::int64_t{1}));
    EXPECT_EQ(Value(Array{1, "a"}), Value(Array{1, "a"}));
}

TEST(ValueDescription, ScalarsPrintAsPlainText) {
    EXPECT_EQ(Value("as it is\n").description(), "as it is\n");
    EXPECT_EQ(Value(std::int64_t{kMin64}).description(), "-9223372036854775808");
    EXPECT_EQ(Value(true).description(), "1");
    EXPECT_EQ(Value(false).description(), "0");
    EXPECT_EQ(Value().description(), "(null)");
}

TEST(ValueDescription, DoublesPrintTheShortestTextThatReadsBack) {
    EXPECT_EQ(Value(1.0).description(), "1");
    EXPECT_EQ(Value(0.1).description(), "0.1");
    EXPECT_EQ(Value(100000.0).description(), "100000");
    EXPECT_EQ(Value(-2.5).description(), "-2.5");
    EXPECT_EQ(Value(1e20).description(), "1e+20");
    EXPECT_EQ(Value(0.1 + 0.2).description(), "0.30000000000000004");
    EXPECT_EQ(Value(std::numeric_limits<double>::infinity()).description(), "inf");
    EXPECT_EQ(Value(-std::numeric_limits<double>::infinity()).description(), "-inf");
    EXPECT_EQ(Value(-std::numeric_limits<double>::quiet_NaN()).description(), "nan");
}

TEST(ValueDescription, DataPrintsInGroupsOfFourBytes) {
    EXPECT_EQ(Value(Data{}).description(), "<>");
    EXPECT_EQ(Value(Data{{0x0a, 0x0b, 0x0c, 0xff}}).description(), "<0a0b0cff>");
    EXPECT_EQ(Value(Data{{1, 2, 3, 4, 5}}).description(), "<01020304 05>");
}

TEST(ValueDescription, DatesPrintInUtcWithoutFractions) {
    EXPECT_EQ(Value(Date{0}).description(), "2001-01-01 00:00:00 +0000");
    EXPECT_EQ(Value(Date{-0.5}).description(), "2000-12-31 23:59:59 +0000");
    EXPECT_EQ(Value(Date{63113904000}).description(), "4001-01-01 00:00:00 +0000");
    EXPECT_EQ(Value(Date{1e300}).description(), "9999-12-31 23:59:59 +0000");
    EXPECT_EQ(Value(Date{-1e300}).description(), "0001-01-01 00:00:00 +0000");
    EXPECT_EQ(Value(Date{std::numeric_limits<double>::quiet_NaN()}).description(),
              "2001-01-01 00:00:00 +0000");
}

TEST(ValueDescription, ContainersNestWithFourBlanksALevel) {
    EXPECT_EQ(Value(Array{"a", "b"}).description(), "(\n    a,\n    b\n)");
    EXPECT_EQ(Value(Array{}).description(), "(\n)");
    EXPECT_EQ(Value(Dictionary{}).description(), "{\n}");
    const Value nested(Dictionary{{"key", "value"}, {"list", Array{1, Dictionary{{"in", true}}}}});
    EXPECT_EQ(nested.description(),
              "{\n"
              "    key = value;\n"
              "    list = (\n"
              "        1,\n"
              "        {\n"
              "            in = 1;\n"
              "        }\n"
              "    );\n"
              "}");
}

TEST(DictionaryLookup, FindsEntriesAndStringsOnly) {
    const Dictionary dictionary{{"text", "t"}, {"number", 1}};
    ASSERT_NE(platform::find(dictionary, "number"), nullptr);
    EXPECT_EQ(*platform::find(dictionary, "number"), Value(1));
    EXPECT_EQ(platform::find(dictionary, "other"), nullptr);
    EXPECT_EQ(platform::stringForKey(dictionary, "text"), "t");
    EXPECT_EQ(platform::stringForKey(dictionary, "number"), std::nullopt);
    EXPECT_EQ(platform::stringForKey(dictionary, "other"), std::nullopt);
}

}  // namespace
}  // namespace quillmore::tests
