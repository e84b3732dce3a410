#include "Common/NSString+Substring.h"

#include <gtest/gtest.h>

#include <string>

namespace quillmore::tests {
namespace {

using Substring::hasCaseInsensitiveSubstring;

TEST(CaseInsensitiveSubstring, CaseOfEitherSideIsIgnored) {
    EXPECT_TRUE(hasCaseInsensitiveSubstring("catalog", "LOG"));
    EXPECT_TRUE(hasCaseInsensitiveSubstring("CATALOG", "log"));
    EXPECT_TRUE(hasCaseInsensitiveSubstring("Catalog", "cAtAlOg"));
}

TEST(CaseInsensitiveSubstring, IsFoundAnywhere) {
    EXPECT_TRUE(hasCaseInsensitiveSubstring("catalog", "Cat"));
    EXPECT_TRUE(hasCaseInsensitiveSubstring("catalog", "TAL"));
    EXPECT_TRUE(hasCaseInsensitiveSubstring("aab", "AB"));
}

TEST(CaseInsensitiveSubstring, OtherTextIsNotFound) {
    EXPECT_FALSE(hasCaseInsensitiveSubstring("catalog", "dog"));
    EXPECT_FALSE(hasCaseInsensitiveSubstring("catalog", "catalogs"));
    EXPECT_FALSE(hasCaseInsensitiveSubstring("", "a"));
}

TEST(CaseInsensitiveSubstring, EmptyTextOccursNowhere) {
    EXPECT_FALSE(hasCaseInsensitiveSubstring("catalog", ""));
    EXPECT_FALSE(hasCaseInsensitiveSubstring("", ""));
}

TEST(CaseInsensitiveSubstring, LettersBeyondAsciiFoldToo) {
    EXPECT_TRUE(hasCaseInsensitiveSubstring("Sicherung für Jörg", "FÜR JÖRG"));
    EXPECT_TRUE(hasCaseInsensitiveSubstring("ΑΘΉΝΑΣ", "αθήνας"));
    EXPECT_TRUE(hasCaseInsensitiveSubstring("москва", "МОСКВА"));
    EXPECT_TRUE(hasCaseInsensitiveSubstring("𐐨", "𐐀"));
}

TEST(CaseInsensitiveSubstring, SharpSEqualsTwoLetters) {
    EXPECT_TRUE(hasCaseInsensitiveSubstring("Hauptstraße 1", "STRASSE"));
    EXPECT_TRUE(hasCaseInsensitiveSubstring("STRASSE", "straße"));
}

TEST(CaseInsensitiveSubstring, ComposedAndDecomposedLettersAreEqual) {
    EXPECT_TRUE(hasCaseInsensitiveSubstring("caf\u00E9", "CAFE\u0301"));
    EXPECT_TRUE(hasCaseInsensitiveSubstring("cafe\u0301 au lait", "F\u00C9"));
}

TEST(CaseInsensitiveSubstring, AccentsCount) {
    EXPECT_FALSE(hasCaseInsensitiveSubstring("caf\u00E9", "cafe"));
    EXPECT_FALSE(hasCaseInsensitiveSubstring("cafe\u0301", "cafe"));
    EXPECT_FALSE(hasCaseInsensitiveSubstring("cafe", "caf\u00E9"));
}

TEST(CaseInsensitiveSubstring, LetterAfterAnAccentedOneIsStillFound) {
    EXPECT_TRUE(hasCaseInsensitiveSubstring("e\u0301 e", "E"));
}

TEST(CaseInsensitiveSubstring, WidthAndCompatibilityCount) {
    EXPECT_FALSE(hasCaseInsensitiveSubstring("ｌｏｇ", "log"));
    EXPECT_FALSE(hasCaseInsensitiveSubstring("ﬁle", "\u2460"));
}

TEST(CaseInsensitiveSubstring, ZeroBytesAndBadBytesAreSearchedOver) {
    EXPECT_TRUE(hasCaseInsensitiveSubstring(std::string("a\0LOG", 5), "log"));
    EXPECT_FALSE(hasCaseInsensitiveSubstring("log", std::string("log\0", 4)));
    EXPECT_TRUE(hasCaseInsensitiveSubstring("\xFF\xC3LOG\xE2\x82", "log"));
}

}  // namespace
}  // namespace quillmore::tests
