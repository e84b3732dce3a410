#include "UpdateTool/Signing/PackageSigning.h"

#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;

class PackageSigning : public UpdateToolMachine {
protected:
    PackageSigning() {
        makeFile("/key", testKeys().privateKey);
        makeFile("/public", testKeys().publicKey);
        makeFile("/tool", "bytes");
    }

    /// Words that begin with "/" are paths on the machine.
    int call(updatetool::Arguments words) {
        for (std::string& word : words)
            if (word.starts_with('/')) word = host(word);
        std::ostringstream stream;
        const int status = updatetool::signPackage(words, stream);
        errors = stream.str();
        return status;
    }
    int sign() { return call({"/key", "/tool", "/tool.sig", "repairother", "tool"}); }
    int verify() {
        return call({"--verify", "/public", "/tool", "/tool.sig", "repairother", "tool"});
    }
    void expectRefused(int actual, int status, const std::string& why) {
        EXPECT_EQ(actual, status);
        EXPECT_THAT(errors, testing::StartsWith("signpackage: "));
        EXPECT_THAT(errors, HasSubstr(why));
    }
    void expectNotSigned(int status, const std::string& why) {
        expectRefused(sign(), status, why);
        EXPECT_FALSE(exists("/tool.sig") || exists("/tool.sig256"));
    }
    /// One of what no file that is read may be, in turn.
    void putFolderInPlaceOf(const std::string& path) {
        std::filesystem::remove(host(path));
        makeFolder(path);
    }
    void putPipeInPlaceOf(const std::string& path) {
        std::filesystem::remove(host(path));
        ASSERT_EQ(::mkfifo(host(path).c_str(), 0600), 0);
    }
};

