#include <gtest/gtest.h>

#include "Platform/Formats/PropertyList.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using platform::Value;

TEST(PropertyListFiles, AreReadThroughTheFileManager) {
    TemporaryFiles disk;
    disk.makeFile("/a.plist", "<plist><dict><key>k</key><string>v</string></dict></plist>");
    const auto list = platform::readPropertyList(disk.files, "/a.plist");
    ASSERT_TRUE(list.hasValue());
    EXPECT_EQ(*list, Value(platform::Dictionary{{"k", "v"}}));
}

TEST(PropertyListFiles, AMissingFileIsTheErrorOfTheCLibrary) {
    TemporaryFiles disk;
    const auto list = platform::readPropertyList(disk.files, "/missing.plist");
    ASSERT_FALSE(list.hasValue());
    EXPECT_EQ(list.error().domain(), platform::kPosixErrorDomain);
    EXPECT_EQ(list.error().code(), ENOENT);
}

TEST(PropertyListFiles, AFifoAndAFolderAreErrorsAtOnce) {
    TemporaryFiles disk;
    disk.makeFolder("/folder.plist");
    ASSERT_EQ(::mkfifo(disk.host("/fifo.plist").c_str(), 0600), 0);
    EXPECT_FALSE(platform::readPropertyList(disk.files, "/folder.plist").hasValue());
    EXPECT_FALSE(platform::readPropertyList(disk.files, "/fifo.plist").hasValue());
}

}  // namespace
}  // namespace quillmore::tests
