#include "UpdateTool/Commands/CallerPermissions.h"

#include "UpdateTool/Commands/FinderOverlay.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;

const std::string kCore = "/Applications/Quillmore.app/Contents/Resources/QuillmoreCore.app";
const std::string kKeypairs = "/home/jo/.config/.mono/keypairs";

class UpdateToolCore : public UpdateToolMachine {};

TEST_F(UpdateToolCore, CallersCoreGets0755Anywhere) {
    for (const mode_t mode : {0700, 0775, 0000, 02755}) {
        makeFolder("/home/jo/QuillmoreCore.app", mode);
        EXPECT_EQ(run({"repaircore", "/home/jo/QuillmoreCore.app"}), EX_OK) << errors;
        EXPECT_EQ(modeOf("/home/jo/QuillmoreCore.app"), 0755u);
    }
}
TEST_F(UpdateToolCore, OtherNamesAreUsageErrors) {
    makeFolder("/home/jo/Other.app", 0700);
    EXPECT_EQ(run({"repaircore", "/home/jo/Other.app"}), EX_USAGE);
    EXPECT_EQ(modeOf("/home/jo/Other.app"), 0700u);
}
TEST_F(UpdateToolCore, FileOrLinkOfThatNameIsRefused) {
    makeFile("/home/jo/ACore.app", "bytes", 0600);
    makeFolder("/elsewhere", 0700);
    std::filesystem::create_symlink(host("/elsewhere"), host("/home/jo/BCore.app"));
    EXPECT_EQ(run({"repaircore", "/home/jo/ACore.app"}), EX_NOINPUT);
    EXPECT_EQ(run({"repaircore", "/home/jo/BCore.app"}), EX_NOINPUT);
    EXPECT_EQ(modeOf("/elsewhere"), 0700u);
}
TEST_F(UpdateToolCore, MissingCoreFails) {
    EXPECT_EQ(run({"repaircore", kCore}), EX_NOINPUT);
}
TEST_F(UpdateToolCore, RootsCoreInTheApplicationsFolderIsRepairedForOthers) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to act for another user";
    ::chmod(folder.path().c_str(), 0755);
    makeFolder(kCore, 0700);
    context.callerUser = context.callerGroup = 12345;
    EXPECT_EQ(run({"repaircore", kCore}), EX_OK) << errors;
    EXPECT_EQ(modeOf(kCore), 0755u);
}
TEST_F(UpdateToolCore, RootsCoreElsewhereIsNotForOthers) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to act for another user";
    ::chmod(folder.path().c_str(), 0755);
    makeFolder("/opt/QuillmoreCore.app", 0700);
    context.callerUser = context.callerGroup = 12345;
    EXPECT_EQ(run({"repaircore", "/opt/QuillmoreCore.app"}), EX_NOPERM);
    EXPECT_EQ(modeOf("/opt/QuillmoreCore.app"), 0700u);
}
TEST_F(UpdateToolCore, AnothersCoreInTheApplicationsFolderIsNotForOthers) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to act for another user";
    ::chmod(folder.path().c_str(), 0755);
    makeFolder(kCore, 0700);
    ASSERT_EQ(::chown(host(kCore).c_str(), 12346, 12346), 0);
    context.callerUser = context.callerGroup = 12345;
    EXPECT_EQ(run({"repaircore", kCore}), EX_NOPERM);
    EXPECT_THAT(errors, HasSubstr("belongs to another user"));
    EXPECT_EQ(modeOf(kCore), 0700u);
}
TEST_F(UpdateToolCore, RootsCoreSixPartsDeepIsNotForOthers) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to act for another user";
    ::chmod(folder.path().c_str(), 0755);
    const std::string core = kCore + "/ACore.app";
    makeFolder(core, 0700);
    context.callerUser = context.callerGroup = 12345;
    EXPECT_EQ(run({"repaircore", core}), EX_NOPERM);
    EXPECT_EQ(modeOf(core), 0700u);
}
TEST_F(UpdateToolCore, InputIsReadWithTheCallersRights) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to act for another user";
    ::chmod(folder.path().c_str(), 0755);
    makeSigned("/tool", "bytes", "repairother", "tool");
    ::chmod(host("/tool").c_str(), 0600);
    context.callerUser = context.callerGroup = 12345;
    EXPECT_EQ(run({"repairother", "/tool", "/tool.sig"}), EX_NOINPUT);
    EXPECT_EQ(::geteuid(), 0u);
    EXPECT_EQ(::getegid(), context.group);
}

