#include "UpdateTool/Packages/PackageLabel.h"

#include <gtest/gtest.h>

namespace quillmore::tests {
namespace {

using updatetool::packageLabel;

TEST(PackageLabel, ItIsThreeLines) {
    EXPECT_EQ(packageLabel("repairother", "tool"), "Quillmore package 1\nrepairother\ntool\n");
    EXPECT_EQ(packageLabel("repairpackage", ""), "Quillmore package 1\nrepairpackage\n\n");
}
TEST(PackageLabel, NoneIsTheBeginningOfAnother) {
    const std::pair<std::string, std::string> purposes[] = {
        {"repair", "updateqm"},    {"repairother", "tool"},     {"repairotherroot", "tool"},
        {"repairother", "tool2"},  {"repairother", "too"},      {"repairpackage", ""},
        {"repairzipitem", "/a/b"}, {"repairzipitem", "/a/b/c"}, {"repairintel10_5", "Fixes10_5"}};
    for (const auto& one : purposes)
        for (const auto& other : purposes) {
            if (one == other) continue;
            EXPECT_FALSE(packageLabel(one.first, one.second)
                             .starts_with(packageLabel(other.first, other.second)))
                << one.first << other.first;
        }
}

}  // namespace
}  // namespace quillmore::tests
