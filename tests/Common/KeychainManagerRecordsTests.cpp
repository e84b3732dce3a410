// The record of an account: what is written, read, kept and discarded.
#include <functional>

#include "Common/KeyList.h"
#include "tests/Common/KeychainRecordTest.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Text = KeychainManager::Text;

constexpr bool kYes = true;
constexpr bool kNo = false;

TEST_F(KeychainRecord, PasswordIsStoredWithTheChoice) {
    EXPECT_TRUE(manager.savePassword("pw", "jo", &kYes));
    EXPECT_THAT(items, ElementsAre(Pair(kItem, R"({"keepSignedIn":true,"password":"pw"})")));
    EXPECT_TRUE(manager.savePassword("pw2", "jo", &kNo));
    EXPECT_EQ(record(), R"({"keepSignedIn":false,"password":"pw2"})");
}

TEST_F(KeychainRecord, WithoutAPointerTheChoiceStaysAsItIs) {
    EXPECT_TRUE(manager.savePassword("pw", "jo", nullptr));
    EXPECT_EQ(record(), R"({"password":"pw"})");
    record() = R"({"keepSignedIn":true,"password":"old"})";
    EXPECT_TRUE(manager.savePassword("pw", "jo", nullptr));
    EXPECT_EQ(record(), R"({"keepSignedIn":true,"password":"pw"})");
}

TEST_F(KeychainRecord, NothingIsSavedWithoutAUserOrWithoutAnythingToSave) {
    EXPECT_FALSE(manager.savePassword("pw", "", &kYes));
    EXPECT_FALSE(manager.savePassword("pw", kAbsent, &kYes));
    EXPECT_FALSE(manager.savePassword("", "jo", nullptr));
    EXPECT_FALSE(manager.savePassword(kAbsent, "jo", nullptr));
    EXPECT_THAT(services.keychain.calls, IsEmpty());
}

TEST_F(KeychainRecord, AbsentPasswordStaysAndAnEmptyOneIsStored) {
    record() = R"({"password":"pw"})";
    EXPECT_TRUE(manager.savePassword(kAbsent, "jo", &kYes));
    EXPECT_EQ(record(), R"({"keepSignedIn":true,"password":"pw"})");
    EXPECT_TRUE(manager.savePassword("", "jo", &kYes));
    EXPECT_EQ(record(), R"({"keepSignedIn":true,"password":""})");
}

TEST_F(KeychainRecord, OtherKeysOfTheRecordAreKept) {
    record() = R"({"encryptionKey":"k","number":7,"skipAuth":true})";
    EXPECT_TRUE(manager.savePassword("pw", "jo", nullptr));
    EXPECT_EQ(record(), R"({"encryptionKey":"k","number":7,"password":"pw","skipAuth":true})");
}

TEST_F(KeychainRecord, UnparseableRecordIsReplacedBySaving) {
    record() = "bare password";
    EXPECT_TRUE(manager.savePassword("pw", "jo", nullptr));
    EXPECT_EQ(record(), R"({"password":"pw"})");
}

TEST_F(KeychainRecord, FailedSaveIsLoggedAndTheItemDiscarded) {
    CapturedOutput output;
    record() = R"({"password":"pw"})";
    services.keychain.modifyStatus = -61;
    EXPECT_FALSE(manager.savePassword("new", "jo", nullptr));
    EXPECT_FALSE(items.contains(kItem));
    EXPECT_EQ(output.take().standardOutput,
              line("(nrm)", "Failed to write keychain item ( error = -61 )"));
}

TEST_F(KeychainRecord, FailedSaveIsLoggedWhereThereWasNothing) {
    CapturedOutput output;
    services.keychain.addStatus = -61;
    EXPECT_FALSE(manager.savePassword("new", "jo", nullptr));
    EXPECT_EQ(output.take().standardOutput,
              line("(nrm)", "Failed to write keychain item ( error = -61 )"));
    EXPECT_THAT(services.keychain.calls, ElementsAre("find ProductName/jo", "find ProductName/jo",
                                                     "add ProductName/jo", "find ProductName/jo"));
}

TEST_F(KeychainRecord, KeychainOutOfReachIsNeitherOverwrittenNorEmptied) {
    CapturedOutput output;
    record() = R"({"encryptionKey":"k"})";
    FakeKeychain& keychain = services.keychain;
    for (const auto status :
         {platform::kKeychainNotAvailable, platform::kKeychainInteractionNotAllowed}) {
        keychain.findStatus = keychain.addStatus = status;
        EXPECT_FALSE(manager.savePassword("new", "jo", &kYes));
        EXPECT_FALSE(manager.saveEncryptionKey("new", "jo"));
        manager.setSkipAuth(true, "jo");
        EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), kAbsent);
        EXPECT_FALSE(manager.removePassword("jo"));
        EXPECT_EQ(output.take().standardOutput,
                  line("(nrm)",
                       "Failed to write keychain item ( error = " + std::to_string(status) + " )"));
    }
    EXPECT_THAT(items, ElementsAre(Pair(kItem, R"({"encryptionKey":"k"})")));
}

