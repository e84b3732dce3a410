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

std::string inPlist(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + body +
           "\n</plist>\n";
}

/// The value of a list that must be readable.
Value valueOf(const std::string& bytes) {
    const auto list = parsePropertyList(bytes);
    EXPECT_TRUE(list.hasValue()) << list.error().localizedDescription();
    return list ? *list : Value();
}

/// The description of the error of a list that must not be readable.
std::string errorOf(const std::string& bytes) {
    const auto list = parsePropertyList(bytes);
    EXPECT_FALSE(list.hasValue());
    if (list) return "";
    EXPECT_EQ(list.error().domain(), platform::kFileErrorDomain);
    return list.error().localizedDescription();
}

std::string damagedIn(int line, const std::string& fault) {
    return "the property list is damaged in line " + std::to_string(line) + ": " + fault;
}

std::string repeated(const std::string& text, std::size_t count) {
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t index = 0; index < count; ++index) result += text;
    return result;
}

std::string nestedArrays(std::size_t depth) {
    return inPlist(repeated("<array>", depth) + repeated("</array>", depth));
}

TEST(PropertyListXml, ReadsADictionaryWithEveryKind) {
    const Value value = valueOf(inPlist(
        "<dict><key>t</key><true/><key>f</key><false></false><key>i</key><integer>-7</integer>"
        "<key>r</key><real>1.5</real><key>s</key><string>text</string>"
        "<key>d</key><data>AQID</data><key>m</key><date>2001-01-02T00:00:01Z</date>"
        "<key>a</key><array><integer>1</integer><dict/></array></dict>"));
    EXPECT_EQ(value, Value(Dictionary{{"t", true},
                                      {"f", false},
                                      {"i", -7},
                                      {"r", 1.5},
                                      {"s", "text"},
                                      {"d", Data{{1, 2, 3}}},
                                      {"m", Date{86401}},
                                      {"a", Array{1, Dictionary{}}}}));
}

TEST(PropertyListXml, TheDocumentTypeAndCommentsArePassedOver) {
    EXPECT_EQ(
        valueOf("<?xml version=\"1.0\"?>\n<!-- <dict> -->\n<!DOCTYPE plist PUBLIC \"a\" \"b\" "
                "[<!ELEMENT x (y)>]>\n<plist><!-- c --><array><!-- c -->"
                "<string>a<!-- c -->b</string></array></plist><!-- c -->"),
        Value(Array{"ab"}));
}

TEST(PropertyListXml, StringsKeepTheirBlanksAndJoinTheirParts) {
    EXPECT_EQ(valueOf(inPlist("<string>  a b\n </string>")), Value("  a b\n "));
    EXPECT_EQ(valueOf(inPlist("<string>   </string>")), Value("   "));
    EXPECT_EQ(valueOf(inPlist("<string/>")), Value(""));
    EXPECT_EQ(valueOf(inPlist("<string> <![CDATA[<a> & ]]>b<![CDATA[c]]> </string>")),
              Value(" <a> & bc "));
    EXPECT_EQ(valueOf(inPlist("<string>a\r\nb\rc</string>")), Value("a\nb\nc"));
}

TEST(PropertyListXml, DecodesEntities) {
    EXPECT_EQ(
        valueOf(inPlist("<string>&lt;&gt;&amp;&quot;&apos;&#65;&#x42;&#x1F389;&#13;</string>")),
        Value("<>&\"'AB🎉\r"));
    EXPECT_EQ(valueOf(inPlist("<dict><key>a&amp;b</key><true/></dict>")),
              Value(Dictionary{{"a&b", true}}));
    EXPECT_EQ(valueOf(inPlist("<string>&amp;lt;</string>")), Value("&lt;"));
}

TEST(PropertyListXml, UnknownEntitiesAreRefused) {
    for (const char* entity : {"&nope;", "&", "&amp", "&#0;", "&#xD800;", "&#x110000;", "&#;",
                               "&#x;", "&#99999999999;", "&#-1;", "&;"}) {
        EXPECT_EQ(errorOf(inPlist("<string>" + std::string(entity) + "</string>")),
                  damagedIn(3, "an entity that is not known"))
            << entity;
    }
}

TEST(PropertyListXml, NothingOutsideTheFileIsRead) {
    EXPECT_EQ(errorOf("<!DOCTYPE plist [<!ENTITY e SYSTEM \"file:///etc/passwd\">]>\n"
                      "<plist><string>&e;</string></plist>"),
              damagedIn(2, "an entity that is not known"));
}

TEST(PropertyListXml, EntitiesThatMultiplyAreRefused) {
    EXPECT_EQ(errorOf("<!DOCTYPE plist [<!ENTITY a \"xxxx\"><!ENTITY b \"&a;&a;&a;&a;\">]>\n"
                      "<plist><string>&b;</string></plist>"),
              damagedIn(2, "an entity that is not known"));
}

