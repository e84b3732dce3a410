#include "Common/Tools/SignatureManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>

#include <thread>

#include "Common/utils/Logging.h"
#include "tests/Common/Tools/integrity/TestKeys.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class Signatures : public testing::Test {
protected:
    SignatureManager& manager = SignatureManager::sharedManager();
    const TestKeys& keys = testKeys();
    const std::string package = "the bytes of a package";
    const std::vector<std::uint8_t> signature =
        manager.generateSignature(keys.privateKey, bytesOf(package))->bytes;

    bool verify(const std::string& data) const {
        return manager.verifySignature(signature, keys.publicKey, bytesOf(data));
    }
    /// What the log puts on the terminal at level "verbose" while the work is done.
    template <class Work>
    static std::string logOf(Work work) {
        initLogging(kLogLevelError, kLogLevelVerbose, std::nullopt);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        work();
        std::fflush(nullptr);
        std::string text = testing::internal::GetCapturedStdout();
        text += testing::internal::GetCapturedStderr();
        initLogging(kLogLevelNormal, kLogLevelNormal, std::nullopt);
        return text;
    }
};

TEST_F(Signatures, SharedManagerIsOneObject) {
    EXPECT_EQ(&SignatureManager::sharedManager(), &SignatureManager::sharedManager());
}
TEST_F(Signatures, SignatureIsAsLongAsTheModulus) {
    EXPECT_EQ(signature.size(), 256u);
}
TEST_F(Signatures, SignatureOfTheSameDataIsTheSame) {
    EXPECT_EQ(manager.generateSignature(keys.privateKey, bytesOf(package))->bytes, signature);
}
TEST_F(Signatures, SignatureOverAPackageVerifies) {
    EXPECT_TRUE(verify(package));
}
TEST_F(Signatures, SignatureIsOverTheSha1DigestWithTheUsualPadding) {
    EXPECT_EQ(signature, signatureByTheLibrary(keys.privateKey, package));
}
TEST_F(Signatures, EveryByteOfTheDataIsDigestedWhateverItsLength) {
    // The digest takes blocks of 64 bytes.
    for (const std::size_t length : {1, 55, 56, 63, 64, 65, 127, 128, 129, 1000}) {
        const std::string data(length, 'x');
        const auto made = manager.generateSignature(keys.privateKey, bytesOf(data));
        EXPECT_EQ(made->bytes, signatureByTheLibrary(keys.privateKey, data)) << length;
        std::string changed = data;
        changed.back() ^= 1;
        EXPECT_TRUE(manager.verifySignature(made->bytes, keys.publicKey, bytesOf(data)));
        EXPECT_FALSE(manager.verifySignature(made->bytes, keys.publicKey, bytesOf(changed)))
            << length;
    }
}
TEST_F(Signatures, OneChangedByteDoesNotVerifyAndIsLogged) {
    std::string changed = package;
    changed[3] ^= 1;
    const std::string log = logOf([&] { EXPECT_FALSE(verify(changed)); });
    EXPECT_THAT(log,
                testing::ContainsRegex("\\(ERR\\) .*Signature verify failed \\(error -?[0-9]+, "
                                       "error:[0-9A-F]+:rsa routines:.*:bad signature\\)\n$"));
}
TEST_F(Signatures, EmptyDataIsNeverSigned) {
    EXPECT_FALSE(manager.generateSignature(keys.privateKey, {}));
}
TEST_F(Signatures, EmptyKeySignsNothing) {
    EXPECT_FALSE(manager.generateSignature("", bytesOf(package)));
}
TEST_F(Signatures, EmptyArgumentsDoNotVerify) {
    EXPECT_FALSE(manager.verifySignature({}, keys.publicKey, bytesOf(package)));
    EXPECT_FALSE(manager.verifySignature(signature, "", bytesOf(package)));
    EXPECT_FALSE(manager.verifySignature(signature, keys.publicKey, {}));
}
TEST_F(Signatures, EmptyArgumentsAreSilentAndNeverReachTheLibrary) {
    ERR_clear_error();
    const std::string log = logOf([&] {
        manager.generateSignature("", bytesOf(package));
        manager.generateSignature(keys.privateKey, {});
        EXPECT_EQ(ERR_peek_error(), 0u);
        manager.verifySignature({}, keys.publicKey, bytesOf(package));
        manager.verifySignature(signature, "", bytesOf(package));
        manager.verifySignature(signature, keys.publicKey, {});
    });
    EXPECT_EQ(log, "");
}
TEST_F(Signatures, PrivateKeyWithPassPhraseYieldsNothing) {
    EXPECT_FALSE(manager.generateSignature(keys.encryptedPrivateKey, bytesOf(package)));
}
TEST_F(Signatures, TextThatIsNoKeyYieldsNothing) {
    EXPECT_FALSE(manager.generateSignature("no key", bytesOf(package)));
    EXPECT_FALSE(manager.generateSignature(keys.publicKey, bytesOf(package)));
}
TEST_F(Signatures, KeyTextBeyondAsciiYieldsNothing) {
    // The library itself would pass over a line before the key.
    EXPECT_TRUE(manager.generateSignature("key\n" + keys.privateKey, bytesOf(package)));
    EXPECT_FALSE(manager.generateSignature("cl\xc3\xa9\n" + keys.privateKey, bytesOf(package)));
    EXPECT_FALSE(
        manager.verifySignature(signature, "cl\xc3\xa9\n" + keys.publicKey, bytesOf(package)));
}
TEST_F(Signatures, PublicKeyMustBeTheFirstPemBlockOfItsText) {
    const auto verifiesUnder = [&](const std::string& key) {
        return manager.verifySignature(signature, key, bytesOf(package));
    };
    EXPECT_TRUE(verifiesUnder("a text that -----BEGIN says nothing\n" + keys.publicKey));
    EXPECT_TRUE(verifiesUnder(keys.publicKey + keys.ellipticPublicKey));
    EXPECT_FALSE(verifiesUnder(keys.privateKey + keys.publicKey));
    EXPECT_FALSE(verifiesUnder(keys.rsaOnlyPublicKey + keys.publicKey));
    EXPECT_FALSE(verifiesUnder("-----BEGIN CERTIFICATE-----\n" + keys.publicKey));
}
TEST_F(Signatures, OpeningThatIsNoLineOfItsOwnMakesNoPublicKeyOfAnotherForm) {
    for (const std::string start :
         {"# -----BEGIN PUBLIC KEY-----\n", " -----BEGIN PUBLIC KEY-----\n",
          "-----BEGIN PUBLIC KEY----- of ours\n"})
        EXPECT_FALSE(
            manager.verifySignature(signature, start + keys.rsaOnlyPublicKey, bytesOf(package)))
            << start;
}
TEST_F(Signatures, DamagedPublicKeyIsNotReplacedByALaterOne) {
    const std::string empty = "-----BEGIN PUBLIC KEY-----\n-----END PUBLIC KEY-----\n";
    for (const std::string& damaged :
         {empty, keys.ellipticPublicKey, std::string("-----BEGIN PUBLIC KEY-----\n")})
        for (const std::string& later : {keys.publicKey, keys.rsaOnlyPublicKey})
            EXPECT_FALSE(manager.verifySignature(signature, damaged + later, bytesOf(package)))
                << damaged << later;
}
TEST_F(Signatures, KeyForPssSignaturesOnlyIsNoRsaKey) {
    const auto made = manager.generateSignature(pssPair().privateKey, bytesOf(package));
    EXPECT_FALSE(made);
    const std::string log = logOf([&] {
        EXPECT_FALSE(manager.verifySignature(signature, pssPair().publicKey, bytesOf(package)));
    });
    EXPECT_EQ(log, "");
}
TEST_F(Signatures, UnusableKeysAreSilent) {
    const std::string log = logOf([&] {
        for (const std::string& key : {keys.rsaOnlyPublicKey, keys.ellipticPublicKey,
                                       keys.privateKey, std::string("no key")})
            EXPECT_FALSE(manager.verifySignature(signature, key, bytesOf(package)));
        EXPECT_FALSE(manager.generateSignature("no key", bytesOf(package)));
        // Nor is the terminal asked for the pass phrase.
        EXPECT_FALSE(manager.generateSignature(keys.encryptedPrivateKey, bytesOf(package)));
    });
    EXPECT_EQ(log, "");
}
TEST_F(Signatures, SignatureOneByteShortFailsWithTheLibrarysText) {
    const std::vector<std::uint8_t> cut(signature.begin(), signature.end() - 1);
    const std::string log = logOf(
        [&] { EXPECT_FALSE(manager.verifySignature(cut, keys.publicKey, bytesOf(package))); });
    EXPECT_THAT(log, HasSubstr("(ERR) "));
    EXPECT_THAT(log, HasSubstr("wrong signature length"));
}
TEST_F(Signatures, FirstOfSeveralErrorsIsTheOneThatIsReported) {
    std::vector<std::uint8_t> changed = signature;
    changed[100] ^= 1;
    const std::string log = logOf(
        [&] { EXPECT_FALSE(manager.verifySignature(changed, keys.publicKey, bytesOf(package))); });
    EXPECT_THAT(log, HasSubstr(":invalid padding)"));  // "padding check failed" is the second
}
TEST_F(Signatures, ErrorOfAnEarlierKeyIsNotReportedAgain) {
    const std::string log = logOf([&] {
        EXPECT_FALSE(manager.generateSignature("no key", bytesOf(package)));
        EXPECT_FALSE(manager.verifySignature(signature, "no key", bytesOf(package)));
        EXPECT_FALSE(verify("other bytes"));
    });
    EXPECT_EQ(log.find("no start line"), std::string::npos) << log;
}
TEST_F(Signatures, ValidSignatureIsLogged) {
    const std::string log = logOf([&] { EXPECT_TRUE(verify(package)); });
    EXPECT_THAT(log, HasSubstr("(vrb) "));
    EXPECT_THAT(log, HasSubstr("Signature verified\n"));
}
TEST_F(Signatures, GeneratedSignatureIsLoggedInHexadecimal) {
    const std::string log =
        logOf([&] { manager.generateSignature(keys.privateKey, bytesOf(package)); });
    const platform::Value value(platform::Data{signature});
    EXPECT_THAT(log, HasSubstr("(vrb) "));
    EXPECT_THAT(log, HasSubstr("Generated signature \"" + value.description() + "\"\n"));
    EXPECT_THAT(value.description(), MatchesRegex("<[0-9a-f ]+>"));
}
TEST_F(Signatures, ThreadsSignAndVerifyAtTheSameTime) {
    initLogging(kLogLevelError, kLogLevelError, std::nullopt);
    std::vector<std::thread> threads;
    std::array<std::optional<platform::Data>, 4> signatures;
    std::array<bool, 4> verified{};
    for (std::size_t at = 0; at < signatures.size(); ++at)
        threads.emplace_back([&, at] {
            const std::string data = package + std::to_string(at);
            for (int round = 0; round < 20; ++round) {
                signatures[at] = manager.generateSignature(keys.privateKey, bytesOf(data));
                verified[at] =
                    manager.verifySignature(signatures[at]->bytes, keys.publicKey, bytesOf(data));
                if (!verified[at]) return;
            }
        });
    for (std::thread& thread : threads) thread.join();
    initLogging(kLogLevelNormal, kLogLevelNormal, std::nullopt);
    EXPECT_THAT(verified, testing::Each(true));
    for (std::size_t at = 0; at < signatures.size(); ++at)
        EXPECT_EQ(signatures[at]->bytes,
                  signatureByTheLibrary(keys.privateKey, package + std::to_string(at)));
}

}  // namespace
}  // namespace quillmore::tests
