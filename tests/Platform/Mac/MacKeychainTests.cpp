#include "Platform/Mac/MacKeychain.h"

#include "tests/Platform/Mac/AppleTest.h"

namespace quillmore::tests {
namespace {

using platform::KeychainItem;
using testing::ElementsAre;
using testing::IsEmpty;

class MacKeychain : public AppleTest {
protected:
    /// Puts an item in and finds it; forgets the calls.
    void have(const std::string& data) {
        apple::securityDouble().items[{"Quillmore", "anna"}] = data;
        EXPECT_EQ(keychain.findGenericPassword("Quillmore", "anna", item), 0);
        calls().clear();
    }
    static std::string stored() { return apple::securityDouble().items.at({"Quillmore", "anna"}); }

    platform::MacKeychain keychain;
    std::unique_ptr<KeychainItem> item;
};

TEST_F(MacKeychain, SearchAsksForTheItemOnly) {
    have("secret");
    keychain.findGenericPassword("Quillmore", "anna", item);
    EXPECT_NE(item, nullptr);
    EXPECT_THAT(calls(), ElementsAre("SecKeychainFindGenericPassword - Quillmore anna - -"));
}

TEST_F(MacKeychain, TextsAreMeasuredInBytesAndMayHoldZeros) {
    apple::securityDouble().items[{"Quillmore", std::string("j\xC3\xBCrg\0x", 7)}] = "secret";
    EXPECT_EQ(keychain.findGenericPassword("Quillmore", std::string("j\xC3\xBCrg\0x", 7), item), 0);
    EXPECT_EQ(keychain.findGenericPassword("Quillmore", "j\xC3\xBCrg", item),
              platform::kKeychainItemNotFound);
}

TEST_F(MacKeychain, MissingItemGivesItsStatusAndNoItem) {
    EXPECT_EQ(keychain.findGenericPassword("Quillmore", "anna", item), -25300);
    EXPECT_EQ(item, nullptr);
}

TEST_F(MacKeychain, LockedKeychainGivesItsStatus) {
    fail("SecKeychainFindGenericPassword", -25308);
    EXPECT_EQ(keychain.findGenericPassword("Quillmore", "anna", item),
              platform::kKeychainInteractionNotAllowed);
    EXPECT_EQ(item, nullptr);
}

TEST_F(MacKeychain, ItemThatCameWithAFailureIsHandedOn) {
    fail("SecKeychainFindGenericPassword", -25293);
    apple::securityDouble().failedFindGivesItem = true;
    EXPECT_EQ(keychain.findGenericPassword("Quillmore", "anna", item), -25293);
    EXPECT_NE(item, nullptr);
}

TEST_F(MacKeychain, SuccessWithoutAnItemIsNoSuccess) {
    apple::securityDouble().findGivesNothing = true;
    EXPECT_EQ(keychain.findGenericPassword("Quillmore", "anna", item),
              platform::kKeychainInvalidItem);
    EXPECT_EQ(item, nullptr);
}

TEST_F(MacKeychain, FoundItemIsReleasedWhenAnotherTakesItsPlace) {
    have("secret");
    EXPECT_EQ(apple::ledger().countOf("object"), 1);
    keychain.findGenericPassword("Quillmore", "anna", item);
    EXPECT_EQ(apple::ledger().countOf("object"), 1);
    item.reset();
    EXPECT_EQ(apple::ledger().countOf("object"), 0);
}

TEST_F(MacKeychain, ItemIsAddedToTheDefaultKeychain) {
    EXPECT_EQ(keychain.addGenericPassword("Quillmore", "anna", "secret"), 0);
    EXPECT_THAT(calls(), ElementsAre("SecKeychainAddGenericPassword - Quillmore anna secret -"));
    EXPECT_EQ(stored(), "secret");
}

TEST_F(MacKeychain, AddingNeverReplacesAnItem) {
    have("secret");
    EXPECT_EQ(keychain.addGenericPassword("Quillmore", "anna", "other"),
              platform::kKeychainDuplicateItem);
    EXPECT_EQ(stored(), "secret");
}

TEST_F(MacKeychain, ModifyingReplacesTheDataAndNoAttribute) {
    have("secret");
    EXPECT_EQ(keychain.modifyContent(*item, std::string_view("new\0er", 6)), 0);
    EXPECT_EQ(stored(), std::string("new\0er", 6));
    EXPECT_TRUE(calls().front().starts_with("SecKeychainItemModifyContent Quillmore/anna - new"));
}

TEST_F(MacKeychain, DeletedItemIsGoneAndItsReferenceStaysToBeReleased) {
    have("secret");
    EXPECT_EQ(keychain.deleteItem(*item), 0);
    EXPECT_THAT(calls(), ElementsAre("SecKeychainItemDelete Quillmore/anna"));
    EXPECT_THAT(apple::securityDouble().items, IsEmpty());
    EXPECT_EQ(apple::ledger().countOf("object"), 1);
}

TEST_F(MacKeychain, ItemThatWentMeanwhileGivesItsStatus) {
    have("secret");
    apple::securityDouble().items.clear();
    EXPECT_EQ(keychain.deleteItem(*item), platform::kKeychainInvalidItem);
}

TEST_F(MacKeychain, DataIsCopiedWithoutAttributesAndFreed) {
    have(std::string("se\0cret", 7));
    std::string data = "before";
    EXPECT_EQ(keychain.copyData(*item, data), 0);
    EXPECT_EQ(data, std::string("se\0cret", 7));
    EXPECT_THAT(calls(), ElementsAre("SecKeychainItemCopyAttributesAndData Quillmore/anna - - -",
                                     "SecKeychainItemFreeAttributesAndData -"));
}

TEST_F(MacKeychain, SystemsCopyOfTheDataIsWipedBeforeItIsFreed) {
    have("secret");
    std::string data;
    keychain.copyData(*item, data);
    EXPECT_EQ(apple::securityDouble().dataWhenFreed, std::string(6, '\0'));
}

TEST_F(MacKeychain, EmptyDataIsEmpty) {
    have("");
    std::string data = "before";
    EXPECT_EQ(keychain.copyData(*item, data), 0);
    EXPECT_EQ(data, "");
}

TEST_F(MacKeychain, FailedCopyLeavesTheDataAndFreesWhatCameBack) {
    have("secret");
    fail("SecKeychainItemCopyAttributesAndData", -25308);
    std::string data = "before";
    EXPECT_EQ(keychain.copyData(*item, data), -25308);
    EXPECT_EQ(data, "before");
    EXPECT_EQ(calls().back(), "SecKeychainItemFreeAttributesAndData -");
}

TEST_F(MacKeychain, FailedWritesGiveTheirStatus) {
    have("secret");
    fail("SecKeychainItemModifyContent", -61);
    fail("SecKeychainAddGenericPassword", -25307);
    fail("SecKeychainItemDelete", -61);
    EXPECT_EQ(keychain.modifyContent(*item, "new"), -61);
    EXPECT_EQ(keychain.addGenericPassword("Quillmore", "bert", "new"), -25307);
    EXPECT_EQ(keychain.deleteItem(*item), -61);
    EXPECT_EQ(stored(), "secret");
}

TEST_F(MacKeychain, ItemOfAnotherMakeIsInvalid) {
    KeychainItem other;
    std::string data = "before";
    EXPECT_EQ(keychain.copyData(other, data), platform::kKeychainInvalidItem);
    EXPECT_EQ(keychain.modifyContent(other, "new"), platform::kKeychainInvalidItem);
    EXPECT_EQ(keychain.deleteItem(other), platform::kKeychainInvalidItem);
    EXPECT_EQ(data, "before");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MacKeychain, DataBeyondFourGigabytesIsRefused) {
    have("secret");
    // Only its length is looked at: there is no such memory.
    const std::string_view huge("secret", std::size_t{1} << 32);
    EXPECT_EQ(keychain.modifyContent(*item, huge), platform::kKeychainBadParameter);
    EXPECT_EQ(keychain.addGenericPassword("Quillmore", "bert", huge),
              platform::kKeychainBadParameter);
    EXPECT_THAT(calls(), IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