TEST(CoreOfAnInstalledApplication, PathHasFivePartsAndTheirNames) {
    for (const char* path : {"/Applications/Quillmore.app/Contents/Resources/QuillmoreCore.app",
                             "/Applications/A.app/Contents/Resources/Core.app"})
        EXPECT_TRUE(updatetool::isCoreOfInstalledApplication(path)) << path;
    for (const char* path :
         {"/ACore.app", "/Applications/ACore.app", "/Applications/A.app/ACore.app",
          "/Applications/A.app/Contents/ACore.app",
          "/Applications/A.app/Contents/Resources/deeper/ACore.app",
          "/Applications/deeper/A.app/Contents/Resources/ACore.app",
          "/Applications/A.app/Contents/Resources/ACore.app/ACore.app",
          "/applications/A.app/Contents/Resources/ACore.app",
          "/opt/A.app/Contents/Resources/ACore.app", "/Applications/A/Contents/Resources/ACore.app",
          "/Applications/A.app/contents/Resources/ACore.app",
          "/Applications/A.app/Contents/resources/ACore.app",
          "/Applications/A.app/Contents/Resources/A.app"})
        EXPECT_FALSE(updatetool::isCoreOfInstalledApplication(path)) << path;
}

class UpdateToolKeypairs : public UpdateToolMachine {};

TEST_F(UpdateToolKeypairs, KeyPairWithASecondNameLeavesAllAsItWas) {
    makeFile(kKeypairs + "/a.xml", "key", 0644);
    makeFile(kKeypairs + "/b.xml", "key", 0644);
    makeFolder(kKeypairs, 0755);
    std::filesystem::create_hard_link(host(kKeypairs + "/b.xml"), host("/second"));
    EXPECT_EQ(run({"fixmonokeypairs", kKeypairs}), EX_NOPERM);
    EXPECT_THAT(errors, HasSubstr("has a second name (a hard link): use a copy of it"));
    EXPECT_EQ(modeOf(kKeypairs), 0755u);
    EXPECT_EQ(modeOf(kKeypairs + "/a.xml"), 0644u);
    EXPECT_EQ(modeOf("/second"), 0644u);
}
TEST_F(UpdateToolKeypairs, AnothersKeyPairLeavesAllAsItWas) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to give a file to another user";
    makeFile(kKeypairs + "/a.xml", "key", 0644);
    makeFolder(kKeypairs, 0755);
    ASSERT_EQ(::chown(host(kKeypairs + "/a.xml").c_str(), 12345, 12345), 0);
    EXPECT_EQ(run({"fixmonokeypairs", kKeypairs}), EX_NOPERM);
    EXPECT_THAT(errors, HasSubstr("a key pair in \"" + kKeypairs + "\" belongs to another user"));
    EXPECT_EQ(modeOf(kKeypairs), 0755u);
    EXPECT_EQ(modeOf(kKeypairs + "/a.xml"), 0644u);
}
TEST_F(UpdateToolKeypairs, AnothersFolderIsRefused) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to give a folder to another user";
    makeFolder(kKeypairs, 0755);
    ASSERT_EQ(::chown(host(kKeypairs).c_str(), 12345, 12345), 0);
    EXPECT_EQ(run({"fixmonokeypairs", kKeypairs}), EX_NOPERM);
    EXPECT_EQ(modeOf(kKeypairs), 0755u);
}
TEST_F(UpdateToolKeypairs, FileOrLinkInTheFoldersPlaceIsRefused) {
    makeFile(kKeypairs, "bytes", 0644);
    EXPECT_EQ(run({"fixmonokeypairs", kKeypairs}), EX_NOINPUT);
    EXPECT_THAT(errors, HasSubstr("is not a folder"));
    EXPECT_EQ(modeOf(kKeypairs), 0644u);
    makeFolder("/elsewhere", 0755);
    std::filesystem::remove(host(kKeypairs));
    std::filesystem::create_directory_symlink(host("/elsewhere"), host(kKeypairs));
    EXPECT_EQ(run({"fixmonokeypairs", kKeypairs}), EX_NOINPUT);
    EXPECT_EQ(modeOf("/elsewhere"), 0755u);
}
TEST_F(UpdateToolKeypairs, FoldersAmongThemAreLeftAlone) {
    makeFolder(kKeypairs + "/folder", 0755);
    EXPECT_EQ(run({"fixmonokeypairs", kKeypairs}), EX_OK) << errors;
    EXPECT_EQ(modeOf(kKeypairs + "/folder"), 0755u);
}

