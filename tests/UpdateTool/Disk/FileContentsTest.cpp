#include "UpdateTool/Disk/FileContents.h"

#include "Platform/Files/FileDescriptor.h"
#include "tests/UpdateTool/Refusal.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;

class UpdateToolFileContents : public UpdateToolMachine {
protected:
    platform::FileDescriptor open(const std::string& path) const {
        return platform::FileDescriptor(::open(host(path).c_str(), O_RDONLY | O_CLOEXEC));
    }
    std::string refusalOfWriting(const std::string& name, mode_t mode = 0755) const {
        return refusalOf([&] {
            updatetool::writeFile(context, open("/").get(), name, {'b', 'y', 't', 'e', 's'}, mode);
        });
    }
};

TEST_F(UpdateToolFileContents, FileIsReadUpToItsEndOrTheSizeThatWasAskedFor) {
    makeFile("/file", "bytes");
    for (const auto& [size, expected] : {std::pair(0, "....."), std::pair(4, "byte."),
                                         std::pair(5, "bytes"), std::pair(6, "bytes")}) {
        std::string text(6, '.');
        const auto count =
            updatetool::readUpTo(open("/file").get(), text.data(), static_cast<std::size_t>(size));
        EXPECT_EQ(count, static_cast<std::size_t>(std::min(size, 5)));
        EXPECT_EQ(text.substr(0, 5), expected);
    }
}
TEST_F(UpdateToolFileContents, WhatCannotBeReadIsNoEmptyFile) {
    char byte = 0;
    EXPECT_EQ(updatetool::readUpTo(open("/").get(), &byte, 1), std::nullopt);
    EXPECT_EQ(errno, EISDIR);
}
TEST_F(UpdateToolFileContents, WrittenFileIsNewAndHasItsModeWhateverTheMask) {
    const mode_t mask = ::umask(077);
    EXPECT_EQ(refusalOfWriting("tool", 04755), "");
    ::umask(mask);
    EXPECT_EQ(modeOf("/tool"), 04755u);
    EXPECT_EQ(read("/tool"), "bytes");
    EXPECT_EQ(refusalOfWriting("tool"), "73: cannot write \"tool\": File exists");
}
TEST_F(UpdateToolFileContents, NothingIsWrittenBehindALink) {
    std::filesystem::create_symlink(host("/victim"), host("/tool"));
    EXPECT_THAT(refusalOfWriting("tool"), HasSubstr("cannot write"));
    EXPECT_FALSE(exists("/victim"));
}

}  // namespace
}  // namespace quillmore::tests
