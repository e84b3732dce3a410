#include "Platform/Formats/StringTable.h"

#include <gtest/gtest.h>

#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using namespace std::string_literals;
using platform::parseStringTable;
using platform::StringTable;

StringTable tableOf(const std::string& bytes) {
    const auto table = parseStringTable(bytes);
    EXPECT_TRUE(table.hasValue()) << table.error().localizedDescription();
    return table ? *table : StringTable();
}

std::string errorOf(const std::string& bytes) {
    const auto table = parseStringTable(bytes);
    EXPECT_FALSE(table.hasValue());
    if (table) return "";
    EXPECT_EQ(table.error().domain(), platform::kFileErrorDomain);
    return table.error().localizedDescription();
}

std::string damagedIn(int line, const std::string& fault) {
    return "the string table is damaged in line " + std::to_string(line) + ": " + fault;
}

/// The text that an escaped one between quotation marks stands for.
std::string unescaped(const std::string& escaped) {
    return tableOf("k = \"" + escaped + "\";")["k"];
}

TEST(StringTables, ReadPairsOfKeyAndText) {
    EXPECT_EQ(tableOf("\"key\" = \"text\";\n\"%@ key\"=\"%@ text\";"),
              (StringTable{{"key", "text"}, {"%@ key", "%@ text"}}));
    EXPECT_EQ(tableOf("\"a\"=\"\";\"\"=\"b\";"), (StringTable{{"a", ""}, {"", "b"}}));
}

TEST(StringTables, AnEmptyFileIsAnEmptyTable) {
    EXPECT_EQ(tableOf(""), StringTable());
    EXPECT_EQ(tableOf(" \n\t"), StringTable());
    EXPECT_EQ(tableOf("\xEF\xBB\xBF"), StringTable());
    EXPECT_EQ(tableOf("/* only */ // comments"), StringTable());
}

TEST(StringTables, WordsNeedNoQuotationMarks) {
    EXPECT_EQ(tableOf("com.some_app-1/$x:y = word;"),
              (StringTable{{"com.some_app-1/$x:y", "word"}}));
    EXPECT_EQ(tableOf("'single \"' = 'it\\'s';"), (StringTable{{"single \"", "it's"}}));
}

TEST(StringTables, AKeyAloneIsItsOwnText) {
    EXPECT_EQ(tableOf("key; \"other one\" ;"),
              (StringTable{{"key", "key"}, {"other one", "other one"}}));
}

TEST(StringTables, OfAKeyThatOccursTwiceTheLastTextHolds) {
    EXPECT_EQ(tableOf("a=\"1\"; b=\"2\"; a=\"3\";"), (StringTable{{"a", "3"}, {"b", "2"}}));
}

TEST(StringTables, CommentsMayStandBetweenAnyParts) {
    EXPECT_EQ(tableOf("/* \"x\" = */ a /**/ = // c ;\n \"1\" /* ** */ ; // end\r\"b\" = \"2\";"),
              (StringTable{{"a", "1"}, {"b", "2"}}));
    EXPECT_EQ(tableOf("a/*c*/=b//c\n;"), (StringTable{{"a", "b"}}));
    EXPECT_EQ(tableOf("\"/* a */\" = \"// b\";"), (StringTable{{"/* a */", "// b"}}));
}

TEST(StringTables, EscapesOfSingleCharacters) {
    EXPECT_EQ(unescaped(R"(\n\t\r\"\\\'\a\b\f\v)"), "\n\t\r\"\\'\a\b\f\v");
    EXPECT_EQ(unescaped(R"(\q\%)"), "q%");
    EXPECT_EQ(unescaped("\\\n"), "\n");
    EXPECT_EQ(unescaped("two\nlines"), "two\nlines");
}

TEST(StringTables, OctalEscapesTakeUpToThreeDigits) {
    EXPECT_EQ(unescaped(R"(\101\60\7x)"), "A0\ax");
    EXPECT_EQ(unescaped(R"(\0)"), "\0"s);
    EXPECT_EQ(unescaped(R"(\1018)"), "A8");
    EXPECT_EQ(unescaped(R"(\344)"), "ä");
    EXPECT_EQ(errorOf("a = \"\\400\";"), damagedIn(1, "an octal escape above \\377"));
}

TEST(StringTables, UnicodeEscapesJoinSurrogates) {
    EXPECT_EQ(unescaped(R"(\U00e4\u20AC\Ud83c\udf89)"), "ä€🎉");
    EXPECT_EQ(unescaped(R"(\U00411)"), "A1");
}

TEST(StringTables, BadUnicodeEscapesAreRefused) {
    const std::string lone = damagedIn(2, "a surrogate without its partner");
    for (const char* text : {R"(\Ud83c)", R"(\Udf89)", R"(\Ud83cx)", R"(\Ud83c\n)",
                             R"(\Ud83c\U0041)", R"(\Ud83c\Ud83c)", R"(\Ud83c\U12)"}) {
        EXPECT_EQ(errorOf("\na = \"" + std::string(text) + "\";"), lone) << text;
    }
    for (const char* text : {R"(\U)", R"(\U12)", R"(\U12g4)", R"(\u +12)"}) {
        EXPECT_EQ(errorOf("a = \"" + std::string(text) + "\";"),
                  damagedIn(1, "four hexadecimal digits expected after \\U"))
            << text;
    }
    EXPECT_EQ(errorOf("a = \"\\U1"), damagedIn(1, "four hexadecimal digits expected after \\U"));
}

