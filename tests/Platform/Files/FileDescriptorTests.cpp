#include "Platform/Files/FileDescriptor.h"

#include <gtest/gtest.h>

#include "Platform/Files/Pipe.h"

namespace quillmore::tests {
namespace {

TEST(ReadAvailableData, GivesWhatIsThereUpToTheLimit) {
    platform::Pipe pipe;
    ASSERT_EQ(::write(pipe.writeEnd().get(), "abcde", 5), 5);
    EXPECT_EQ(platform::readAvailableData(pipe.readEnd().get(), 3), "abc");
    EXPECT_EQ(platform::readAvailableData(pipe.readEnd().get(), 3), "de");
    pipe.writeEnd().reset();
    EXPECT_EQ(platform::readAvailableData(pipe.readEnd().get(), 3), "");
    EXPECT_EQ(platform::readAvailableData(-1, 3), "");
}

}  // namespace
}  // namespace quillmore::tests
