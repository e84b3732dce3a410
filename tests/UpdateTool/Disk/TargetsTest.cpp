#include "UpdateTool/Disk/Targets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace quillmore::tests {
namespace {

using updatetool::Executables;
using updatetool::isTargetFolder;
using updatetool::targetOf;

const std::string kProductFolder = "/Library/Application Support/Quillmore";
const std::string kMenuItems = "/Library/Contextual Menu Items";
const std::string kFinderPlugIns = "/Library/Application Support/SIMBL/Plugins";

TEST(Targets, EachCommandHasItsFoldersModeAndExecutables) {
    struct Row {
        std::string command;
        std::vector<std::string> folders;
        mode_t fileMode;
        Executables executables;
    };
    for (const Row& row :
         {Row{"repair", {kProductFolder}, 04755, Executables::none},
          Row{"repairother", {kProductFolder}, 0755, Executables::none},
          Row{"repairotherroot", {kProductFolder}, 04755, Executables::none},
          Row{"repairzipitem",
              {kMenuItems, kProductFolder, kFinderPlugIns},
              0644,
              Executables::inMacOSFolders},
          Row{"repairintel10_5", {kProductFolder}, 0644, Executables::inMacOSFolders},
          Row{"applyfullupdate", {"/Applications"}, 0644, Executables::asPacked},
          Row{"repairpackage",
              {"/Library/Filesystems", "/Library/Frameworks"},
              0644,
              Executables::asPacked}}) {
        const updatetool::Target& target = targetOf(row.command);
        EXPECT_EQ(target.command, row.command);
        EXPECT_THAT(target.folders, testing::ElementsAreArray(row.folders)) << row.command;
        EXPECT_EQ(target.fileMode, row.fileMode) << row.command;
        EXPECT_EQ(target.executables, row.executables) << row.command;
    }
}
TEST(Targets, NoOtherFolderIsOne) {
    for (const std::string& folder :
         {kProductFolder, kMenuItems, kFinderPlugIns, std::string("/Applications"),
          std::string("/Library/Filesystems"), std::string("/Library/Frameworks")})
        EXPECT_TRUE(isTargetFolder(folder)) << folder;
    for (const char* folder :
         {"", "/", "/Library", "/Library/Application Support", "/Library/Frameworks/",
          "/Library/Frameworks/x", "/library/Frameworks", "Applications", "/etc"})
        EXPECT_FALSE(isTargetFolder(folder)) << folder;
}
TEST(TargetsDeathTest, CommandThatInstallsNothingEndsTheProcess) {
    for (const char* command : {"repaircore", "repairpermissions", "fixmonokeypairs", ""})
        EXPECT_DEATH(targetOf(command), "") << command;
}

}  // namespace
}  // namespace quillmore::tests