TEST_F(KeychainRecord, UnreadableRecordIsDiscardedByEveryReaderAndLogged) {
    const std::function<void()> readers[] = {
        [&] { EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), kAbsent); },
        [&] { EXPECT_EQ(manager.getEncryptionKeyForUser("jo"), kAbsent); },
        [&] { EXPECT_FALSE(manager.skipAuthForUser("jo")); },
        [&] { EXPECT_FALSE(manager.flagExistsForKey("f", "jo")); },
        [&] { manager.setFlag(true, "f", "jo"); },
        [&] { manager.removeFlagForKey("f", "jo"); }};
    services.keychain.copyStatus = -36;
    for (const auto& reader : readers) {
        CapturedOutput output;
        items = {{kItem, R"({"f":true,"password":"pw"})"}, {kLegacyItem, "old"}};
        reader();
        EXPECT_THAT(items, ElementsAre(Pair(kLegacyItem, "old")));
        EXPECT_EQ(output.take().standardOutput,
                  line("(nrm)", "Failed to read keychain item ( error = -36 )"));
    }
}

TEST_F(KeychainRecord, UnreadableRecordIsReplacedBySaving) {
    record() = R"({"encryptionKey":"k"})";
    services.keychain.copyStatus = -36;
    EXPECT_TRUE(manager.savePassword("pw", "jo", nullptr));
    EXPECT_EQ(record(), R"({"password":"pw"})");
    EXPECT_TRUE(manager.saveEncryptionKey("k2", "jo"));
    EXPECT_EQ(record(), R"({"encryptionKey":"k2"})");
}

TEST_F(KeychainRecord, PasswordAndChoiceAreReadBack) {
    manager.savePassword("p/w\"\\", "jo", &kYes);
    bool keep = false;
    EXPECT_EQ(manager.getPasswordForUser("jo", &keep), "p/w\"\\");
    EXPECT_TRUE(keep);
    EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), "p/w\"\\");
}

TEST_F(KeychainRecord, SkipAuthLivesBesideThePasswordAndTheChoiceStaysUnchanged) {
    manager.savePassword("pw", "jo", nullptr);
    manager.setSkipAuth(true, "jo");
    EXPECT_THAT(items, ElementsAre(Pair(kItem, R"({"password":"pw","skipAuth":true})")));
    for (bool keep : {true, false}) {
        const bool before = keep;
        EXPECT_EQ(manager.getPasswordForUser("jo", &keep), "pw");
        EXPECT_EQ(keep, before);
    }
}

TEST_F(KeychainRecord, NothingStoredIsNoPassword) {
    bool keep = true;
    EXPECT_EQ(manager.getPasswordForUser("jo", &keep), kAbsent);
    for (const Text& nobody : {Text(kAbsent), Text("")})
        EXPECT_EQ(manager.getPasswordForUser(nobody, &keep), kAbsent);
    EXPECT_TRUE(keep);
    EXPECT_THAT(items, IsEmpty());
}

TEST_F(KeychainRecord, RecordWithoutAPasswordGivesItsText) {
    for (const char* text : {R"({"skipAuth":true})", "{}", R"({"password":"","keepSignedIn":true})",
                             R"({"password":7})"}) {
        record() = text;
        bool keep = false;
        EXPECT_EQ(manager.getPasswordForUser("jo", &keep), text);
        EXPECT_FALSE(keep);
        EXPECT_EQ(record(), text);
    }
}

TEST_F(KeychainRecord, RemovingThePasswordRemovesTheWholeRecord) {
    manager.saveEncryptionKey("k", "jo");
    EXPECT_TRUE(manager.removePassword("jo"));
    EXPECT_THAT(items, IsEmpty());
    EXPECT_FALSE(manager.removePassword("jo"));
    EXPECT_FALSE(manager.removePassword(kAbsent));
}

TEST_F(KeychainRecord, FlagsAreSetReadAndRemoved) {
    manager.savePassword("pw", "jo", nullptr);
    EXPECT_FALSE(manager.flagExistsForKey("f", "jo"));
    manager.setFlag(false, "f", "jo");
    EXPECT_TRUE(manager.flagExistsForKey("f", "jo"));
    EXPECT_FALSE(manager.flagForKey("f", "jo"));
    manager.setFlag(true, "f", "jo");
    EXPECT_TRUE(manager.flagForKey("f", "jo"));
    EXPECT_EQ(record(), R"({"f":true,"password":"pw"})");
    manager.removeFlagForKey("f", "jo");
    EXPECT_EQ(record(), R"({"password":"pw"})");
}