TEST_F(PackageSigning, SignsOverBothDigests) {
    EXPECT_EQ(sign(), EX_OK) << errors;
    EXPECT_EQ(errors, "");
    const std::string text = "Quillmore package 1\nrepairother\ntool\nbytes";
    for (const auto& [path, digest] :
         {std::pair("/tool.sig", "SHA1"), {"/tool.sig256", "SHA256"}}) {
        const auto expected = signatureByTheLibrary(testKeys().privateKey, text, digest);
        EXPECT_EQ(read(path), std::string(expected.begin(), expected.end()));
        EXPECT_EQ(modeOf(path), 0644u);
    }
}
TEST_F(PackageSigning, WhatItSignsIsInstalledWhereBothAreRequired) {
    ASSERT_EQ(sign(), EX_OK) << errors;
    context.secondSignature = updatetool::SecondSignature::isRequired;
    EXPECT_EQ(run({"repairother", "/tool", "/tool.sig"}), EX_OK) << errors;
}
TEST_F(PackageSigning, SignatureOfAnotherEndingGetsItsSecondBesideIt) {
    EXPECT_EQ(call({"/key", "/tool", "/Fixes.plist", "repairintel10_5", "Fixes10_5"}), EX_OK);
    EXPECT_TRUE(exists("/Fixes.plist.sig256"));
}
TEST_F(PackageSigning, LabelsThatTheTableOfCommandsAllowsAreSigned) {
    for (const updatetool::Arguments& label :
         {updatetool::Arguments{"repair", "updateqm"},
          {"repairotherroot", "tool"},
          {"repairzipitem", "Library/Contextual Menu Items/A.plugin"},
          {"applyfullupdate", "Applications/A.app"},
          {"repairpackage"}}) {
        updatetool::Arguments words{host("/key"), host("/tool"), host("/tool.sig")};
        words.insert(words.end(), label.begin(), label.end());
        if (label.back().find('/') != std::string::npos) words.back().insert(0, "/");
        std::ostringstream stream;
        EXPECT_EQ(updatetool::signPackage(words, stream), EX_OK) << stream.str();
    }
}
TEST_F(PackageSigning, LabelsThatTheTableOfCommandsDoesNotAllowAreRefused) {
    for (const updatetool::Arguments& label :
         {updatetool::Arguments{"repairothers", "tool"},
          {"", "tool"},
          {"repairpermissions"},
          {"repaircore", "tool"},
          {"fixmonokeypairs", "tool"},
          {"repair", "tool"},
          {"repair"},
          {"repairother"},
          {"repairother", "updateqm"},
          {"repairother", "Fixes10_5"},
          {"repairother", "two words"},
          {"repairother", "a/b"},
          {"repairother", "tool\n"},
          {"repairotherroot", "../tool"},
          {"repairzipitem", "A.plugin"},
          {"repairzipitem", "/etc/A.plugin"},
          {"repairzipitem", "/Library/Contextual Menu Items/../A.plugin"},
          {"applyfullupdate", "/Applications/A.plugin"},
          {"applyfullupdate", "/Library/A.app"},
          {"repairintel10_5", "Fixes10_6"},
          {"repairpackage", "A.fs"}}) {
        updatetool::Arguments words{host("/key"), host("/tool"), host("/tool.sig")};
        words.insert(words.end(), label.begin(), label.end());
        std::ostringstream stream;
        EXPECT_EQ(updatetool::signPackage(words, stream), EX_USAGE)
            << testing::PrintToString(label);
        EXPECT_THAT(stream.str(), testing::StartsWith("signpackage: "));
    }
    EXPECT_FALSE(exists("/tool.sig"));
}
TEST_F(PackageSigning, WrongNumberOfWordsIsAUsageError) {
    for (const updatetool::Arguments& words :
         {updatetool::Arguments{},
          {"/key"},
          {"/key", "/tool", "/tool.sig"},
          {"--verify"},
          {"--verify", "/public", "/tool", "/tool.sig"},
          {"/key", "/tool", "/tool.sig", "repairother", "tool", "more"}})
        expectRefused(call(words), EX_USAGE, "usage: signpackage");
}
TEST_F(PackageSigning, KeysThatCannotSignAreNamedWithARemedy) {
    makeFile("/key", testKeys().encryptedPrivateKey);
    expectNotSigned(EX_DATAERR, "/key\" has a pass phrase: give a copy without one");
    makeFile("/key", testKeys().ellipticPrivateKey);
    expectNotSigned(EX_DATAERR, "/key\" is no RSA key: make one with \"openssl genrsa\"");
    makeFile("/key", pssPair().privateKey);
    expectNotSigned(EX_DATAERR, "/key\" is no RSA key");
    makeFile("/key", testKeys().publicKey);
    expectNotSigned(EX_DATAERR, "/key\" is a public key: give the private one");
    makeFile("/key", "no key");
    expectNotSigned(EX_DATAERR, "/key\" holds no private key in PEM text");
}
TEST_F(PackageSigning, KeyThatIsTooShortSignsNothingAndVerifiesNothing) {
    ASSERT_EQ(sign(), EX_OK) << errors;
    std::filesystem::rename(host("/tool.sig"), host("/kept"));
    std::filesystem::remove(host("/tool.sig256"));
    const RsaPair pair = makeRsaPair(2040);
    makeFile("/key", pair.privateKey);
    expectNotSigned(EX_DATAERR, "has 2040 bits, which is not safe: make one of 2048 or more");
    makeFile("/public", pair.publicKey);
    expectRefused(verify(), EX_DATAERR, "has 2040 bits, which is not safe");
}
TEST_F(PackageSigning, FolderInPlaceOfAFileIsNamed) {
    putFolderInPlaceOf("/tool");
    expectNotSigned(EX_NOINPUT, "/tool\" is a folder: give a file");
    putFolderInPlaceOf("/key");
    expectNotSigned(EX_NOINPUT, "/key\" is a folder: give a file");
}
TEST_F(PackageSigning, PipeInPlaceOfAFileIsNamedAndNotWaitedFor) {
    putPipeInPlaceOf("/tool");
    expectNotSigned(EX_NOINPUT, "/tool\" is a pipe: write what comes out of it to a file first");
    putPipeInPlaceOf("/key");
    expectNotSigned(EX_NOINPUT, "/key\" is a pipe");
}
TEST_F(PackageSigning, MissingAndEmptyFilesAreNamed) {
    makeFile("/tool", "");
    expectNotSigned(EX_DATAERR, "/tool\" is empty");
    std::filesystem::remove(host("/tool"));
    expectNotSigned(EX_NOINPUT, "/tool\": No such file or directory");
    makeFile("/key", "");
    expectNotSigned(EX_DATAERR, "/key\" is empty");
    std::filesystem::remove(host("/key"));
    expectNotSigned(EX_NOINPUT, "/key\": No such file or directory");
}
TEST_F(PackageSigning, FileThatUpdateqmWouldFindTooLargeIsNotSigned) {
    std::filesystem::resize_file(host("/tool"), (std::uintmax_t{1} << 30) + 1);
    expectNotSigned(EX_DATAERR, "/tool\" is too large");
}
TEST_F(PackageSigning, PlaceThatIsNoPlainFileGetsNoSignature) {
    for (const std::string path : {"/tool.sig", "/tool.sig256"}) {
        makeFolder(path);
        expectRefused(sign(), EX_CANTCREAT, "is no plain file: name another for the signature");
        std::filesystem::remove(host(path));
        ASSERT_EQ(::mkfifo(host(path).c_str(), 0600), 0);
        expectRefused(sign(), EX_CANTCREAT, "is no plain file");
        std::filesystem::remove(host(path));
    }
    EXPECT_FALSE(exists("/tool.sig") || exists("/tool.sig256"));
}
TEST_F(PackageSigning, PlaceThatCannotBeWrittenIsNamed) {
    expectRefused(call({"/key", "/tool", "/none/tool.sig", "repairother", "tool"}), EX_CANTCREAT,
                  "cannot write ");
}
TEST_F(PackageSigning, EarlierSignaturesAreReplaced) {
    makeFile("/tool.sig", "earlier");
    makeFile("/tool.sig256", "earlier");
    EXPECT_EQ(sign(), EX_OK) << errors;
    EXPECT_EQ(verify(), EX_OK) << errors;
    EXPECT_EQ(errors, "");
}
TEST_F(PackageSigning, VerifyingFindsAChangedFileAndAnotherLabel) {
    ASSERT_EQ(sign(), EX_OK) << errors;
    expectRefused(call({"--verify", "/public", "/tool", "/tool.sig", "repairotherroot", "tool"}),
                  EX_DATAERR, "as \"repairotherroot\" of \"tool\"");
    makeFile("/tool", "Bytes");
    expectRefused(verify(), EX_DATAERR, "/tool.sig\" does not match");
}
TEST_F(PackageSigning, VerifyingAsksForEitherSignature) {
    ASSERT_EQ(sign(), EX_OK) << errors;
    std::filesystem::copy(host("/tool.sig"), host("/kept"));
    std::filesystem::copy(host("/tool.sig256"), host("/tool.sig"),
                          std::filesystem::copy_options::overwrite_existing);
    expectRefused(verify(), EX_DATAERR, "/tool.sig\" does not match");
    std::filesystem::rename(host("/kept"), host("/tool.sig"));
    makeFile("/tool.sig256", read("/tool.sig"));
    expectRefused(verify(), EX_DATAERR, "/tool.sig256\" does not match");
    std::filesystem::remove(host("/tool.sig256"));
    expectRefused(verify(), EX_NOINPUT, "cannot open ");
    putPipeInPlaceOf("/tool.sig256");
    expectRefused(verify(), EX_NOINPUT, "/tool.sig256\" is a pipe");
}
TEST_F(PackageSigning, VerifyingNamesWhatIsNoPublicKey) {
    ASSERT_EQ(sign(), EX_OK) << errors;
    for (const std::string& key : {testKeys().privateKey, testKeys().ellipticPublicKey,
                                   testKeys().rsaOnlyPublicKey, pssPair().publicKey}) {
        makeFile("/public", key);
        expectRefused(verify(), EX_DATAERR, "/public\" is no RSA public key in PEM text");
    }
}

}  // namespace
}  // namespace quillmore::tests
