#include <fcntl.h>

#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class UpdateToolCommandLine : public UpdateToolMachine {};

TEST_F(UpdateToolCommandLine, TableHasEveryCommandWordWithItsArguments) {
    std::vector<std::pair<std::string, std::size_t>> rows;
    for (const updatetool::Operation& row : updatetool::operations())
        rows.emplace_back(row.word, row.argumentCount);
    EXPECT_THAT(rows,
                testing::UnorderedElementsAre(
                    std::pair("repair", 1), std::pair("repairpermissions", 0),
                    std::pair("repaircore", 1), std::pair("repairother", 2),
                    std::pair("repairpermissionsother", 1), std::pair("repairpackage", 1),
                    std::pair("repairotherroot", 2), std::pair("repairpermissionsotherroot", 1),
                    std::pair("repairzipitem", 3), std::pair("repairintel10_5", 2),
                    std::pair("applyfullupdate", 3), std::pair("fixmonokeypairs", 1)));
}
TEST_F(UpdateToolCommandLine, UnknownWordIsAUsageError) {
    EXPECT_EQ(run({"install"}), EX_USAGE);
    EXPECT_EQ(errors, "updateqm: unknown command \"install\"\n");
}
TEST_F(UpdateToolCommandLine, WordsAreComparedWithTheirCapitals) {
    EXPECT_EQ(run({"Repair", "/sig"}), EX_USAGE);
}
TEST_F(UpdateToolCommandLine, EmptyCommandLineIsAUsageError) {
    EXPECT_EQ(run({}), EX_USAGE);
}
TEST_F(UpdateToolCommandLine, WrongArgumentCountIsAUsageErrorForEveryWord) {
    for (const updatetool::Operation& row : updatetool::operations()) {
        updatetool::Arguments line(row.argumentCount + 2, "/x");
        line.front() = row.word;
        EXPECT_EQ(run(line), EX_USAGE) << row.word;
        EXPECT_THAT(errors, HasSubstr("usage: updateqm " + std::string(row.word)));
        if (row.argumentCount == 0) continue;
        line.resize(row.argumentCount);
        EXPECT_EQ(run(line), EX_USAGE) << row.word;
    }
}
TEST_F(UpdateToolCommandLine, RelativeOrOddPathsAreUsageErrors) {
    for (const std::string path :
         {"", "tool", "./tool", "/a/../tool", "/a//tool", "/./tool", "/tool/", "/a\ntool"})
        EXPECT_EQ(run({"repairother", path, "/sig"}), EX_USAGE) << path;
}
TEST_F(UpdateToolCommandLine, PathWithNulIsAUsageError) {
    EXPECT_EQ(run({"repaircore", std::string("/a\0Core.app", 11)}), EX_USAGE);
}
TEST_F(UpdateToolCommandLine, AdministratorsCommandsAreRefusedToOthers) {
    context.administrator = false;
    EXPECT_EQ(run({"repair", "/sig"}), EX_NOPERM);
    EXPECT_EQ(run({"repairpermissions"}), EX_NOPERM);
    EXPECT_EQ(errors, "updateqm: repairpermissions needs an administrator\n");
}
TEST_F(UpdateToolCommandLine, ControlCharactersOfTheCallerNeverReachTheLine) {
    EXPECT_EQ(run({"a\nupdateqm: all is well\x1b[2J"}), EX_USAGE);
    EXPECT_EQ(errors, "updateqm: unknown command \"a?updateqm: all is well?[2J\"\n");
}
TEST_F(UpdateToolCommandLine, QuotationMarksOfTheCallerEndNoQuotation) {
    EXPECT_EQ(run({"repair\" status 0 item \"/x"}), EX_USAGE);
    EXPECT_THAT(auditLog.back(), HasSubstr(" command \"repair? status 0 item ?/x\" status 64: "));
}
TEST_F(UpdateToolCommandLine, EveryRunIsAudited) {
    run({"install"});
    EXPECT_THAT(auditLog,
                ElementsAre("user " + std::to_string(::getuid()) +
                            " command \"install\" status 64: unknown command \"install\""));
}

