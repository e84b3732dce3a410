#include "UpdateTool/Disk/Paths.h"

#include "tests/UpdateTool/Refusal.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using updatetool::componentsOf;

const std::string kLongest(255, 'x');

TEST(PathText, ComponentsOfPlainPathsAreTheirNames) {
    EXPECT_THAT(componentsOf("/a"), ElementsAre("a"));
    EXPECT_THAT(componentsOf("/a/b c/.d/..e/..."), ElementsAre("a", "b c", ".d", "..e", "..."));
}
TEST(PathText, PathsThatAreNotPlainAreUsageErrors) {
    for (const char* path : {"", "a", "xa", "./a", "/", "//", "/a/", "//a", "/a//b", "/.", "/..",
                             "/./a", "/../a", "/a/.", "/a/..", "/a/./b", "/a/../b"})
        EXPECT_THAT(refusalOf([&] { componentsOf(path); }), testing::StartsWith("64: the path "))
            << path;
}
TEST(PathText, ControlCharactersAreRefusedInPathsAndNoOthers) {
    for (int code = 0; code < 256; ++code) {
        if (code == '/') continue;
        const std::string path = {'/', 'a', static_cast<char>(code), 'b'};
        EXPECT_EQ(refusalOf([&] { componentsOf(path); }).empty(), code >= 0x20) << code;
    }
}
TEST(PathText, ComponentHas255BytesAtMost) {
    EXPECT_EQ(refusalOf([] { componentsOf("/" + kLongest + "/" + kLongest); }), "");
    EXPECT_NE(refusalOf([] { componentsOf("/x" + kLongest); }), "");
    EXPECT_NE(refusalOf([] { componentsOf("/a/x" + kLongest + "/b"); }), "");
}
TEST(PathText, LastComponentIsSplitOff) {
    EXPECT_EQ(updatetool::splitPath("/a/b/c").folder, "/a/b");
    EXPECT_EQ(updatetool::splitPath("/a/b/c").name, "c");
    EXPECT_EQ(updatetool::splitPath("/a").folder, "");
    EXPECT_EQ(updatetool::splitPath("/a").name, "a");
    EXPECT_NE(refusalOf([] { updatetool::splitPath("/"); }), "");
}
TEST(PathText, PlainNamesAreLettersDigitsAndFourSigns) {
    for (int code = 0; code < 256; ++code) {
        const char c = static_cast<char>(code);
        const bool isSign = c == '.' || c == '_' || c == '-' || c == ' ';
        const bool isAlphanumeric = code < 0x80 && std::isalnum(code) != 0;
        const auto refusal = [](const std::string& name) {
            return refusalOf([&] { updatetool::requirePlainName(name); });
        };
        EXPECT_EQ(refusal(std::string("a") + c).empty(), isSign || isAlphanumeric) << code;
        EXPECT_EQ(refusal(std::string(1, c) + "a").empty(), isAlphanumeric) << code;
    }
}
TEST(PathText, PlainNamesHave1To255Bytes) {
    EXPECT_EQ(refusalOf([] { updatetool::requirePlainName(kLongest); }), "");
    EXPECT_NE(refusalOf([] { updatetool::requirePlainName("x" + kLongest); }), "");
    EXPECT_EQ(refusalOf([] { updatetool::requirePlainName(""); }),
              "64: the name \"\" is not allowed");
}
TEST(PathText, ToolNamesArePlainAndHaveNoBlank) {
    EXPECT_EQ(refusalOf([] { updatetool::requireToolName("tool-1.2_x"); }), "");
    for (const char* name : {"two words", "tool ", ".tool", "-tool", "a/b", ""})
        EXPECT_THAT(refusalOf([&] { updatetool::requireToolName(name); }),
                    HasSubstr("is not allowed"))
            << name;
}
TEST(PathText, NamesWithCommandsOfTheirOwnAreReservedWhateverTheirCapitals) {
    for (const char* name : {"updateqm", "UpdateQM", "UPDATEQM", "Fixes10_5", "fixes10_5"})
        EXPECT_THAT(refusalOf([&] { updatetool::requireUnreservedName(name); }),
                    HasSubstr("has a command of its own"))
            << name;
    for (const char* name : {"updateq", "updateqm2", "xupdateqm", "Fixes10_6", ""})
        EXPECT_EQ(refusalOf([&] { updatetool::requireUnreservedName(name); }), "") << name;
}
TEST(PathText, FoldingMakesAsciiLettersSmallAndNothingElse) {
    EXPECT_EQ(updatetool::folded("AZ@[`{az09\xc3\x84"), "az@[`{az09\xc3\x84");
}

