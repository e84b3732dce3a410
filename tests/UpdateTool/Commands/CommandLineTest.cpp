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
TEST_F(UpdateToolCommandLine, OtherCommandsAreForEverybody) {
    context.administrator = false;
    makeFile("/program", "", 04755);
    makeSigned("/tool", "bytes", "repairother", "tool");
    EXPECT_EQ(run({"repairother", "/tool", "/tool.sig"}), EX_OK) << errors;
}
TEST_F(UpdateToolCommandLine, ProgramThatIsNotTheInstalledOneIsNobodysHelper) {
    context.administrator = false;
    makeSigned("/tool", "bytes", "repairother", "tool");
    for (const mode_t mode : {0755, 04755}) {
        makeFile("/program", "", mode);
        makeFile(kProduct + "/updateqm", "another", 04755);
        EXPECT_EQ(run({"repairother", "/tool", "/tool.sig"}), EX_NOPERM);
    }
    context.programPath = host(kProduct + "/updateqm");
    EXPECT_EQ(run({"repairother", "/tool", "/tool.sig"}), EX_OK) << errors;
}
TEST_F(UpdateToolCommandLine, ProgramThatWasInstalledAnewWithItsBitIsTheSame) {
    context.administrator = false;
    makeSigned("/tool", "bytes", "repairother", "tool");
    makeFile("/program", "bytes", 0755);
    makeFile(kProduct + "/updateqm", "bytes", 0755);
    EXPECT_EQ(run({"repairother", "/tool", "/tool.sig"}), EX_NOPERM);
    makeFile(kProduct + "/updateqm", "bytes", 04755);
    EXPECT_EQ(run({"repairother", "/tool", "/tool.sig"}), EX_OK) << errors;
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

}  // namespace
}  // namespace quillmore::tests