class UpdateToolInput : public UpdateToolMachine {
protected:
    void expectRefused(const std::string& package, int status, const std::string& why) {
        EXPECT_EQ(run({"repairother", package, package + ".sig"}), status);
        EXPECT_THAT(errors, HasSubstr(why));
        EXPECT_FALSE(exists("/Library"));
    }
};

TEST_F(UpdateToolInput, MissingPackageIsRefused) {
    expectRefused("/tool", EX_NOINPUT, "cannot open \"/tool\"");
}
TEST_F(UpdateToolInput, MissingSignatureIsRefused) {
    makeFile("/tool", "bytes");
    expectRefused("/tool", EX_NOINPUT, "cannot open \"/tool.sig\"");
}
TEST_F(UpdateToolInput, EmptyPackageIsRefused) {
    makeFile("/tool", "");
    expectRefused("/tool", EX_DATAERR, "is empty");
}
TEST_F(UpdateToolInput, FifoIsRefusedAndNotWaitedFor) {
    ASSERT_EQ(::mkfifo(host("/tool").c_str(), 0600), 0);
    expectRefused("/tool", EX_NOINPUT, "is not a regular file");
}
TEST_F(UpdateToolInput, FolderIsRefused) {
    makeFolder("/tool");
    expectRefused("/tool", EX_NOINPUT, "is not a regular file");
}
TEST_F(UpdateToolInput, HugeSignatureIsRefused) {
    makeFile("/tool", "bytes");
    makeFile("/tool.sig", std::string(20000, 'x'));
    expectRefused("/tool", EX_DATAERR, "is too large");
}
TEST_F(UpdateToolInput, PackageThatWasChangedIsRefused) {
    makeSigned("/tool", "bytes", "repairother", "tool");
    makeFile("/tool", "Bytes");
    expectRefused("/tool", EX_DATAERR,
                  "the signature \"/tool.sig\" does not match \"/tool\"; nothing was installed");
}
TEST_F(UpdateToolInput, KeyThatCannotBeUsedIsSaidToBeSo) {
    makeSigned("/tool", "bytes", "repairother", "tool");
    context.publicKey = testKeys().ellipticPublicKey;
    expectRefused("/tool", EX_CONFIG, "the public key that was built into this program");
}
TEST_F(UpdateToolInput, LinkInAPathIsRefusedByNameWithARemedy) {
    makeSigned("/real/tool", "bytes", "repairother", "tool");
    std::filesystem::create_directory_symlink(host("/real"), host("/link"));
    EXPECT_EQ(run({"repairother", "/link/tool", "/real/tool.sig"}), EX_NOINPUT);
    EXPECT_EQ(errors,
              "updateqm: \"/link\" is a link: put what it leads to in its place, or name it\n");
    EXPECT_EQ(run({"repairother", "/real/tool", "/link/tool.sig"}), EX_NOINPUT);
}
TEST_F(UpdateToolInput, LinkInTheFilesPlaceIsRefusedByNameWithARemedy) {
    makeSigned("/real", "bytes", "repairother", "tool");
    std::filesystem::create_symlink(host("/real"), host("/tool"));
    expectRefused("/tool", EX_NOINPUT, "\"/tool\" is a link");
}
TEST_F(UpdateToolInput, FileWithASecondNameIsRefusedWithARemedy) {
    makeSigned("/tool", "bytes", "repairother", "tool");
    std::filesystem::create_hard_link(host("/tool"), host("/second"));
    expectRefused("/tool", EX_NOINPUT, "has a second name (a hard link): use a copy of it");
}
TEST_F(UpdateToolInput, EndlessPathIsShownInPart) {
    EXPECT_EQ(run({"repaircore", "/" + std::string(100'000, 'x')}), EX_USAGE);
    EXPECT_LT(errors.size(), 2000u);
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
