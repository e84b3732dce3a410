#include "Platform/Processes/Headroom.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/Platform/Files/OpenDescriptors.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using platform::Error;
using platform::Headroom;
using platform::lackOf;

TEST(Headroom, IsThereInAnOrdinaryProcessAndIsGivenBack) {
    const std::size_t before = canCountOpenDescriptors() ? openDescriptorCount() : 0;
    EXPECT_EQ(lackOf(platform::kHeadroomOfGLib), std::nullopt);
    EXPECT_EQ(canCountOpenDescriptors() ? openDescriptorCount() : 0, before);
}

TEST(Headroom, OneDescriptorTooFewIsALack) {
    const int next = ::dup(0);
    ::close(next);
    const LoweredLimit descriptors(RLIMIT_NOFILE, static_cast<rlim_t>(next + 3));
    EXPECT_EQ(lackOf(Headroom{3, 0}), std::nullopt);
    EXPECT_EQ(lackOf(Headroom{4, 0}), Error::posix(EMFILE));
}

TEST(Headroom, ThreadsThatAreRefusedAreALack) {
    const TemporaryFiles disk;
    EXPECT_TRUE(disk.holdsForOrdinaryUser([] {
        const LoweredLimit processes(RLIMIT_NPROC, 0);
        return lackOf(Headroom{0, 1}) == Error::posix(EAGAIN);
    }));
}

}  // namespace
}  // namespace quillmore::tests
