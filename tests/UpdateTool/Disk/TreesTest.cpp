#include <fcntl.h>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/TreeRemoval.h"
#include "UpdateTool/Disk/TreeWriter.h"
#include "tests/UpdateTool/Refusal.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;
using updatetool::ArchiveEntry;

class UpdateToolTrees : public UpdateToolMachine {
protected:
    UpdateToolTrees() : top(::open(folder.path().c_str(), O_RDONLY | O_CLOEXEC)) {}

    std::string refusalOfWriting(const std::string& command, const ArchiveEntry& entry,
                                 const std::string& bytes) const {
        updatetool::TreeWriter writer(context, top.get(), updatetool::targetOf(command));
        bool isRead = false;
        return refusalOf(
            [&] { writer.take(entry, [&] { return std::exchange(isRead, true) ? "" : bytes; }); });
    }
    static ArchiveEntry fileOf(const std::string& path, std::uint64_t size, bool executable) {
        ArchiveEntry entry;
        entry.path = path;
        entry.size = size;
        entry.executable = executable;
        return entry;
    }
    bool remove(const std::string& name) const {
        return updatetool::removeTree(context, top.get(), name);
    }
    platform::FileDescriptor top;
};

TEST_F(UpdateToolTrees, FileIsAsLongAsItsEntrySays) {
    EXPECT_EQ(refusalOfWriting("repairzipitem", fileOf("a", 5, false), "bytes"), "");
    EXPECT_EQ(refusalOfWriting("repairzipitem", fileOf("b", 4, false), "bytes"),
              "65: the archive's entry \"b\" is damaged");
    EXPECT_EQ(refusalOfWriting("repairzipitem", fileOf("c", 6, false), "bytes"),
              "65: the archive's entry \"c\" is damaged");
}
TEST_F(UpdateToolTrees, CommandDecidesWhichFilesBecomeExecutable) {
    struct Row {
        std::string command, path;
        bool isPackedExecutable;
        mode_t mode;
    };
    makeFolder("/a/Contents/MacOS");
    for (const Row& row :
         {Row{"repairother", "a/x", true, 0755}, Row{"repairother", "a/x", false, 0755},
          Row{"repairzipitem", "a/x", true, 0644}, Row{"repairzipitem", "a/x", false, 0644},
          Row{"repairzipitem", "a/Contents/MacOS/x", false, 0755},
          Row{"applyfullupdate", "a/x", true, 0755}, Row{"applyfullupdate", "a/x", false, 0644},
          Row{"applyfullupdate", "a/Contents/MacOS/x", false, 0755},
          Row{"repairotherroot", "a/Contents/MacOS/x", false, 04755}}) {
        ASSERT_EQ(refusalOfWriting(row.command, fileOf(row.path, 0, row.isPackedExecutable), ""),
                  "");
        EXPECT_EQ(modeOf("/" + row.path), row.mode) << row.command << " " << row.path;
        std::filesystem::remove(host("/" + row.path));
    }
}
TEST_F(UpdateToolTrees, WhatIsThereAlreadyIsNotWrittenOver) {
    makeFile("/a", "kept");
    EXPECT_THAT(refusalOfWriting("repairzipitem", fileOf("a", 5, false), "bytes"),
                HasSubstr("73: cannot write \"a\""));
    EXPECT_EQ(read("/a"), "kept");
}
TEST_F(UpdateToolTrees, NothingIsRemovedBehindALink) {
    makeFile("/victim/file", "kept");
    makeFolder("/tree");
    std::filesystem::create_directory_symlink(host("/victim"), host("/tree/link"));
    EXPECT_TRUE(remove("tree"));
    EXPECT_TRUE(remove("tree"));
    EXPECT_EQ(read("/victim/file"), "kept");
}
TEST_F(UpdateToolTrees, WhatAnotherPutIntoAUsersFolderIsNotRemoved) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to give folders to other users";
    makeFile("/tree/inner/file", "kept");
    makeFile("/tree/file", "bytes");
    ASSERT_EQ(::chown(host("/tree").c_str(), 12345, 12345), 0);
    ASSERT_EQ(::chown(host("/tree/inner").c_str(), 12346, 12346), 0);
    EXPECT_FALSE(remove("tree"));
    EXPECT_EQ(read("/tree/inner/file"), "kept");
    EXPECT_FALSE(exists("/tree/file"));
    ASSERT_EQ(::chown(host("/tree/inner").c_str(), 12345, 12345), 0);
    EXPECT_TRUE(remove("tree"));
}
TEST_F(UpdateToolTrees, TreeIsRemoved100FoldersDeepAtMost) {
    const auto makeDeep = [this](const std::string& name, int folders) {
        std::string path = name;
        for (int depth = 0; depth < folders; ++depth) path += "/d";
        makeFolder(path);
    };
    makeDeep("/tree", 100);
    EXPECT_TRUE(remove("tree"));
    makeDeep("/deeper", 101);
    EXPECT_FALSE(remove("deeper"));
}
TEST_F(UpdateToolTrees, SecondNameOfARemovedToolKeepsNoBit) {
    for (const mode_t mode : {04755, 02755, 06755}) {
        makeFile("/tool", "bytes");
        std::filesystem::create_hard_link(host("/tool"), host("/kept"));
        ::chmod(host("/tool").c_str(), mode);
        EXPECT_TRUE(remove("tool"));
        EXPECT_EQ(modeOf("/kept"), 0755u) << mode;
        std::filesystem::remove(host("/kept"));
    }
}

}  // namespace
}  // namespace quillmore::tests