TEST_F(KeychainRecord, SkipAuthIsTheFlagOfThatName) {
    record() = R"({"password":"pw"})";
    manager.setSkipAuth(true, "jo");
    EXPECT_TRUE(manager.skipAuthForUser("jo") && manager.flagForKey(kKeychainSkipAuth, "jo"));
    manager.setSkipAuth(false, "jo");
    EXPECT_FALSE(manager.skipAuthForUser("jo"));
    manager.removeSkipAuthForUser("jo");
    EXPECT_EQ(record(), R"({"password":"pw"})");
}

TEST_F(KeychainRecord, FlagIsNotSetOnAnAccountWithoutARecord) {
    manager.setFlag(true, "f", "jo");
    manager.setSkipAuth(true, "jo");
    EXPECT_THAT(items, IsEmpty());
    for (const char* text : {"{}", "bare password"}) {
        record() = text;
        manager.setFlag(true, "f", "jo");
        EXPECT_EQ(record(), text);
    }
}

TEST_F(KeychainRecord, AbsentFlagIsRemovedWithoutAWrite) {
    record() = R"({"password":"pw"})";
    manager.removeFlagForKey("f", "jo");
    manager.removeSkipAuthForUser("jo");
    EXPECT_THAT(services.keychain.calls,
                testing::Not(testing::Contains(testing::StartsWith("modify"))));
}

TEST_F(KeychainRecord, FailedWriteOfAFlagKeepsTheItemAndIsNotLogged) {
    CapturedOutput output;
    record() = R"({"f":true,"password":"pw"})";
    services.keychain.modifyStatus = -61;
    manager.setFlag(false, "f", "jo");
    manager.removeFlagForKey("f", "jo");
    EXPECT_EQ(record(), R"({"f":true,"password":"pw"})");
    EXPECT_EQ(output.take().standardOutput, "");
}

TEST_F(KeychainRecord, LastFlagLeavesAnEmptyRecord) {
    record() = R"({"f":true})";
    manager.removeFlagForKey("f", "jo");
    EXPECT_EQ(record(), "{}");
}

TEST_F(KeychainRecord, FlagsAreFalseWithoutUserKeyOrRecord) {
    record() = R"({"f":true,"":true})";
    for (const Text& user : {Text(""), Text(kAbsent), Text("al")}) {
        EXPECT_FALSE(manager.flagForKey("f", user));
        EXPECT_FALSE(manager.flagExistsForKey("f", user));
        EXPECT_FALSE(manager.skipAuthForUser(user));
    }
    for (const Text& key : {Text(""), Text(kAbsent), Text("g")}) {
        EXPECT_FALSE(manager.flagForKey(key, "jo"));
        EXPECT_FALSE(manager.flagExistsForKey(key, "jo"));
    }
    record() = "bare password";
    EXPECT_FALSE(manager.flagForKey("f", "jo"));
    EXPECT_EQ(record(), "bare password") << "only reading the password takes it over";
}

TEST_F(KeychainRecord, FlagMayBeAnyKindThatHasATruth) {
    record() = R"({"n":2,"z":0,"s":"yes","d":0.5})";
    EXPECT_TRUE(manager.flagForKey("n", "jo"));
    EXPECT_FALSE(manager.flagForKey("z", "jo"));
    EXPECT_TRUE(manager.flagForKey("s", "jo"));
    EXPECT_TRUE(manager.flagForKey("d", "jo"));
}

TEST_F(KeychainRecord, EncryptionKeyIsStoredBesideTheOtherKeys) {
    EXPECT_EQ(manager.getEncryptionKeyForUser("jo"), kAbsent);
    EXPECT_TRUE(manager.saveEncryptionKey("k1", "jo"));
    EXPECT_EQ(record(), R"({"encryptionKey":"k1"})");
    manager.savePassword("pw", "jo", nullptr);
    EXPECT_TRUE(manager.saveEncryptionKey("k2", "jo"));
    EXPECT_EQ(manager.getEncryptionKeyForUser("jo"), "k2");
    EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), "pw");
}

TEST_F(KeychainRecord, EncryptionKeyNeedsAUserAndAKey) {
    EXPECT_FALSE(manager.saveEncryptionKey("k", ""));
    EXPECT_FALSE(manager.saveEncryptionKey("k", kAbsent));
    EXPECT_FALSE(manager.saveEncryptionKey(kAbsent, "jo"));
    EXPECT_EQ(manager.getEncryptionKeyForUser(""), kAbsent);
    EXPECT_THAT(services.keychain.calls, IsEmpty());
    services.keychain.addStatus = -1;
    EXPECT_FALSE(manager.saveEncryptionKey("k", "jo"));
}

TEST_F(KeychainRecord, FailedWriteOfTheEncryptionKeyKeepsTheItemAndIsNotLogged) {
    CapturedOutput output;
    record() = R"({"password":"pw"})";
    services.keychain.modifyStatus = -1;
    EXPECT_FALSE(manager.saveEncryptionKey("k", "jo"));
    EXPECT_TRUE(items.contains(kItem));
    EXPECT_EQ(output.take().standardOutput, "");
}

}  // namespace
}  // namespace quillmore::tests
