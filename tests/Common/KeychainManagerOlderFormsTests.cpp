// Items of older versions, which reading the password takes over.
#include "tests/Common/KeychainRecordTest.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class KeychainOlderForm : public KeychainRecord {};

TEST_F(KeychainOlderForm, BarePasswordBecomesARecord) {
    record() = "old secret";
    bool keep = false;
    EXPECT_EQ(manager.getPasswordForUser("jo", &keep), "old secret");
    EXPECT_TRUE(keep);
    EXPECT_EQ(record(), R"({"keepSignedIn":true,"password":"old secret"})");
    EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), "old secret");
}

TEST_F(KeychainOlderForm, BarePasswordIsGivenEvenWhenItsRecordCannotBeWritten) {
    record() = "old secret";
    services.keychain.modifyStatus = -1;
    EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), "old secret");
    EXPECT_EQ(record(), "old secret");
}

TEST_F(KeychainOlderForm, ItemOfTheOlderServiceIsMoved) {
    items[kLegacyItem] = R"({"password":"pw","keepSignedIn":true})";
    bool keep = false;
    EXPECT_EQ(manager.getPasswordForUser("jo", &keep), "pw");
    EXPECT_TRUE(keep);
    EXPECT_THAT(items, ElementsAre(Pair(kItem, R"({"password":"pw","keepSignedIn":true})")));
}

TEST_F(KeychainOlderForm, BarePasswordOfTheOlderServiceTakesBothSteps) {
    items[kLegacyItem] = "pw";
    EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), "pw");
    EXPECT_THAT(items, ElementsAre(Pair(kItem, R"({"keepSignedIn":true,"password":"pw"})")));
}

TEST_F(KeychainOlderForm, OlderItemStaysUntilTheNewOneIsWritten) {
    items[kLegacyItem] = "pw";
    services.keychain.addStatus = -1;
    EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), "pw");
    EXPECT_THAT(items, ElementsAre(Pair(kLegacyItem, "pw")));
}

TEST_F(KeychainOlderForm, OlderItemIsDeletedAfterTheNewOneWasWritten) {
    items[kLegacyItem] = R"({"password":"pw"})";
    manager.getPasswordForUser("jo", nullptr);
    EXPECT_THAT(services.keychain.calls,
                ElementsAre("find ProductName/jo", "find Quillmore/jo", "copy Quillmore/jo",
                            "find ProductName/jo", "add ProductName/jo", "find Quillmore/jo",
                            "delete Quillmore/jo"));
}

TEST_F(KeychainOlderForm, OlderItemThatIsEmptyIsDeletedAndNothingWritten) {
    items[kLegacyItem] = "";
    EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), kAbsent);
    EXPECT_THAT(items, IsEmpty());
}

TEST_F(KeychainOlderForm, OlderItemThatCannotBeReadStays) {
    items[kLegacyItem] = "pw";
    services.keychain.copyStatus = -36;
    EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), kAbsent);
    EXPECT_THAT(items, ElementsAre(Pair(kLegacyItem, "pw")));
}

TEST_F(KeychainOlderForm, OlderServiceIsAskedOnlyWhenNothingWasFound) {
    items[kLegacyItem] = "pw";
    services.keychain.findStatus = platform::kKeychainInteractionNotAllowed;
    EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), kAbsent);
    services.keychain.findStatus = 0;
    record() = R"({"password":"new"})";
    EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), "new");
    EXPECT_TRUE(items.contains(kLegacyItem));
}

TEST_F(KeychainOlderForm, OlderServiceIsNotAskedWhenItIsTheCurrentOne) {
    services.makeResource("en.lproj/Localizable.strings",
                          std::string("\"ProductName\" = \"Quillmore\";"));
    services.useLanguages({"en"});
    EXPECT_EQ(manager.getPasswordForUser("jo", nullptr), kAbsent);
    EXPECT_THAT(services.keychain.calls, ElementsAre("find Quillmore/jo"));
}

}  // namespace
}  // namespace quillmore::tests
