#include "QuillmoreLauncher/Classes/ToolBanner.h"

#include <gtest/gtest.h>

namespace quillmore {
namespace {

std::optional<std::string> textOf(std::initializer_list<std::string> pieces) {
    ToolBanner banner;
    for (const std::string& piece : pieces) banner.append(piece);
    return banner.versionText();
}

TEST(ToolBanner, NoOutputIsAnEmptyText) {
    EXPECT_EQ(textOf({}), "");
}

TEST(ToolBanner, WithoutTheMarkerTheWholeOutputCounts) {
    EXPECT_EQ(textOf({"1.15", ".0.0\n"}), "1.15.0.0\n");
}

TEST(ToolBanner, TheLastMarkerCounts) {
    EXPECT_EQ(textOf({"A Limited 1 B Limited 2.0.0.0\n"}), "2.0.0.0\n");
    EXPECT_EQ(textOf({"A Limited 1", " B Limited 2.0", ".0.0"}), "2.0.0.0");
}

TEST(ToolBanner, TheMarkerNeedsItsBlank) {
    EXPECT_EQ(textOf({"Limited\n1"}), "Limited\n1");
}

TEST(ToolBanner, FindsAMarkerCutAnywhere) {
    const std::string output = "Some Limited 1.2.3.4";
    for (std::size_t cut = 0; cut <= output.size(); ++cut)
        EXPECT_EQ(textOf({output.substr(0, cut), output.substr(cut)}), "1.2.3.4") << cut;
}

TEST(ToolBanner, FindsAMarkerThatComesByteByByte) {
    ToolBanner banner;
    for (const char c : std::string("Limited 1 Limited 2")) banner.append(std::string(1, c));
    EXPECT_EQ(banner.versionText(), "2");
}

TEST(ToolBanner, KeepsABoundedVersionText) {
    ToolBanner banner;
    banner.append("x Limited 7.1.0.0\n");
    for (int i = 0; i < 40; ++i) banner.append(std::string(100'000, 'z'));
    const auto text = banner.versionText();
    ASSERT_TRUE(text);
    EXPECT_EQ(text->size(), ToolBanner::kMaximumVersionText);
    EXPECT_EQ(text->substr(0, 9), "7.1.0.0\nz");
}

TEST(ToolBanner, FindsAMarkerAfterMoreThanItKeeps) {
    ToolBanner banner;
    for (int i = 0; i < 40; ++i) banner.append(std::string(100'000, 'z'));
    banner.append("Limited 3.0.0.0");
    EXPECT_EQ(banner.versionText(), "3.0.0.0");
}

TEST(ToolBanner, OutputThatIsNotUtf8GivesNothing) {
    EXPECT_EQ(textOf({"\xFFLimited 1.2.3.4"}), std::nullopt);
    EXPECT_EQ(textOf({"Limited 1.2.3.4\xC3"}), std::nullopt);
    EXPECT_EQ(textOf({"\x80\x80\x80\x80", "Limited 1"}), std::nullopt);
}

TEST(ToolBanner, CharactersMayBeCutBetweenPieces) {
    EXPECT_EQ(textOf({"\xE2", "\x82", "\xAC Limited 1"}), "1");
    EXPECT_EQ(textOf({"\xF0\x9F", "\x98\x80"}), "\xF0\x9F\x98\x80");
    EXPECT_EQ(textOf({"\xF0\x9F", "x\x98\x80"}), std::nullopt);
}

}  // namespace
}  // namespace quillmore
