#include <gtest/gtest.h>

#include "Platform/Files/FileManager.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using platform::Error;

TEST(FileManagerMoveItem, FolderGetsTheOtherPathWithAllThatIsInIt) {
    TemporaryFiles disk;
    disk.makeFile("/a/folder/file", "text", 0640);
    disk.makeFolder("/b");
    EXPECT_EQ(disk.files.moveItem("/a/folder", "/b/new"), std::nullopt);
    EXPECT_FALSE(disk.exists("/a/folder"));
    EXPECT_EQ(disk.read("/b/new/file"), "text");
    EXPECT_EQ(disk.mode("/b/new/file"), 0640u);
}

TEST(FileManagerMoveItem, LinkMovesItself) {
    TemporaryFiles disk;
    disk.makeLink("/link", "nowhere");
    EXPECT_EQ(disk.files.moveItem("/link", "/new"), std::nullopt);
    EXPECT_TRUE(S_ISLNK(disk.status("/new").st_mode));
}

TEST(FileManagerMoveItem, NothingIsReplaced) {
    TemporaryFiles disk;
    disk.makeFile("/file", "new");
    disk.makeFile("/old", "old");
    disk.makeLink("/link", "nowhere");
    EXPECT_EQ(disk.files.moveItem("/file", "/old"), Error::posix(EEXIST));
    EXPECT_EQ(disk.files.moveItem("/file", "/link"), Error::posix(EEXIST));
    EXPECT_EQ(disk.read("/old"), "old");
    EXPECT_EQ(disk.read("/file"), "new");
}

TEST(FileManagerMoveItem, MissingItemAndUnusablePathsAreErrors) {
    TemporaryFiles disk;
    disk.makeFile("/file", "");
    EXPECT_EQ(disk.files.moveItem("/none", "/new"), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.moveItem("/file", "/none/new"), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.moveItem("", "/new"), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.moveItem("/file", ""), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.moveItem("/file", std::string("/a\0b", 4)), Error::posix(EINVAL));
}

}  // namespace
}  // namespace quillmore::tests