TEST_F(UpdateToolKeypairs, FolderAndFilesBecomePrivate) {
    makeFile(kKeypairs + "/one.xml", "key", 0644);
    makeFile(kKeypairs + "/two.xml", "key", 0400);
    makeFolder(kKeypairs, 0755);
    EXPECT_EQ(run({"fixmonokeypairs", kKeypairs}), EX_OK) << errors;
    EXPECT_EQ(modeOf(kKeypairs), 0700u);
    EXPECT_EQ(modeOf(kKeypairs + "/one.xml"), 0600u);
    EXPECT_EQ(modeOf(kKeypairs + "/two.xml"), 0600u);
}
TEST_F(UpdateToolKeypairs, LinksInTheFolderAreNotFollowed) {
    makeFile("/victim", "bytes", 0644);
    makeFolder(kKeypairs);
    std::filesystem::create_symlink(host("/victim"), host(kKeypairs + "/link"));
    EXPECT_EQ(run({"fixmonokeypairs", kKeypairs}), EX_OK) << errors;
    EXPECT_EQ(modeOf("/victim"), 0644u);
}
TEST_F(UpdateToolKeypairs, OtherFoldersAreUsageErrors) {
    for (const char* path : {"/home/jo/keypairs", "/home/jo/.config/.mono/keypairs/x",
                             "/home/jox.config/.mono/keypairs"})
        EXPECT_EQ(run({"fixmonokeypairs", path}), EX_USAGE) << path;
}
TEST_F(UpdateToolKeypairs, MissingFolderFails) {
    EXPECT_EQ(run({"fixmonokeypairs", kKeypairs}), EX_NOINPUT);
}

class FinderOverlayTool : public UpdateToolMachine {
protected:
    const std::string bundle =
        std::string(updatetool::kFinderOverlayFolder) + "/" + updatetool::kFinderOverlayName;
    int runOverlay(const std::vector<std::string>& commandLine) {
        std::ostringstream stream;
        const int status = updatetool::runFinderOverlayCommand(context, commandLine, stream);
        errors = stream.str();
        return status;
    }
};

TEST_F(FinderOverlayTool, OtherCommandLinesAreUsageErrors) {
    EXPECT_EQ(runOverlay({"insert"}), EX_USAGE);
    EXPECT_EQ(runOverlay({"insertfinderoverlay", "x"}), EX_USAGE);
    EXPECT_EQ(errors, "finderoverlaytool: usage: finderoverlaytool insertfinderoverlay\n");
}
TEST_F(FinderOverlayTool, MissingBundleIsAnError) {
    EXPECT_EQ(runOverlay({"insertfinderoverlay"}), EX_OSFILE);
}
TEST_F(FinderOverlayTool, BundleThatOthersMayWriteIsAnError) {
    makeFolder(bundle, 0777);
    EXPECT_EQ(runOverlay({"insertfinderoverlay"}), EX_OSFILE);
    EXPECT_THAT(errors, HasSubstr("may be written by others than root"));
}
#ifndef __APPLE__
TEST_F(FinderOverlayTool, WithoutAFinderItSaysSo) {
    makeFolder(bundle);
    EXPECT_EQ(runOverlay({"insertfinderoverlay"}), EX_UNAVAILABLE);
    EXPECT_EQ(errors, "finderoverlaytool: the Finder does not run\n");
}
#endif

}  // namespace
}  // namespace quillmore::tests