TEST(FolderTrust, NobodyButTheOwnerAndTrustedGroupsMayWrite) {
    struct Row {
        mode_t mode;
        bool isOwners, isTrustedGroups, expected;
    };
    for (const Row& row :
         {Row{0755, true, false, true}, Row{0700, true, false, true}, Row{0000, true, false, true},
          Row{0755, false, false, false}, Row{0755, false, true, false},
          Row{0775, true, false, false}, Row{0720, true, false, false}, Row{0775, true, true, true},
          Row{0757, true, false, false}, Row{0757, true, true, false},
          Row{0702, true, false, false}, Row{0777, true, true, false},
          Row{01777, true, true, false}, Row{02755, true, false, true}}) {
        updatetool::Context context;
        context.owner = 501;
        context.trustedGroups = {79, 80};
        struct stat status {};
        status.st_mode = S_IFDIR | row.mode;
        status.st_uid = row.isOwners ? 501 : 502;
        status.st_gid = row.isTrustedGroups ? 80 : 20;
        EXPECT_EQ(updatetool::isTrusted(context, status), row.expected) << std::oct << row.mode;
    }
}

class TrustedFolders : public UpdateToolMachine {
protected:
    std::string refusal(const std::string& path) const {
        return refusalOf([&] { updatetool::openTrustedFolder(context, path); });
    }
    std::vector<std::string> made;
};

TEST_F(TrustedFolders, EveryComponentIsLookedAtForTheWritesOfOthers) {
    makeFolder("/a/b/c");
    ASSERT_EQ(refusal("/a/b/c"), "");
    for (const std::string path : {"", "/a", "/a/b", "/a/b/c"})
        for (const mode_t mode : {0757, 0777, 01777}) {
            makeFolder(path, mode);
            EXPECT_EQ(refusal("/a/b/c"),
                      "72: the folder \"" + (path.empty() ? "/" : path) +
                          "\" may be written by others than root: forbid it with chmod go-w");
            makeFolder(path, 0755);
        }
}
TEST_F(TrustedFolders, EveryComponentIsLookedAtForTheWritesOfGroups) {
    makeFolder("/a/b");
    for (const std::string path : {"", "/a", "/a/b"}) {
        makeFolder(path, 0775);
        EXPECT_THAT(refusal("/a/b"), HasSubstr("may be written by others than root")) << path;
        makeFolder(path, 0755);
    }
}
TEST_F(TrustedFolders, LinksFilesAndMissingOnesAreRefused) {
    makeFolder("/a");
    makeFile("/file", "bytes");
    std::filesystem::create_directory_symlink(host("/a"), host("/link"));
    EXPECT_THAT(refusal("/link"), HasSubstr("\"/link\" is a link: put what it leads to"));
    EXPECT_EQ(refusal("/file"), "72: cannot open the folder \"/file\": Not a directory");
    EXPECT_EQ(refusal("/a/none/x"),
              "72: cannot open the folder \"/a/none\": No such file or directory");
}
TEST_F(TrustedFolders, MissingOnesAreMadeAndToldInTheirOrder) {
    makeFolder("/a");
    updatetool::openOrMakeTrustedFolder(context, "/a/b/c", made);
    EXPECT_THAT(made, ElementsAre("/a/b", "/a/b/c"));
    EXPECT_EQ(modeOf("/a/b/c"), 0755u);
    made.clear();
    updatetool::openOrMakeTrustedFolder(context, "/a/b/c", made);
    EXPECT_THAT(made, IsEmpty());
}
TEST_F(TrustedFolders, PresentOnesAreCountedFromTheRoot) {
    makeFolder("/a/b");
    EXPECT_EQ(updatetool::countOfPresentFolders(context, "/a/b"), 2u);
    EXPECT_EQ(updatetool::countOfPresentFolders(context, "/a/b/c/d"), 2u);
    EXPECT_EQ(updatetool::countOfPresentFolders(context, "/none/b"), 0u);
}
TEST_F(TrustedFolders, EmptyOnesAreTakenAwayUpToTheFirstThatIsNot) {
    makeFolder("/a/b/c");
    makeFile("/a/kept", "bytes");
    updatetool::removeEmptyFolders(context, {"/a", "/a/b", "/a/b/c"});
    EXPECT_TRUE(exists("/a/kept"));
    EXPECT_FALSE(exists("/a/b"));
    makeFolder("/single");
    updatetool::removeEmptyFolders(context, {"/single"});
    EXPECT_FALSE(exists("/single"));
}
TEST_F(TrustedFolders, CallersFoldersAreOpenedWhateverTheirModesButNotThroughLinks) {
    const auto refusalOfOpening = [this](const std::string& path) {
        return refusalOf([&] { updatetool::openUntrustedFolder(context, path, path + "/x"); });
    };
    makeFolder("/open", 0777);
    std::filesystem::create_directory_symlink(host("/open"), host("/link"));
    EXPECT_EQ(refusalOfOpening(""), "");
    EXPECT_EQ(refusalOfOpening("/open"), "");
    EXPECT_THAT(refusalOfOpening("/link"), HasSubstr("66: \"/link\" is a link"));
    EXPECT_EQ(refusalOfOpening("/none"), "66: cannot open \"/none/x\": No such file or directory");
}

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
