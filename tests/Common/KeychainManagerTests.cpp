// The primitives over the keychain port.
#include "Common/KeychainManager.h"

#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using platform::Data;
using platform::Value;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Text = KeychainManager::Text;

constexpr auto kAbsent = std::nullopt;
constexpr platform::OSStatus kAuthFailed = -25293;

class Keychain : public LogTest {
protected:
    Keychain() { configureTerminal("normal"); }
    /// Statuses and lines that one find gave.
    platform::OSStatus find(Text* text) {
        return manager.secKeychainFindGenericPassword(text, "jo", "Service");
    }
    FakeKeychain& keychain = services.keychain;
    KeychainManager manager;
};

TEST_F(Keychain, SharedManagerIsOne) {
    EXPECT_EQ(&KeychainManager::sharedManager(), &KeychainManager::sharedManager());
}

TEST_F(Keychain, ServiceIsTheLocalisedNameOfTheProduct) {
    EXPECT_EQ(manager.serviceName(), "ProductName");
    services.makeResource("en.lproj/Localizable.strings", std::string("\"ProductName\" = \"P\";"));
    services.useLanguages({"en"});
    EXPECT_EQ(manager.serviceName(), "P");
}

TEST_F(Keychain, MissingItemIsAdded) {
    EXPECT_EQ(manager.secKeychainModifyOrAddGenericPassword(Value("x"), "jo", "Service"), 0);
    EXPECT_THAT(keychain.items, ElementsAre(Pair("Service/jo", "x")));
    EXPECT_THAT(keychain.calls, ElementsAre("find Service/jo", "add Service/jo"));
}

TEST_F(Keychain, ItemThatIsThereIsModified) {
    keychain.items["Service/jo"] = "old";
    EXPECT_EQ(manager.secKeychainModifyOrAddGenericPassword(Value("new"), "jo", "Service"), 0);
    EXPECT_THAT(keychain.items, ElementsAre(Pair("Service/jo", "new")));
    EXPECT_THAT(keychain.calls, ElementsAre("find Service/jo", "modify Service/jo"));
}

TEST_F(Keychain, DataAndStringsGiveTheirBytes) {
    const std::string withZero("a\0b", 3);
    manager.secKeychainModifyOrAddGenericPassword(Value(withZero), "jo", "Service");
    EXPECT_EQ(keychain.items["Service/jo"], withZero);
    manager.secKeychainModifyOrAddGenericPassword(Value(Data{{0xFF, 0, 1}}), "jo", "Service");
    EXPECT_EQ(keychain.items["Service/jo"], std::string("\xFF\0\x01", 3));
    manager.secKeychainModifyOrAddGenericPassword(Value("\xC3\xA4"), "jo", "Service");
    EXPECT_EQ(keychain.items["Service/jo"].size(), 2u);
}

TEST_F(Keychain, AbsentAccountOrDataWritesNothingAndSucceeds) {
    EXPECT_EQ(manager.secKeychainModifyOrAddGenericPassword(Value("x"), kAbsent), 0);
    EXPECT_EQ(manager.secKeychainModifyOrAddGenericPassword(kAbsent, "jo"), 0);
    EXPECT_EQ(manager.secKeychainModifyOrAddGenericPassword(Value(1), kAbsent), 0);
    EXPECT_THAT(keychain.calls, IsEmpty());
}

TEST_F(Keychain, OtherKindsOfDataFailAnAssertionThatNamesTheMethod) {
    for (const Value& other : {Value(), Value(1), Value(true)}) {
        EXPECT_DEATH(manager.secKeychainModifyOrAddGenericPassword(other, "jo"),
                     "\\-\\[KeychainManager "
                     "secKeychainModifyOrAddGenericPassword:userName:serviceName:\\].*\n.*"
                     "ASSERTION ERROR: 0 \\(file \"Common/KeychainManager\", line 39\\)");
    }
}

TEST_F(Keychain, WriteGivesTheStatusOfItsLastCall) {
    keychain.addStatus = -1;
    keychain.modifyStatus = -2;
    EXPECT_EQ(manager.secKeychainModifyOrAddGenericPassword(Value("x"), "jo", "Service"), -1);
    keychain.items["Service/jo"] = "old";
    EXPECT_EQ(manager.secKeychainModifyOrAddGenericPassword(Value("x"), "jo", "Service"), -2);
}

TEST_F(Keychain, WriteDoesNotLookAtTheStatusOfTheSearch) {
    keychain.findStatus = kAuthFailed;
    EXPECT_EQ(manager.secKeychainModifyOrAddGenericPassword(Value("x"), "jo", "Service"), 0);
    EXPECT_THAT(keychain.items, ElementsAre(Pair("Service/jo", "x")));
}

TEST_F(Keychain, WithoutAServiceNameItIsThatOfTheProduct) {
    manager.secKeychainModifyOrAddGenericPassword(Value("x"), "jo");
    EXPECT_THAT(keychain.items, ElementsAre(Pair("ProductName/jo", "x")));
    Text text;
    EXPECT_EQ(manager.secKeychainFindGenericPassword(&text, "jo"), 0);
    EXPECT_EQ(text, "x");
    EXPECT_TRUE(manager.secKeychainRemoveAllItemsWithUserName("jo"));
    EXPECT_THAT(keychain.items, IsEmpty());
}

