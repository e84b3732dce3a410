#include <gtest/gtest.h>

#include "Common/KeychainManager.h"

namespace quillmore::tests {
namespace {

using Text = KeychainManager::Text;

TEST(KeychainBase64, EmptyAndAbsentTextsAreGivenBack) {
    EXPECT_EQ(KeychainManager::encryptString(""), "");
    EXPECT_EQ(KeychainManager::decryptString(""), "");
    EXPECT_EQ(KeychainManager::encryptString(std::nullopt), std::nullopt);
    EXPECT_EQ(KeychainManager::decryptString(std::nullopt), std::nullopt);
}

TEST(KeychainBase64, StandardAlphabetWithPadding) {
    EXPECT_EQ(KeychainManager::encryptString("a"), "YQ==");
    EXPECT_EQ(KeychainManager::encryptString("ab"), "YWI=");
    EXPECT_EQ(KeychainManager::encryptString("abc"), "YWJj");
    EXPECT_EQ(KeychainManager::encryptString("~~?~~~>"), "fn4/fn5+Pg==");
    EXPECT_EQ(KeychainManager::encryptString("\xC3\xA4"), "w6Q=");
}

TEST(KeychainBase64, SixtyCharactersBecomeEightyWithoutALineBreak) {
    const std::string text(60, 'x');
    const Text encoded = KeychainManager::encryptString(text);
    ASSERT_TRUE(encoded.has_value());
    EXPECT_EQ(encoded->size(), 80u);
    EXPECT_EQ(encoded->find('\n'), std::string::npos);
    EXPECT_EQ(KeychainManager::decryptString(encoded), text);
}

TEST(KeychainBase64, EveryLengthComesBackAcrossTheChunksOfTheDecoder) {
    std::string text;
    for (std::size_t length = 0; length < 3000; length += length < 1100 ? 1 : 97) {
        while (text.size() < length) text += static_cast<char>('!' + text.size() % 90);
        ASSERT_EQ(KeychainManager::decryptString(KeychainManager::encryptString(text)), text)
            << length;
    }
}

TEST(KeychainBase64, ZerosAndUtf8ComeBack) {
    const std::string text("a\0\xE2\x82\xAC\0", 6);
    EXPECT_EQ(KeychainManager::decryptString(KeychainManager::encryptString(text)), text);
}

TEST(KeychainBase64, BytesThatAreNotUtf8AreAbsent) {
    EXPECT_EQ(KeychainManager::decryptString("//79"), std::nullopt);
}

TEST(KeychainBase64, BadBase64GivesWhatTheDecoderYields) {
    EXPECT_EQ(KeychainManager::decryptString("!!!!"), "");
    EXPECT_EQ(KeychainManager::decryptString("*"), "");
}

}  // namespace
}  // namespace quillmore::tests