TEST(StringTables, SyntaxErrorsNameTheLine) {
    EXPECT_EQ(errorOf("a=\"1\";\n\"b\" \"2\";"),
              damagedIn(2, "'=' or ';' expected after the key \"b\""));
    EXPECT_EQ(errorOf("\r\n\r\na = \"1\"\r\nb = \"2\";"),
              damagedIn(4, "';' expected after the text of \"a\""));
    EXPECT_EQ(errorOf("a = \"1\""), damagedIn(1, "';' expected after the text of \"a\""));
    EXPECT_EQ(errorOf("a"), damagedIn(1, "'=' or ';' expected after the key \"a\""));
    EXPECT_EQ(errorOf("\ra = ;"), damagedIn(2, "a text expected"));
    EXPECT_EQ(errorOf("a ="), damagedIn(1, "a text expected"));
    EXPECT_EQ(errorOf("= b;"), damagedIn(1, "a key expected"));
    EXPECT_EQ(errorOf("a;;"), damagedIn(1, "a key expected"));
    EXPECT_EQ(errorOf("{ a = b; }"), damagedIn(1, "a key expected"));
}

TEST(StringTables, WhatDoesNotEndNamesTheLineWhereItBegan) {
    EXPECT_EQ(errorOf("a = b;\n/* c\n\n"), damagedIn(2, "the comment does not end"));
    EXPECT_EQ(errorOf("/*/"), damagedIn(1, "the comment does not end"));
    EXPECT_EQ(errorOf("\na = \"b;\n\n"), damagedIn(2, "the string does not end"));
    EXPECT_EQ(errorOf("\"a\\"), damagedIn(1, "the string does not end"));
    EXPECT_EQ(errorOf("\""), damagedIn(1, "the string does not end"));
}

TEST(StringTables, LongKeysAreCutInTheError) {
    EXPECT_LT(errorOf("\"" + std::string(1'000'000, 'x') + "\"").size(), 300U);
}

std::string utf16(const std::string& ascii, bool isBigEndian) {
    std::string bytes;
    for (const char character : ascii) {
        if (isBigEndian)
            (bytes += '\0') += character;
        else
            (bytes += character) += '\0';
    }
    return bytes;
}

TEST(StringTables, Utf16IsReadWithAndWithoutAMark) {
    const StringTable expected{{"a", "1"}};
    EXPECT_EQ(tableOf("\xFF\xFE" + utf16("a=\"1\";", false)), expected);
    EXPECT_EQ(tableOf("\xFE\xFF" + utf16("a=\"1\";", true)), expected);
    EXPECT_EQ(tableOf(utf16("a=\"1\";", false)), expected);
    EXPECT_EQ(tableOf(utf16("a=\"1\";", true)), expected);
}

TEST(StringTables, Utf16TextMayHaveSurrogatePairs) {
    EXPECT_EQ(tableOf("\xFE\xFF" + utf16("a=\"", true) + "\xD8\x3C\xDF\x89" + utf16("\";", true)),
              (StringTable{{"a", "🎉"}}));
}

TEST(StringTables, Utf8IsReadWithAMark) {
    EXPECT_EQ(tableOf("\xEF\xBB\xBF\"ä\" = \"€\";"), (StringTable{{"ä", "€"}}));
}

TEST(StringTables, OtherEncodingsAreRefused) {
    const std::string error = "the string table is neither UTF-8 nor UTF-16 text";
    EXPECT_EQ(errorOf("a = \"\xE4\";"), error);
    EXPECT_EQ(errorOf("a = \"\xED\xA0\x80\";"), error);
    EXPECT_EQ(errorOf("\xFF\xFE" + utf16("a;", false) + "x"), error);
    EXPECT_EQ(errorOf("\xFE\xFF" + utf16("a=\"", true) + "\xD8\x3C" + utf16("\";", true)), error);
}

TEST(StringTables, PropertyListsWithTextsCountAsTables) {
    EXPECT_EQ(tableOf("\n<plist><dict><key>a</key><string>1</string></dict></plist>"),
              (StringTable{{"a", "1"}}));
    EXPECT_EQ(tableOf("bplist00\xD1\1\2\x51"
                      "a\x51"
                      "1\x08\x0B\x0D\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\3"
                      "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0F"s),
              (StringTable{{"a", "1"}}));
}

TEST(StringTables, OtherPropertyListsAreRefused) {
    EXPECT_EQ(errorOf("<plist><array/></plist>"), "the string table is not a dictionary");
    EXPECT_EQ(errorOf("<plist><dict><key>a</key><true/></dict></plist>"),
              "the string table has no text for the key \"a\"");
    EXPECT_TRUE(errorOf("<plist>").starts_with("the property list is damaged in line 1: "));
    EXPECT_EQ(errorOf("bplist"),
              "the binary property list is damaged: the trailer does not fit the file");
}

TEST(StringTables, HugeFilesAreRefusedUnread) {
    EXPECT_EQ(errorOf(std::string(100'000'000, ' ')),
              "the string table is larger than 33554432 bytes");
}

TEST(StringTableFiles, AreReadThroughTheFileManager) {
    TemporaryFiles disk;
    disk.makeFile("/a.strings", "a = \"1\";");
    const auto table = platform::readStringTable(disk.files, "/a.strings");
    ASSERT_TRUE(table.hasValue());
    EXPECT_EQ(*table, (StringTable{{"a", "1"}}));
}

TEST(StringTableFiles, AMissingFileIsTheErrorOfTheCLibrary) {
    TemporaryFiles disk;
    const auto table = platform::readStringTable(disk.files, "/missing.strings");
    ASSERT_FALSE(table.hasValue());
    EXPECT_EQ(table.error().code(), ENOENT);
}

}  // namespace
}  // namespace quillmore::tests
