#include "UpdateTool/Disk/Paths.h"

#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;

class UpdateToolFolders : public UpdateToolMachine {
protected:
    int install() {
        makeSigned("/tool", "bytes", "repairother", "tool");
        return run({"repairother", "/tool", "/tool.sig"});
    }
};

TEST_F(UpdateToolFolders, MissingFoldersAreMade) {
    EXPECT_EQ(install(), EX_OK) << errors;
    for (const char* path : {"/Library", "/Library/Application Support"})
        EXPECT_EQ(modeOf(path), 0755u) << path;
    EXPECT_EQ(modeOf(kProduct), 0755u);
}
TEST_F(UpdateToolFolders, FolderThatOthersMayWriteIsRefused) {
    makeFolder("/Library", 0777);
    EXPECT_EQ(install(), EX_OSFILE);
    EXPECT_EQ(errors,
              "updateqm: the folder \"/Library\" may be written by others than root: "
              "forbid it with chmod go-w\n");
}
TEST_F(UpdateToolFolders, FolderThatAGroupMayWriteIsRefused) {
    makeFolder(kProduct, 0775);
    EXPECT_EQ(install(), EX_OSFILE);
}
TEST_F(UpdateToolFolders, FolderOfATrustedGroupIsAccepted) {
    makeFolder("/Library", 0775);
    struct stat status {};
    ASSERT_EQ(::stat(host("/Library").c_str(), &status), 0);
    context.trustedGroups = {status.st_gid};
    EXPECT_EQ(install(), EX_OK) << errors;
}
TEST_F(UpdateToolFolders, FolderThatIsALinkIsRefused) {
    makeFolder("/elsewhere");
    std::filesystem::create_directory_symlink(host("/elsewhere"), host("/Library"));
    EXPECT_EQ(install(), EX_OSFILE);
    EXPECT_TRUE(std::filesystem::is_empty(host("/elsewhere")));
}
TEST_F(UpdateToolFolders, FolderOfAnotherUserIsRefused) {
    makeFolder("/Library");
    context.owner = context.owner + 1;
    EXPECT_EQ(install(), EX_OSFILE);
    EXPECT_THAT(errors, HasSubstr("does not belong to root"));
}

}  // namespace
}  // namespace quillmore::tests