TEST(PropertyListXml, IntegersAreDecimalOrHexadecimalAndSaturate) {
    const std::pair<const char*, std::int64_t> rows[] = {
        {"0", 0},
        {" 42\n", 42},
        {"+42", 42},
        {"-42", -42},
        {"0x1F", 31},
        {"0Xff", 255},
        {"-0x10", -16},
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"18446744073709551615", std::numeric_limits<std::int64_t>::max()},
        {"99999999999999999999999", std::numeric_limits<std::int64_t>::max()},
        {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        {"-99999999999999999999999", std::numeric_limits<std::int64_t>::min()},
        {"0xFFFFFFFFFFFFFFFF", std::numeric_limits<std::int64_t>::max()}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(valueOf(inPlist("<integer>" + std::string(text) + "</integer>")), Value(expected))
            << text;
    }
}

TEST(PropertyListXml, InvalidIntegersAreRefused) {
    for (const char* text : {"", " ", "-", "x", "1x", "1 2", "0x", "--1", "+-1", "1.5"}) {
        EXPECT_EQ(errorOf(inPlist("<integer>" + std::string(text) + "</integer>")),
                  damagedIn(3, "invalid text in <integer>"))
            << text;
    }
}

TEST(PropertyListXml, RealsIncludeInfinity) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::pair<const char*, double> rows[] = {{"1", 1.0},
                                                   {" -1.5e3 ", -1500.0},
                                                   {"+.5", 0.5},
                                                   {"inf", infinity},
                                                   {"+infinity", infinity},
                                                   {"-INF", -infinity},
                                                   {"1e999", infinity},
                                                   {"-1e999", -infinity},
                                                   {"1e-999", 0.0},
                                                   {"-1e-999", -0.0},
                                                   {"1e99999999999", infinity},
                                                   {"1e-99999999999", 0.0},
                                                   {"0.001e400", infinity},
                                                   {"4.9e-324", 4.9e-324}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(valueOf(inPlist("<real>" + std::string(text) + "</real>")), Value(expected))
            << text;
    }
    EXPECT_TRUE(std::isnan(*valueOf(inPlist("<real>nan</real>")).real()));
}

TEST(PropertyListXml, InvalidRealsAreRefused) {
    for (const char* text : {"", "x", "1,5", "1.5x", "+-1", "nan(1)", "0x1p3", "e5"}) {
        EXPECT_EQ(errorOf(inPlist("<real>" + std::string(text) + "</real>")),
                  damagedIn(3, "invalid text in <real>"))
            << text;
    }
}

TEST(PropertyListXml, DatesMustExist) {
    EXPECT_EQ(valueOf(inPlist("<date>2000-02-29T12:00:00Z</date>")), Value(Date{-26481600}));
    EXPECT_EQ(valueOf(inPlist("<date>1900-01-01T00:00:00Z</date>")), Value(Date{-3187296000}));
    for (const char* text : {"", "2001-01-01", "2001-02-29T00:00:00Z", "2001-13-01T00:00:00Z",
                             "2001-01-01T24:00:00Z", "2001-01-01T00:60:00Z", "2001-01-01T00:00:61Z",
                             "2001-01-01T00:00:00", "2001-01-01 00:00:00Z", "20010101T000000Z"}) {
        EXPECT_EQ(errorOf(inPlist("<date>" + std::string(text) + "</date>")),
                  damagedIn(3, "invalid text in <date>"))
            << text;
    }
}

TEST(PropertyListXml, DataIsBase64WithBlanksAnywhere) {
    EXPECT_EQ(valueOf(inPlist("<data/>")), Value(Data{}));
    EXPECT_EQ(valueOf(inPlist("<data>\n\tAP+A\n\t/w==\n</data>")),
              Value(Data{{0x00, 0xFF, 0x80, 0xFF}}));
    EXPECT_EQ(valueOf(inPlist("<data>AQI</data>")), Value(Data{{1, 2}}));
    for (const char* text : {"A", "AQID!", "AQ==AQ==", "A===", "AQ_-"}) {
        EXPECT_EQ(errorOf(inPlist("<data>" + std::string(text) + "</data>")),
                  damagedIn(3, "invalid text in <data>"))
            << text;
    }
}

TEST(PropertyListXml, OfAKeyThatOccursTwiceTheLastValueHolds) {
    EXPECT_EQ(valueOf(inPlist("<dict><key>a</key><true/><key>a</key><string>b</string></dict>")),
              Value(Dictionary{{"a", "b"}}));
}

TEST(PropertyListXml, DictionariesNeedAKeyForEachValue) {
    EXPECT_EQ(errorOf(inPlist("<dict>\n<true/></dict>")),
              damagedIn(4, "a value without a key in <dict>"));
    EXPECT_EQ(errorOf(inPlist("<dict><key>a</key></dict>")),
              damagedIn(3, "no value for the key \"a\""));
    EXPECT_EQ(errorOf(inPlist("<dict><key>a</key>\n<key>b</key><true/></dict>")),
              damagedIn(4, "no value for the key \"a\""));
}