TEST_F(Keychain, FindGivesTheText) {
    keychain.items["Service/jo"] = "secret";
    Text text;
    EXPECT_EQ(find(&text), 0);
    EXPECT_EQ(text, "secret");
    EXPECT_EQ(find(nullptr), 0);
}

TEST_F(Keychain, FindLeavesAFilledOutString) {
    keychain.items["Service/jo"] = "secret";
    Text text = "before";
    EXPECT_EQ(find(&text), 0);
    EXPECT_EQ(text, "before");
}

TEST_F(Keychain, DataThatIsEmptyOrNoUtf8GivesNoText) {
    for (const char* data : {"", "\xFF\xFE"}) {
        keychain.items["Service/jo"] = data;
        Text text;
        EXPECT_EQ(find(&text), 0);
        EXPECT_EQ(text, kAbsent);
    }
}

TEST_F(Keychain, FindWithoutAnAccountSucceedsAndAsksNobody) {
    Text text = "before";
    EXPECT_EQ(manager.secKeychainFindGenericPassword(&text, kAbsent, "Service"), 0);
    EXPECT_EQ(text, "before");
    EXPECT_THAT(keychain.calls, IsEmpty());
}

TEST_F(Keychain, StatusOfTheSearchIsPassedOnAndNothingIsDeleted) {
    Text text;
    EXPECT_EQ(find(&text), platform::kKeychainItemNotFound);
    keychain.items["Service/jo"] = "secret";
    keychain.findStatus = platform::kKeychainInteractionNotAllowed;
    EXPECT_EQ(find(&text), platform::kKeychainInteractionNotAllowed);
    EXPECT_EQ(keychain.items.size(), 1u);
    EXPECT_EQ(text, kAbsent);
}

TEST_F(Keychain, UnreadableItemIsLoggedAndDiscardedUnderTheDefaultService) {
    CapturedOutput output;
    keychain.items = {{"Service/jo", "a"}, {"ProductName/jo", "b"}};
    keychain.copyStatus = kAuthFailed;
    Text text;
    EXPECT_EQ(find(&text), kAuthFailed);
    EXPECT_THAT(keychain.items, ElementsAre(Pair("Service/jo", "a")));
    EXPECT_EQ(output.take().standardOutput,
              line("(nrm)", "Failed to read keychain item ( error = -25293 )"));
}

TEST_F(Keychain, UnreadableItemIsDiscardedWhateverTheStatus) {
    for (const auto status :
         {kAuthFailed, platform::kKeychainNotAvailable, platform::kKeychainInteractionNotAllowed}) {
        CapturedOutput output;
        keychain.items["ProductName/jo"] = "secret";
        keychain.copyStatus = status;
        keychain.calls.clear();
        EXPECT_EQ(manager.secKeychainFindGenericPassword(nullptr, "jo"), status);
        EXPECT_THAT(keychain.calls, ElementsAre("find ProductName/jo", "copy ProductName/jo",
                                                "find ProductName/jo", "delete ProductName/jo"));
        EXPECT_THAT(keychain.items, IsEmpty());
        EXPECT_EQ(output.take().standardOutput,
                  line("(nrm)",
                       "Failed to read keychain item ( error = " + std::to_string(status) + " )"));
    }
}

TEST_F(Keychain, RemoveDeletesOneItemACall) {
    keychain.items = {{"Service/jo", "a"}, {"Service/al", "b"}};
    EXPECT_TRUE(manager.secKeychainRemoveAllItemsWithUserName("jo", "Service"));
    EXPECT_THAT(keychain.calls, ElementsAre("find Service/jo", "delete Service/jo"));
    EXPECT_FALSE(manager.secKeychainRemoveAllItemsWithUserName("jo", "Service"));
    EXPECT_EQ(keychain.items.size(), 1u);
}

TEST_F(Keychain, RemoveIsFalseWhenNothingWasDeleted) {
    EXPECT_FALSE(manager.secKeychainRemoveAllItemsWithUserName(kAbsent, "Service"));
    EXPECT_THAT(keychain.calls, IsEmpty());
    keychain.items["Service/jo"] = "a";
    keychain.deleteStatus = -1;
    EXPECT_FALSE(manager.secKeychainRemoveAllItemsWithUserName("jo", "Service"));
}

TEST_F(Keychain, WithoutAKeychainEverythingIsNotAvailable) {
    services.set.keychain = nullptr;
    Text text;
    EXPECT_EQ(find(&text), platform::kKeychainNotAvailable);
    EXPECT_EQ(manager.secKeychainModifyOrAddGenericPassword(Value("x"), "jo", "Service"),
              platform::kKeychainNotAvailable);
    EXPECT_FALSE(manager.secKeychainRemoveAllItemsWithUserName("jo", "Service"));
}

}  // namespace
}  // namespace quillmore::tests
