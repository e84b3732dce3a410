#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Platform/Formats/PropertyList.h"

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Data;
using platform::Date;
using platform::Dictionary;
using platform::parsePropertyList;
using platform::Value;
using platform::writePropertyList;

/// What a written value reads as.
Value readBack(const Value& value) {
    const auto list = parsePropertyList(writePropertyList(value));
    EXPECT_TRUE(list.hasValue()) << list.error().localizedDescription();
    return list ? *list : Value();
}

TEST(PropertyListWriting, GivesTheUsualXmlWithTabsAndSortedKeys) {
    const Value value(Dictionary{
        {"b", Array{true, false, Dictionary{}, Array{}}}, {"a", "<&>"}, {"c", Data{{1, 2, 3}}}});
    EXPECT_EQ(writePropertyList(value),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
              "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
              "<plist version=\"1.0\">\n"
              "<dict>\n"
              "\t<key>a</key>\n"
              "\t<string>&lt;&amp;&gt;</string>\n"
              "\t<key>b</key>\n"
              "\t<array>\n\t\t<true/>\n\t\t<false/>\n\t\t<dict/>\n\t\t<array/>\n\t</array>\n"
              "\t<key>c</key>\n"
              "\t<data>\n\tAQID\n\t</data>\n"
              "</dict>\n"
              "</plist>\n");
}

TEST(PropertyListWriting, EveryKindReadsBackAsItWas) {
    const Value value(Dictionary{{"true", true},
                                 {"false", false},
                                 {"integers", Array{0, -1, std::numeric_limits<std::int64_t>::min(),
                                                    std::numeric_limits<std::int64_t>::max()}},
                                 {"reals", Array{0.1, -1e300, 5e-324, 1.0, -0.0}},
                                 {"string", "ä€🎉 & <tags> \"'"},
                                 {"", "empty key"},
                                 {"date", Date{-86400}},
                                 {"data", Data{{0, 255, 16}}},
                                 {"empty", Array{"", Data{}, Array{}, Dictionary{}}}});
    EXPECT_EQ(readBack(value), value);
}

TEST(PropertyListWriting, InfinityAndNotANumberReadBack) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(readBack(infinity), Value(infinity));
    EXPECT_EQ(readBack(-infinity), Value(-infinity));
    EXPECT_TRUE(std::isnan(*readBack(std::nan("")).real()));
}

TEST(PropertyListWriting, BlanksLineEndsAndControlCharactersReadBack) {
    for (const char* text : {"  two  ", "\n", "a\r\nb", "\t", "\x01\x1F\x7F", "]]>"}) {
        EXPECT_EQ(readBack(text), Value(text)) << text;
        EXPECT_EQ(readBack(Dictionary{{text, 1}}), Value(Dictionary{{text, 1}})) << text;
    }
}

TEST(PropertyListWriting, TextThatXmlCannotSayIsReplaced) {
    EXPECT_EQ(readBack(std::string("a\xFF"
                                   "b")),
              Value("a\uFFFDb"));
    EXPECT_EQ(readBack(std::string("a\0b", 3)), Value("a\uFFFDb"));
}

TEST(PropertyListWriting, LongDataIsBrokenIntoLinesAndReadsBack) {
    Data data;
    for (int index = 0; index < 1000; ++index) {
        data.bytes.push_back(static_cast<std::uint8_t>(index * 7));
    }
    EXPECT_EQ(readBack(data), Value(data));
    const std::string text = writePropertyList(data);
    EXPECT_EQ(text.find("<data>\n") + 7 + 76, text.find('\n', text.find("<data>\n") + 7));
}

TEST(PropertyListWriting, NullValuesAreLeftOut) {
    EXPECT_EQ(readBack(Array{1, Value(), 2}), Value(Array{1, 2}));
    EXPECT_EQ(readBack(Dictionary{{"a", Value()}, {"b", 1}}), Value(Dictionary{{"b", 1}}));
    EXPECT_TRUE(writePropertyList(Value()).ends_with("<plist version=\"1.0\">\n</plist>\n"));
}

TEST(PropertyListWriting, YearsBeyondFourDigitsAreHeld) {
    EXPECT_EQ(readBack(Date{1e15}), Value(Date{252423993599}));
    EXPECT_EQ(readBack(Date{0.75}), Value(Date{0}));
}

}  // namespace
}  // namespace quillmore::tests
