#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string toolOf(const std::string& version) {
    return std::string(
               "\x7f"
               "ELF...\0 Limited \0 Quillmore Limited ",
               37) +
           version + "\n";
}

class UpdateToolTools : public UpdateToolMachine {
protected:
    int install(const std::string& word, const std::string& bytes,
                const std::string& path = "/resources/tool") {
        makeSigned(path, bytes, word, path.substr(path.rfind('/') + 1));
        return run({word, path, path + ".sig"});
    }
    const std::string installed = kProduct + "/tool";
};

TEST_F(UpdateToolTools, RepairInstallsTheRunningProgramAsUpdateqm) {
    makeSigned("/program", "own bytes", "repair", "updateqm");
    EXPECT_EQ(run({"repair", "/program.sig"}), EX_OK) << errors;
    EXPECT_EQ(read(kProduct + "/updateqm"), "own bytes");
    EXPECT_EQ(modeOf(kProduct + "/updateqm"), 04755u);
}
TEST_F(UpdateToolTools, RepairWithAnotherSignatureInstallsNothing) {
    makeSigned("/program", "own bytes", "repair", "updateqm");
    makeSigned("/other", "other bytes", "repair", "updateqm");
    EXPECT_EQ(run({"repair", "/other.sig"}), EX_DATAERR);
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolTools, SignatureForOneCommandIsNoneForAnother) {
    makeSigned("/resources/tool", "bytes", "repairother", "tool");
    EXPECT_EQ(run({"repairotherroot", "/resources/tool", "/resources/tool.sig"}), EX_DATAERR);
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolTools, SignatureForOneNameIsNoneForAnother) {
    makeSigned("/resources/tool", "bytes", "repairotherroot", "other");
    EXPECT_EQ(run({"repairotherroot", "/resources/tool", "/resources/tool.sig"}), EX_DATAERR);
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolTools, LabelThatIsPartOfTheBytesIsNoLabel) {
    const std::string label = updatetool::packageLabel("repairotherroot", "tool");
    makeSigned("/resources/tool", label + "bytes", "repairother", "tool");
    makeFile("/resources/tool", "bytes");
    EXPECT_EQ(run({"repairotherroot", "/resources/tool", "/resources/tool.sig"}), EX_DATAERR);
}
TEST_F(UpdateToolTools, RefusedToolLeavesNoLockBehind) {
    makeFile(installed + "/in the way", "");
    EXPECT_EQ(install("repairother", "bytes"), EX_CANTCREAT);
    EXPECT_FALSE(exists(kProduct + "/.updateqm.lock"));
}
TEST_F(UpdateToolTools, RepairotherInstallsUnderThePackagesName) {
    EXPECT_EQ(install("repairother", "bytes"), EX_OK) << errors;
    EXPECT_EQ(errors, "");
    EXPECT_EQ(read(installed), "bytes");
    EXPECT_EQ(modeOf(installed), 0755u);
}
TEST_F(UpdateToolTools, RepairotherrootSetsTheUserIdBit) {
    EXPECT_EQ(install("repairotherroot", "bytes"), EX_OK) << errors;
    EXPECT_EQ(modeOf(installed), 04755u);
}
TEST_F(UpdateToolTools, InstallationLeavesNothingElseBehind) {
    install("repairother", "bytes");
    EXPECT_THAT(visibleNames(kProduct), ElementsAre("tool"));
}
TEST_F(UpdateToolTools, SecondInstallationReplacesTheFirst) {
    install("repairother", "old");
    EXPECT_EQ(install("repairother", "new"), EX_OK) << errors;
    EXPECT_EQ(read(installed), "new");
    EXPECT_THAT(visibleNames(kProduct), ElementsAre("tool"));
}
TEST_F(UpdateToolTools, LinkInTheToolsPlaceIsReplacedNotFollowed) {
    makeFile("/victim", "precious");
    makeFolder(kProduct);
    std::filesystem::create_symlink(host("/victim"), host(installed));
    EXPECT_EQ(install("repairother", "bytes"), EX_OK) << errors;
    EXPECT_EQ(read("/victim"), "precious");
    EXPECT_FALSE(std::filesystem::is_symlink(host(installed)));
}
TEST_F(UpdateToolTools, SecondNameOfAReplacedRootToolKeepsNoBit) {
    install("repairotherroot", "old");
    std::filesystem::create_hard_link(host(installed), host("/kept"));
    EXPECT_EQ(install("repairotherroot", "new"), EX_OK) << errors;
    EXPECT_EQ(modeOf("/kept"), 0755u);
    EXPECT_EQ(modeOf(installed), 04755u);
}
TEST_F(UpdateToolTools, FolderInTheToolsPlaceStays) {
    makeFile(installed + "/kept", "kept");
    EXPECT_EQ(install("repairother", "bytes"), EX_CANTCREAT);
    EXPECT_EQ(read(installed + "/kept"), "kept");
    EXPECT_THAT(visibleNames(kProduct), ElementsAre("tool"));
}
TEST_F(UpdateToolTools, NamesOfOtherCommandsAreRefused) {
    for (const char* name : {"/updateqm", "/UpdateQM", "/Fixes10_5", "/FIXES10_5"}) {
        EXPECT_EQ(install("repairother", "bytes", name), EX_USAGE) << name;
        EXPECT_EQ(install("repairotherroot", "bytes", name), EX_USAGE) << name;
    }
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolTools, NamesThatAreNotPlainAreRefused) {
    for (const char* name : {"/.hidden", "/-option", "/two words", "/t\xc3\xb6ol", "/semi;colon"})
        EXPECT_EQ(install("repairother", "bytes", name), EX_USAGE) << name;
}
TEST_F(UpdateToolTools, OlderToolIsRefused) {
    install("repairother", toolOf("1.15.4 (1856)"));
    for (const char* version : {"1.15.4 (1855)", "1.15.3 (1900)", "1.9.9.9", "0.99"}) {
        EXPECT_EQ(install("repairother", toolOf(version)), EX_DATAERR) << version;
        EXPECT_THAT(errors, HasSubstr("is older than the installed one"));
    }
    EXPECT_EQ(read(installed), toolOf("1.15.4 (1856)"));
}
TEST_F(UpdateToolTools, EqualAndNewerToolsAreInstalled) {
    install("repairother", toolOf("1.15.4 (1856)"));
    for (const char* version : {"1.15.4 (1856)", "1.15.10 (1)", "2.0"})
        EXPECT_EQ(install("repairother", toolOf(version)), EX_OK) << version << errors;
}
TEST_F(UpdateToolTools, ToolWithoutVersionDoesNotReplaceOneWithAVersion) {
    install("repairother", toolOf("1.15.4 (1856)"));
    EXPECT_EQ(install("repairother", "no banner"), EX_DATAERR);
}

