#include "UpdateTool/Packages/Packages.h"

#include "tests/UpdateTool/Refusal.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;

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
TEST_F(UpdateToolInput, FileHasTheBytesThatItsReaderAllowsAtMost) {
    makeFile("/file", "12345");
    EXPECT_EQ(refusalOf([&] { updatetool::openAsCaller(context, "/file", 5); }), "");
    EXPECT_EQ(refusalOf([&] { updatetool::openAsCaller(context, "/file", 4); }),
              "65: \"/file\" is too large");
    EXPECT_EQ(updatetool::openAsCaller(context, "/file", 9).readWhole(),
              (updatetool::Bytes{'1', '2', '3', '4', '5'}));
}
TEST_F(UpdateToolInput, SignatureIsForOneCommandAndOneName) {
    makeSigned("/tool", "bytes", "repairother", "tool");
    for (const auto& [command, name] :
         {std::pair("repairother", "tool"), std::pair("repairotherroot", "tool"),
          std::pair("repairother", "tool2"), std::pair("repairother", ""), std::pair("", "tool")}) {
        const bool isSigned = std::string(command) + name == "repairothertool";
        EXPECT_EQ(refusalOf([&, purpose = updatetool::Purpose{command, name}] {
                      updatetool::readVerifiedPackage(context, "/tool", "/tool.sig", purpose);
                  }),
                  isSigned
                      ? ""
                      : "65: the signature \"/tool.sig\" does not match \"/tool\"; nothing was "
                        "installed")
            << command << " " << name;
    }
}
TEST_F(UpdateToolInput, SignatureHas16KiBAtMost) {
    makeFile("/tool", "bytes");
    makeFile("/tool.sig", std::string(16384, 'x'));
    expectRefused("/tool", EX_DATAERR, "does not match");
    makeFile("/tool.sig", std::string(16385, 'x'));
    expectRefused("/tool", EX_DATAERR, "is too large");
}
TEST_F(UpdateToolInput, PackageHas1GiBAtMost) {
    makeFile("/tool", "bytes");
    std::filesystem::resize_file(host("/tool"), (std::uintmax_t{1} << 30) + 1);
    expectRefused("/tool", EX_DATAERR, "\"/tool\" is too large");
}

}  // namespace
}  // namespace quillmore::tests
