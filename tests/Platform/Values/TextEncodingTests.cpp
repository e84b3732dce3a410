#include "Platform/Values/TextEncoding.h"

#include <gtest/gtest.h>

namespace quillmore::tests {
namespace {

using platform::ByteOrder;
using platform::isUtf8;
using platform::textOfFile;
using platform::utf8FromUtf16;

std::string appended(char32_t codePoint) {
    std::string text;
    platform::appendUtf8(text, codePoint);
    return text;
}

/// What a file of these bytes reads as; nothing when it is not text.
std::optional<std::string> textOf(std::string_view bytes) {
    std::string storage;
    const auto text = textOfFile(bytes, storage);
    if (!text) return std::nullopt;
    return std::string(*text);
}

TEST(Utf8, AcceptsEveryLength) {
    EXPECT_TRUE(isUtf8(""));
    EXPECT_TRUE(isUtf8("plain text longer than eight bytes"));
    EXPECT_TRUE(
        isUtf8("\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"));
    EXPECT_TRUE(isUtf8("\xED\x9F\xBF\xEE\x80\x80"));
}

TEST(Utf8, RefusesWhatTheStandardRefuses) {
    for (const char* bytes :
         {"\x80", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF",
          "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "\xC3", "\xE2\x82",
          "\xF0\x9F\x8E", "\xC3(", "\xE2\x82(", "long enough text, then \x80"}) {
        EXPECT_FALSE(isUtf8(bytes)) << bytes;
    }
}

TEST(Utf8, CountsAndCutsCharacters) {
    EXPECT_EQ(platform::utf8Length("aä€🎉"), 4U);
    EXPECT_EQ(platform::utf8Prefix("aä€🎉", 2), "aä");
    EXPECT_EQ(platform::utf8Prefix("aä€🎉", 9), "aä€🎉");
    EXPECT_EQ(platform::utf8Prefix("ä", 0), "");
}

TEST(Utf8, AppendsEveryLengthAndReplacesWhatIsNoCharacter) {
    EXPECT_EQ(appended('a'), "a");
    EXPECT_EQ(appended(0xE4), "ä");
    EXPECT_EQ(appended(0x20AC), "€");
    EXPECT_EQ(appended(0x1F389), "🎉");
    EXPECT_EQ(appended(0xD800), "\uFFFD");
    EXPECT_EQ(appended(0x110000), "\uFFFD");
}

TEST(Utf8, RepairReplacesOnlyBadBytes) {
    EXPECT_EQ(platform::repairedUtf8("a\xFFä\xC3"), "a\uFFFDä\uFFFD");
    EXPECT_EQ(platform::repairedUtf8("€"), "€");
}

TEST(Utf16, ReadsBothByteOrders) {
    EXPECT_EQ(utf8FromUtf16(std::string_view("\xE4\0\x3C\xD8\x89\xDF", 6), ByteOrder::littleEndian),
              "ä🎉");
    EXPECT_EQ(utf8FromUtf16(std::string_view("\0\xE4\xD8\x3C\xDF\x89", 6), ByteOrder::bigEndian),
              "ä🎉");
}

TEST(Utf16, RefusesOddLengthsAndLoneSurrogates) {
    EXPECT_EQ(utf8FromUtf16("abc", ByteOrder::bigEndian), std::nullopt);
    EXPECT_EQ(utf8FromUtf16("\xD8\x3C", ByteOrder::bigEndian), std::nullopt);
    EXPECT_EQ(utf8FromUtf16("\xDF\x89", ByteOrder::bigEndian), std::nullopt);
    EXPECT_EQ(utf8FromUtf16("\xD8\x3C\x20\x41", ByteOrder::bigEndian), std::nullopt);
}

TEST(TextOfFile, TellsTheEncodingByMarkOrZeroByte) {
    EXPECT_EQ(textOf(""), "");
    EXPECT_EQ(textOf("a"), "a");
    EXPECT_EQ(textOf("aä"), "aä");
    EXPECT_EQ(textOf("\xEF\xBB\xBFä"), "ä");
    EXPECT_EQ(textOf(std::string_view("\xFF\xFE\x61\0", 4)), "a");
    EXPECT_EQ(textOf(std::string_view("\xFE\xFF\0\x61", 4)), "a");
    EXPECT_EQ(textOf(std::string_view("\x61\0", 2)), "a");
    EXPECT_EQ(textOf(std::string_view("\0\x61", 2)), "a");
}

TEST(TextOfFile, OtherBytesAreNotText) {
    EXPECT_EQ(textOf("\x80"), std::nullopt);
    EXPECT_EQ(textOf("\xFF\xFE\x61"), std::nullopt);
    EXPECT_EQ(textOf("\xFE\xFF\xD8\x3C"), std::nullopt);
}

}  // namespace
}  // namespace quillmore::tests
