#include "Platform/Processes/StandardStreams.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace quillmore::platform {
namespace {

TEST(StandardStreams, ClosedDescriptorsAreOpenedOnTheNullDevice) {
    EXPECT_EXIT(
        {
            for (int descriptor = 0; descriptor <= 2; ++descriptor) ::close(descriptor);
            ensureStandardDescriptors();
            const bool open =
                ::fcntl(0, F_GETFD) >= 0 && ::fcntl(1, F_GETFD) >= 0 && ::fcntl(2, F_GETFD) >= 0;
            char byte = 0;
            ::_exit(open && ::read(0, &byte, 1) == 0 && ::write(2, "x", 1) == 1 ? 17 : 1);
        },
        testing::ExitedWithCode(17), "");
}

TEST(StandardStreams, OpenDescriptorsAreLeftAlone) {
    EXPECT_EXIT(
        {
            ensureStandardDescriptors();
            ::_exit(::dup(0) > 2 ? 17 : 1);
        },
        testing::ExitedWithCode(17), "");
}

}  // namespace
}  // namespace quillmore::platform