class UpdateToolModes : public UpdateToolTools {
protected:
    int chmodInstalled(mode_t mode) const { return ::chmod(host(installed).c_str(), mode); }
};

TEST_F(UpdateToolModes, RepairpermissionsGivesUpdateqmItsModeBack) {
    makeFile(kProduct + "/updateqm", "bytes", 0755);
    EXPECT_EQ(run({"repairpermissions"}), EX_OK) << errors;
    EXPECT_EQ(modeOf(kProduct + "/updateqm"), 04755u);
}
TEST_F(UpdateToolModes, RepairpermissionsRefusesAFileThatOthersMayWrite) {
    makeFile(kProduct + "/updateqm", "bytes", 0775);
    EXPECT_EQ(run({"repairpermissions"}), EX_NOPERM);
    EXPECT_EQ(modeOf(kProduct + "/updateqm"), 0775u);
}
TEST_F(UpdateToolModes, RepairpermissionsAcceptsTheFileThatRuns) {
    makeFile(kProduct + "/updateqm", "bytes", 0775);
    context.programPath = host(kProduct + "/updateqm");
    EXPECT_EQ(run({"repairpermissions"}), EX_OK) << errors;
    EXPECT_EQ(modeOf(kProduct + "/updateqm"), 04755u);
}
TEST_F(UpdateToolModes, RepairpermissionsWithoutAToolFails) {
    makeFolder(kProduct);
    EXPECT_EQ(run({"repairpermissions"}), EX_NOINPUT);
}
TEST_F(UpdateToolModes, PermissionsOfNothingMakeNothing) {
    for (const updatetool::Arguments& line : {updatetool::Arguments{"repairpermissions"},
                                              {"repairpermissionsother", "tool"},
                                              {"repairpermissionsotherroot", "tool"}})
        EXPECT_EQ(run(line), EX_OSFILE) << line.front();
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolModes, RepairpermissionsotherGives0755) {
    install("repairother", "bytes");
    for (const mode_t mode : {0600, 0777, 06755}) {
        chmodInstalled(mode);
        EXPECT_EQ(run({"repairpermissionsother", "tool"}), EX_OK) << errors;
        EXPECT_EQ(modeOf(installed), 0755u);
    }
}
TEST_F(UpdateToolModes, RepairpermissionsotherLeavesRootToolsAndUpdateqmAlone) {
    install("repairotherroot", "bytes");
    makeFile(kProduct + "/updateqm", "bytes", 04755);
    EXPECT_EQ(run({"repairpermissionsother", "tool"}), EX_NOPERM);
    EXPECT_EQ(run({"repairpermissionsother", "updateqm"}), EX_USAGE);
    EXPECT_EQ(modeOf(installed), 04755u);
}
TEST_F(UpdateToolModes, RootToolInOtherCapitalsIsTheSameFileOrNone) {
    install("repairotherroot", "bytes");
    const bool isOneFile = exists(kProduct + "/TOOL");
    EXPECT_EQ(run({"repairpermissionsother", "TOOL"}), isOneFile ? EX_NOPERM : EX_NOINPUT);
    EXPECT_EQ(modeOf(installed), 04755u);
}
TEST_F(UpdateToolModes, RepairpermissionsotherrootGivesTheBitBack) {
    install("repairotherroot", "bytes");
    chmodInstalled(0755);
    EXPECT_EQ(run({"repairpermissionsotherroot", "tool"}), EX_OK) << errors;
    EXPECT_EQ(modeOf(installed), 04755u);
}
TEST_F(UpdateToolModes, BitIsNotGivenToAToolThatWasInstalledWithoutIt) {
    install("repairother", "bytes");
    EXPECT_EQ(run({"repairpermissionsotherroot", "tool"}), EX_NOPERM);
    EXPECT_EQ(modeOf(installed), 0755u);
}
TEST_F(UpdateToolModes, InstallingWithoutTheBitTakesTheReceiptAway) {
    install("repairotherroot", "bytes");
    install("repairother", "bytes");
    EXPECT_EQ(run({"repairpermissionsotherroot", "tool"}), EX_NOPERM);
}
TEST_F(UpdateToolModes, BitIsNotGivenToAFileThatOthersMayWrite) {
    install("repairotherroot", "bytes");
    chmodInstalled(0775);
    EXPECT_EQ(run({"repairpermissionsotherroot", "tool"}), EX_NOPERM);
    EXPECT_EQ(modeOf(installed), 0775u);
}
TEST_F(UpdateToolModes, BitIsGivenOnlyWhereRootAloneMayWrite) {
    install("repairotherroot", "bytes");
    makeFile(kProduct + "/updateqm", "bytes");
    for (const mode_t mode : {0775, 0757, 0777, 0620, 0602}) {
        chmodInstalled(mode);
        ::chmod(host(kProduct + "/updateqm").c_str(), mode);
        EXPECT_EQ(run({"repairpermissionsotherroot", "tool"}), EX_NOPERM) << mode;
        EXPECT_THAT(errors, HasSubstr("could be changed by others"));
        EXPECT_EQ(run({"repairpermissions"}), EX_NOPERM) << mode;
        EXPECT_EQ(modeOf(installed), mode);
    }
}
TEST_F(UpdateToolModes, BitIsNotGivenToAnothersFile) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to give a file to another user";
    install("repairotherroot", "bytes");
    ASSERT_EQ(::chown(host(installed).c_str(), 12345, 0), 0);
    EXPECT_EQ(run({"repairpermissionsotherroot", "tool"}), EX_NOPERM);
    EXPECT_EQ(modeOf(installed), 0755u);
}
TEST_F(UpdateToolModes, AnotherFileThanTheOneThatRunsIsNotAccepted) {
    makeFile(kProduct + "/updateqm", "bytes", 0775);
    makeFile("/elsewhere/updateqm", "bytes", 0775);
    context.programPath = host("/elsewhere/updateqm");
    EXPECT_EQ(run({"repairpermissions"}), EX_NOPERM);
    EXPECT_EQ(modeOf(kProduct + "/updateqm"), 0775u);
}
TEST_F(UpdateToolModes, FileWithASecondNameIsRefused) {
    install("repairotherroot", "bytes");
    std::filesystem::create_hard_link(host(installed), host("/second"));
    EXPECT_EQ(run({"repairpermissionsotherroot", "tool"}), EX_NOPERM);
}
TEST_F(UpdateToolModes, WhatIsNoPlainFileIsRefused) {
    makeFolder(kProduct);
    ASSERT_EQ(::mkfifo(host(installed).c_str(), 0600), 0);
    EXPECT_EQ(run({"repairpermissionsother", "tool"}), EX_NOPERM);
    EXPECT_THAT(errors, HasSubstr("is not a plain file with one name"));
    EXPECT_EQ(modeOf(installed), 0600u);
}
TEST_F(UpdateToolModes, LinksAndPathsAreNoToolNames) {
    makeFile("/victim", "bytes", 0600);
    makeFolder(kProduct);
    std::filesystem::create_symlink(host("/victim"), host(installed));
    EXPECT_EQ(run({"repairpermissionsother", "tool"}), EX_NOINPUT);
    EXPECT_EQ(run({"repairpermissionsother", "../../../victim"}), EX_USAGE);
    EXPECT_EQ(run({"repairpermissionsother", "/victim"}), EX_USAGE);
    EXPECT_EQ(modeOf("/victim"), 0600u);
}
TEST_F(UpdateToolModes, ReceiptsThatOthersCouldWriteAreNotBelieved) {
    install("repairother", "bytes");
    makeFile(kProduct + "/.receipts", "tool\n", 0666);
    EXPECT_EQ(run({"repairpermissionsotherroot", "tool"}), EX_OSFILE);
    EXPECT_EQ(modeOf(installed), 0755u);
}
TEST_F(UpdateToolModes, UnreadableReceiptsStopAnInstallationBeforeIt) {
    install("repairother", "old");
    makeFolder(kProduct + "/.receipts/x");
    EXPECT_EQ(install("repairotherroot", "new"), EX_OSFILE);
    EXPECT_EQ(read(installed), "old");
}

}  // namespace
}  // namespace quillmore::tests
