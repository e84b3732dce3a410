#include "Platform/LockFile.h"

#include <gtest/gtest.h>

#include "tests/Platform/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using platform::Error;

TEST(LockFile, SecondTakerWaitsNoLongerThanItsPatience) {
    TemporaryFiles disk;
    {
        const auto first = platform::LockFile::take(disk.host("/lock"), {});
        ASSERT_TRUE(first.hasValue());
        const auto second = platform::LockFile::take(disk.host("/lock"), {});
        ASSERT_FALSE(second.hasValue());
        EXPECT_EQ(second.error(), Error::posix(EWOULDBLOCK));
    }
    EXPECT_TRUE(platform::LockFile::take(disk.host("/lock"), {}).hasValue());
}

TEST(LockFile, MissingFolderIsAnError) {
    TemporaryFiles disk;
    EXPECT_EQ(platform::LockFile::take(disk.host("/none/lock"), {}).error(), Error::posix(ENOENT));
}

}  // namespace
}  // namespace quillmore::tests
