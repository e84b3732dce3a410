#include "Platform/Files/LockFile.h"

#include <gtest/gtest.h>

#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using platform::Error;
using platform::LockFile;
using std::chrono::milliseconds;

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

TEST(LockFile, HolderThatStaysIsWaitedForAsLongAsThePatience) {
    TemporaryFiles disk;
    const auto holder = LockFile::take(disk.host("/lock"), {});
    int pauses = 0;
    const auto waiter = LockFile::_take(disk.host("/lock"), milliseconds(20), [&] { ++pauses; });
    ASSERT_FALSE(waiter.hasValue());
    EXPECT_EQ(waiter.error(), Error::posix(EWOULDBLOCK));
    EXPECT_EQ(pauses * LockFile::kPause, milliseconds(20));
}

TEST(LockFile, HoldersThatTakeTurnsAreEachWaitedForAsLongAsThePatience) {
    TemporaryFiles disk;
    auto holder = LockFile::take(disk.host("/lock"), {});
    int pauses = 0;
    const auto nextHoldersTurn = [&] {
        if (++pauses % 9 != 0 || pauses > 900) return;
        holder = Error::posix(0);  // or the new one would wait for the old one
        holder = LockFile::take(disk.host("/lock"), {});
    };
    const auto waiter = LockFile::_take(disk.host("/lock"), milliseconds(20), nextHoldersTurn);
    ASSERT_FALSE(waiter.hasValue()) << "the last holder stays";
    EXPECT_EQ(pauses, 900 + 10);
}

TEST(LockFile, LockThatBecomesFreeIsTaken) {
    TemporaryFiles disk;
    auto holder = LockFile::take(disk.host("/lock"), {});
    const auto waiter =
        LockFile::_take(disk.host("/lock"), milliseconds(20), [&] { holder = Error::posix(0); });
    EXPECT_TRUE(waiter.hasValue());
}

TEST(LockFile, MissingFolderIsAnError) {
    TemporaryFiles disk;
    EXPECT_EQ(platform::LockFile::take(disk.host("/none/lock"), {}).error(), Error::posix(ENOENT));
}

}  // namespace
}  // namespace quillmore::tests
