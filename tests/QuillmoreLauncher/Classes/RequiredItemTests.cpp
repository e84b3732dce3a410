#include "QuillmoreLauncher/Classes/RequiredItem.h"

#include <gtest/gtest.h>

namespace quillmore {
namespace {

using platform::Dictionary;

TEST(RequiredItem, GivesTheStringUnderEachKey) {
    const RequiredItem item(Dictionary{{"Type", "a"},
                                       {"Name", "b"},
                                       {"Resource", "c"},
                                       {"InstallPath", "d"},
                                       {"Installer", "e"},
                                       {"Signature", "f"},
                                       {"Version", "g"},
                                       {"MaxMacOSX", "h"},
                                       {"MinMacOSX", "i"}});
    EXPECT_EQ(item.type(), "a");
    EXPECT_EQ(item.name(), "b");
    EXPECT_EQ(item.resource(), "c");
    EXPECT_EQ(item.installPath(), "d");
    EXPECT_EQ(item.installer(), "e");
    EXPECT_EQ(item.signature(), "f");
    EXPECT_EQ(item.version(), "g");
    EXPECT_EQ(item.maxMacOSXVersion(), "h");
    EXPECT_EQ(item.minMacOSXVersion(), "i");
}

TEST(RequiredItem, MissingKeysAreAbsent) {
    const RequiredItem item{Dictionary()};
    EXPECT_EQ(item.type(), std::nullopt);
    EXPECT_EQ(item.installPath(), std::nullopt);
}

TEST(RequiredItem, ValuesThatAreNoStringsAreAbsent) {
    const RequiredItem item(Dictionary{{"Name", 5}, {"Version", platform::Array{"1.2.3"}}});
    EXPECT_EQ(item.name(), std::nullopt);
    EXPECT_EQ(item.version(), std::nullopt);
}

TEST(RequiredItem, ReservedKeysHaveTheirNames) {
    EXPECT_STREQ(kImage, "Image");
    EXPECT_STREQ(kWebsiteURL, "WebsiteURL");
    EXPECT_STREQ(kLicense, "License");
    EXPECT_STREQ(kDescription, "Description");
}

TEST(RequiredItem, EqualityComparesWholeEntries) {
    const Dictionary entry{{"Type", "QMTool"}, {"Name", "a"}};
    Dictionary described = entry;
    described["Description"] = "more";
    EXPECT_EQ(RequiredItem(entry), RequiredItem(entry));
    EXPECT_NE(RequiredItem(entry), RequiredItem(described));
}

}  // namespace
}  // namespace quillmore
