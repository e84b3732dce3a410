// What signatures an installation asks for.
#include <fcntl.h>

#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;
using updatetool::SecondSignature;

const std::string kInstalled = kProduct + "/tool";

class UpdateToolSignatures : public UpdateToolMachine {
protected:
    UpdateToolSignatures() { makeSigned("/in/tool", "bytes", kPurpose.command, kPurpose.name); }

    int install() { return run({"repairother", "/in/tool", "/in/tool.sig"}); }
    void remove(const std::string& path) const { std::filesystem::remove(host(path)); }
    void expectRefused(int status, const std::string& why) {
        for (const auto need : {SecondSignature::isOptional, SecondSignature::isRequired}) {
            context.secondSignature = need;
            EXPECT_EQ(install(), status);
            EXPECT_THAT(errors, HasSubstr(why));
            EXPECT_FALSE(exists("/Library"));
        }
    }
    const updatetool::Purpose kPurpose{"repairother", "tool"};
    const std::string kSecond = "/in/tool.sig256";
    const std::string kMismatch = "the signature \"/in/tool.sig256\" does not match \"/in/tool\"";
};

TEST_F(UpdateToolSignatures, SecondSignatureLiesBesideTheFirst) {
    EXPECT_EQ(updatetool::secondSignaturePath("/in/tool.sig"), "/in/tool.sig256");
    EXPECT_EQ(updatetool::secondSignaturePath("/in/Fixes.plist"), "/in/Fixes.plist.sig256");
    EXPECT_EQ(updatetool::secondSignaturePath("/in/.sig"), "/in/.sig256");
    EXPECT_EQ(updatetool::secondSignaturePath("/in/x.SIG"), "/in/x.SIG.sig256");
}
TEST_F(UpdateToolSignatures, BothTogetherInstall) {
    for (const auto need : {SecondSignature::isOptional, SecondSignature::isRequired}) {
        context.secondSignature = need;
        EXPECT_EQ(install(), EX_OK) << errors;
        EXPECT_EQ(read(kInstalled), "bytes");
    }
}
TEST_F(UpdateToolSignatures, MissingSecondOneIsRefusedWhereItIsRequired) {
    remove(kSecond);
    context.secondSignature = SecondSignature::isRequired;
    EXPECT_EQ(install(), EX_NOINPUT);
    EXPECT_EQ(errors,
              "updateqm: there is no second signature \"/in/tool.sig256\", which this program "
              "requires: sign the package with signpackage\n");
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolSignatures, MissingSecondOneIsPassedOverElsewhere) {
    remove(kSecond);
    EXPECT_EQ(install(), EX_OK) << errors;
}
TEST_F(UpdateToolSignatures, SecondOneAloneIsNotEnough) {
    remove("/in/tool.sig");
    expectRefused(EX_NOINPUT, "cannot open \"/in/tool.sig\"");
}
TEST_F(UpdateToolSignatures, SecondOneOfOtherBytesIsRefused) {
    writeSignature(kSecond, DigestKind::sha256, "Bytes", kPurpose);
    expectRefused(EX_DATAERR, kMismatch);
}
TEST_F(UpdateToolSignatures, SecondOneForAnotherPurposeIsRefused) {
    writeSignature(kSecond, DigestKind::sha256, "bytes", {"repairotherroot", "tool"});
    expectRefused(EX_DATAERR, kMismatch);
    writeSignature(kSecond, DigestKind::sha256, "bytes", {"repairother", "other"});
    expectRefused(EX_DATAERR, kMismatch);
}
TEST_F(UpdateToolSignatures, SecondOneOfAnotherKeyIsRefused) {
    writeSignature(kSecond, DigestKind::sha256, "bytes", kPurpose, makeRsaPair(2048).privateKey);
    expectRefused(EX_DATAERR, kMismatch);
}
TEST_F(UpdateToolSignatures, OneDigestDoesNotStandForTheOther) {
    writeSignature(kSecond, DigestKind::sha1, "bytes", kPurpose);
    expectRefused(EX_DATAERR, kMismatch);
    writeSignature(kSecond, DigestKind::sha256, "bytes", kPurpose);
    writeSignature("/in/tool.sig", DigestKind::sha256, "bytes", kPurpose);
    expectRefused(EX_DATAERR, "the signature \"/in/tool.sig\" does not match");
}
TEST_F(UpdateToolSignatures, SecondOneThatIsEmptyOrHugeIsRefused) {
    makeFile(kSecond, "");
    expectRefused(EX_DATAERR, "\"/in/tool.sig256\" is empty");
    makeFile(kSecond, std::string(20000, 'x'));
    expectRefused(EX_DATAERR, "\"/in/tool.sig256\" is too large");
}
TEST_F(UpdateToolSignatures, SecondOneThatIsNoPlainFileIsRefusedNotPassedOver) {
    std::filesystem::rename(host(kSecond), host("/in/kept"));
    std::filesystem::create_symlink(host("/in/kept"), host(kSecond));
    expectRefused(EX_NOINPUT, "\"/in/tool.sig256\" is a link");
    remove(kSecond);
    std::filesystem::create_symlink("nowhere", host(kSecond));
    expectRefused(EX_NOINPUT, "\"/in/tool.sig256\" is a link");
    remove(kSecond);
    std::filesystem::create_hard_link(host("/in/kept"), host(kSecond));
    expectRefused(EX_NOINPUT, "has a second name (a hard link)");
    remove(kSecond);
    makeFolder(kSecond);
    expectRefused(EX_NOINPUT, "\"/in/tool.sig256\" is not a regular file");
    remove(kSecond);
    ASSERT_EQ(::mkfifo(host(kSecond).c_str(), 0600), 0);
    expectRefused(EX_NOINPUT, "\"/in/tool.sig256\" is not a regular file");
}
TEST_F(UpdateToolSignatures, SecondOneThatCannotBeReadIsRefusedNotPassedOver) {
    if (::geteuid() == 0) GTEST_SKIP() << "root can read every file";
    ::chmod(host(kSecond).c_str(), 0);
    expectRefused(EX_NOINPUT, "cannot open \"/in/tool.sig256\"");
}
TEST_F(UpdateToolSignatures, NameThatLeavesNoRoomForTheSecondOneIsRefused) {
    const std::string longest = "/in/" + std::string(255, 'x');
    std::filesystem::rename(host("/in/tool.sig"), host(longest));
    EXPECT_EQ(run({"repairother", "/in/tool", longest}), EX_USAGE);
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolSignatures, ProgramsOwnSecondSignatureIsAskedForToo) {
    makeSigned("/program", "own bytes", "repair", "updateqm");
    writeSignature("/program.sig256", DigestKind::sha256, "other", {"repair", "updateqm"});
    EXPECT_EQ(run({"repair", "/program.sig"}), EX_DATAERR);
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolSignatures, KeyThatIsTooShortIsRefusedWhateverItSigned) {
    const RsaPair pair = makeRsaPair(2040);
    context.publicKey = pair.publicKey;
    writeSignature("/in/tool.sig", DigestKind::sha1, "bytes", kPurpose, pair.privateKey);
    writeSignature(kSecond, DigestKind::sha256, "bytes", kPurpose, pair.privateKey);
    expectRefused(EX_CONFIG,
                  "the public key that was built into this program has 2040 bits, which is not "
                  "safe: it needs 2048");
}
TEST_F(UpdateToolSignatures, KeyNeedsNotBeAWholeNumberOfBytesLong) {
    const RsaPair pair = makeRsaPair(2050);
    context.publicKey = pair.publicKey;
    writeSignature("/in/tool.sig", DigestKind::sha1, "bytes", kPurpose, pair.privateKey);
    writeSignature(kSecond, DigestKind::sha256, "bytes", kPurpose, pair.privateKey);
    EXPECT_EQ(install(), EX_OK) << errors;
}

}  // namespace
}  // namespace quillmore::tests