TEST(PropertyListXml, ElementsOutOfPlaceAreRefused) {
    EXPECT_EQ(errorOf(inPlist("<array><key>a</key></array>")),
              damagedIn(3, "unknown element <key>"));
    EXPECT_EQ(errorOf(inPlist("<blob/>")), damagedIn(3, "unknown element <blob>"));
    EXPECT_EQ(errorOf(inPlist("<string>a<b/></string>")),
              damagedIn(3, "an element inside <string>"));
    EXPECT_EQ(errorOf(inPlist("<true>x</true>")), damagedIn(3, "invalid text in <true>"));
    EXPECT_EQ(errorOf(inPlist("<array>x<true/></array>")),
              damagedIn(3, "text where an element is expected"));
    EXPECT_EQ(errorOf(inPlist("<array><true/>x</array>")),
              damagedIn(3, "text where an element is expected"));
}

TEST(PropertyListXml, TheRootIsOnePlistWithOneValue) {
    EXPECT_EQ(errorOf("<html/>"), damagedIn(1, "the root element is <html> instead of <plist>"));
    EXPECT_EQ(errorOf("<plist/>"), damagedIn(1, "no value in <plist>"));
    EXPECT_EQ(errorOf("<plist><true/>\n<true/></plist>"),
              damagedIn(2, "more than one value in <plist>"));
    EXPECT_EQ(errorOf("<plist><true/></plist>\n<plist/>"), damagedIn(2, "a second root element"));
    EXPECT_EQ(errorOf("just text"), damagedIn(1, "text where an element is expected"));
    EXPECT_EQ(errorOf("<plist><true/></plist> more"),
              damagedIn(1, "text where an element is expected"));
    EXPECT_EQ(errorOf(" \n"), damagedIn(1, "there is no <plist> element"));
}

TEST(PropertyListXml, AnEmptyFileIsAnError) {
    EXPECT_EQ(errorOf(""), "the property list is empty");
}

TEST(PropertyListXml, EveryTruncationIsAnError) {
    const std::string whole =
        "<?xml version=\"1.0\"?><!DOCTYPE plist><plist><dict><key>a&amp;</key><array>"
        "<string>b</string><data>AQID</data></array></dict></plist>";
    ASSERT_EQ(valueOf(whole).dictionary()->size(), 1U);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(parsePropertyList(whole.substr(0, length)).hasValue()) << length;
    }
}

TEST(PropertyListXml, OnlyUnicodeTextIsRead) {
    EXPECT_EQ(errorOf(inPlist("<string>\xE4</string>")), "the property list is not UTF-8 text");
    EXPECT_EQ(errorOf(inPlist("<string>\xED\xA0\x80</string>")),
              "the property list is not UTF-8 text");
    EXPECT_EQ(errorOf(inPlist(std::string("<string>a\0b</string>", 20))),
              "the property list contains a zero character");
    EXPECT_EQ(valueOf("\xEF\xBB\xBF" + inPlist("<string>ä</string>")), Value("ä"));
}

TEST(PropertyListXml, Utf16IsReadInBothByteOrders) {
    const std::string plain = "<plist><string>a</string></plist>";
    std::string little = "\xFF\xFE";
    std::string big = "\xFE\xFF";
    for (const char character : plain) {
        (little += character) += '\0';
        (big += '\0') += character;
    }
    EXPECT_EQ(valueOf(little), Value("a"));
    EXPECT_EQ(valueOf(big), Value("a"));
    EXPECT_EQ(errorOf(big + "x"), "the property list is not UTF-8 text");
}

TEST(PropertyListXml, ContainersMayNestToTheLimitOnly) {
    EXPECT_TRUE(parsePropertyList(nestedArrays(platform::kMaximumPropertyListDepth)).hasValue());
    EXPECT_EQ(errorOf(nestedArrays(platform::kMaximumPropertyListDepth + 1)),
              damagedIn(3, "too many nested containers"));
}

TEST(PropertyListXml, HundredThousandLevelsAreAnErrorNotACrash) {
    EXPECT_EQ(errorOf(nestedArrays(100'000)), damagedIn(3, "too many nested containers"));
    EXPECT_FALSE(parsePropertyList(inPlist(repeated("<dict><key>a</key>", 100'000))).hasValue());
}

TEST(PropertyListXml, FilesBeyondTheLimitsAreRefusedUnread) {
    EXPECT_EQ(errorOf(std::string(100'000'000, '<')),
              "the property list is larger than 33554432 bytes");
    EXPECT_EQ(errorOf(inPlist("<array>" + repeated("<true/>", 2'000'001) + "</array>")),
              "the property list has too many values");
}

TEST(PropertyListXml, LongNamesAreCutInTheError) {
    EXPECT_LT(errorOf(inPlist("<" + std::string(1'000'000, 'x') + "/>")).size(), 300U);
}

}  // namespace
}  // namespace quillmore::tests
