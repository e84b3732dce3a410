// Secrets leave no trace: not in the log at any level, not in the memory of the process.
#include <array>

#include "Common/KeyList.h"
#include "Common/KeychainManager.h"
#include "Common/UserManager.h"
#include "Platform/Values/SecretMemory.h"
#include "QuillmoreCore/Classes/Utilities/JSONEncoder.h"
#include "tests/Common/LogTest.h"
#include "tests/fakes/HiddenText.h"

namespace quillmore::tests {
namespace {

using platform::Data;
using platform::Dictionary;
using platform::Value;
using platform::Wiped;

TEST(SecretMemory, WipingReachesTheSpareRoomOfAText) {
    std::string text = "a secret that is longer than a short string";
    const char* const bytes = text.data();
    const std::size_t capacity = text.capacity();
    text.resize(3);
    platform::wipe(text);
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.data(), bytes);
    EXPECT_EQ(std::string(bytes, capacity), std::string(capacity, '\0'));
}

TEST(SecretMemory, WipedValuesAreEmpty) {
    Value values[] = {Value("text"), Value(Data{{1, 2}}), Value(Dictionary{{"a", "b"}}),
                      Value(platform::Array{"x"}), Value(1)};
    for (Value& value : values) {
        platform::wipe(value);
        EXPECT_TRUE(value.isNull());
    }
    std::optional<std::string> text = "x";
    platform::wipe(text);
    EXPECT_EQ(text, std::nullopt);
}

TEST(SecretMemory, SecretsAreOnTheHeapHoweverShort) {
    std::string secret = platform::makeSecret(std::string_view("pw"));
    const char* const bytes = secret.data();
    const std::string moved = std::move(secret);
    EXPECT_EQ(moved, "pw");
    EXPECT_EQ(moved.data(), bytes);
}

/// A keychain that keeps its data unrecognisable, so that what is found in memory is not its own.
class VeiledKeychain final : public platform::Keychain {
public:
    platform::OSStatus writeStatus = 0;
    platform::OSStatus findGenericPassword(const std::string& service, const std::string&,
                                           std::unique_ptr<platform::KeychainItem>& item) override {
        if (data_.empty() || service != "ProductName") return platform::kKeychainItemNotFound;
        item = std::make_unique<platform::KeychainItem>();
        return 0;
    }
    platform::OSStatus addGenericPassword(const std::string&, const std::string&,
                                          std::string_view data) override {
        if (writeStatus != 0) return writeStatus;
        data_.clear();
        for (const char byte : data) data_ += static_cast<char>(~byte);
        return 0;
    }
    platform::OSStatus modifyContent(platform::KeychainItem&, std::string_view data) override {
        return addGenericPassword("", "", data);
    }
    platform::OSStatus deleteItem(platform::KeychainItem&) override { return 0; }
    platform::OSStatus copyData(platform::KeychainItem&, std::string& data) override {
        data = platform::makeSecret(data_.size());
        for (const char byte : data_) data += static_cast<char>(~byte);
        return 0;
    }

private:
    std::string data_;
};

/// Does the work far down the stack, where what it leaves is not written over by the search.
template <class Work>
[[gnu::noinline]] void deepDown(const Work& work) {
    std::array<char, 1 << 16> room;
    char* volatile keep = room.data();
    static_cast<void>(keep);
    work();
}

class KeychainSecrets : public LogTest {
protected:
    /// The first call of a function of a library saves the registers on the stack, where the search
    /// would find what was copied last: they must have been called.
    static void SetUpTestSuite() {
        if (HiddenText::canBeSearchedFor()) HiddenText(12, 0).copiesInMemory();
    }
    /// Everything that touches a password and an encryption key, the wiping of the caller's own
    /// texts included. Whether the password was saved.
    bool useSecrets(const HiddenText& password, const HiddenText& key) {
        bool saved = false;
        deepDown([&] { saved = useSecretsHere(password, key); });
        return saved;
    }
    bool useSecretsHere(const HiddenText& password, const HiddenText& key) {
        const Wiped<KeychainManager::Text> givenPassword{KeychainManager::Text(password.text())};
        const Wiped<KeychainManager::Text> givenKey{KeychainManager::Text(key.text())};
        const bool saved = manager.savePassword(*givenPassword, "jo", &keep);
        manager.saveEncryptionKey(*givenKey, "jo");
        manager.setSkipAuth(true, "jo");
        const Wiped<KeychainManager::Text> read(manager.getPasswordForUser("jo", nullptr));
        const Wiped<KeychainManager::Text> readKey(manager.getEncryptionKeyForUser("jo"));
        const Wiped<KeychainManager::Text> encoded(KeychainManager::encryptString(*givenPassword));
        const Wiped<KeychainManager::Text> decoded(KeychainManager::decryptString(*encoded));
        EXPECT_TRUE(*decoded == *givenPassword);
        const Wiped<Value> setting{Value(password.text())};
        UserManager().setObject(*setting, kUserPassword, "jo");
        const Wiped<std::optional<Value>> readSetting(
            UserManager().objectForKey(kUserPassword, "jo"));
        const Wiped<std::optional<Value>> readKeySetting(
            UserManager().objectForKeyAsString(kUserState, "jo"));
        EXPECT_TRUE(!saved || (*readSetting == *setting && readKeySetting->has_value()));
        return saved;
    }
    const bool keep = true;
    KeychainManager manager;
};

TEST_F(KeychainSecrets, NoCopyStaysInMemory) {
    if (!HiddenText::canBeSearchedFor()) GTEST_SKIP() << "no /proc/self/mem to search";
    VeiledKeychain veiled;
    services.set.keychain = &veiled;
    const HiddenText password{40, 3};
    const HiddenText key{64, 5};
    {
        Wiped<std::string> held(password.text());
        EXPECT_GT(password.copiesInMemory(), 0) << "the search finds what is there";
        const Wiped<std::u16string> wide(std::u16string(held->begin(), held->end()));
        platform::wipe(*held);
        EXPECT_GT(password.copiesInMemory(), 0) << "in both widths";
    }
    EXPECT_TRUE(useSecrets(password, key));
    EXPECT_EQ(password.copiesInMemory(), 0);
    EXPECT_EQ(key.copiesInMemory(), 0);
    veiled.writeStatus = -61;
    EXPECT_FALSE(useSecrets(password, key));
    EXPECT_EQ(password.copiesInMemory(), 0);
    EXPECT_EQ(key.copiesInMemory(), 0);
}

TEST_F(KeychainSecrets, NoCopyOfAShortPasswordStaysInMemory) {
    if (!HiddenText::canBeSearchedFor()) GTEST_SKIP() << "no /proc/self/mem to search";
    VeiledKeychain veiled;
    services.set.keychain = &veiled;
    const HiddenText password{12, 4};
    const HiddenText key{13, 6};
    EXPECT_TRUE(useSecrets(password, key));
    EXPECT_EQ(password.copiesInMemory(), 0);
    EXPECT_EQ(key.copiesInMemory(), 0);
}

TEST_F(KeychainSecrets, NoCopyOfABarePasswordStaysInMemory) {
    if (!HiddenText::canBeSearchedFor()) GTEST_SKIP() << "no /proc/self/mem to search";
    VeiledKeychain veiled;
    services.set.keychain = &veiled;
    for (const std::size_t length : {7U, 12U, 40U}) {
        const HiddenText password{length, 9};
        deepDown([&] {
            const Wiped<std::string> bare(password.text());
            veiled.addGenericPassword("", "", *bare);
            const Wiped<KeychainManager::Text> read(manager.getPasswordForUser("jo", nullptr));
            EXPECT_TRUE(*read == *bare);
        });
        EXPECT_EQ(password.copiesInMemory(), 0) << length;
    }
}

TEST_F(KeychainSecrets, ReaderLeavesNoCopyOfATextHoweverShort) {
    if (!HiddenText::canBeSearchedFor()) GTEST_SKIP() << "no /proc/self/mem to search";
    for (const std::size_t length : {5U, 7U, 12U}) {
        const HiddenText text{length, 10};
        deepDown([&] {
            const Wiped<std::string> held(text.text());
            EXPECT_EQ(JSONEncoder::createObjFromJSONStr(*held), std::nullopt);
        });
        EXPECT_EQ(text.copiesInMemory(), 0) << length;
    }
}

TEST_F(KeychainSecrets, LogHasNoneAtTheMostDetailedLevelEvenWhenTheKeychainFails) {
    CapturedOutput output;
    configure("detailed", "detailed");
    const HiddenText password{20, 7};
    const HiddenText key{20, 8};
    EXPECT_TRUE(useSecrets(password, key));
    services.keychain.items["ProductName/al"] = password.text();  // a bare one
    manager.getPasswordForUser("al", nullptr);
    services.keychain.modifyStatus = services.keychain.addStatus = -61;
    EXPECT_FALSE(useSecrets(password, key));
    services.keychain.items["ProductName/jo"] = password.text();
    services.keychain.copyStatus = -36;
    manager.getPasswordForUser("jo", nullptr);
    UserManager().setObject(password.text(), kUserPassword, "jo");
    UserManager().setObject(key.text(), kUserState, "jo");

    const auto streams = output.take();
    const std::string all = logFile() + streams.standardOutput + streams.standardError;
    EXPECT_THAT(all, testing::HasSubstr("Failed to write keychain item ( error = -61 )"));
    EXPECT_THAT(all, testing::HasSubstr("Failed to read keychain item ( error = -36 )"));
    for (const std::string& secret : {password.text(), key.text()})
        EXPECT_THAT(all, testing::Not(testing::HasSubstr(secret.substr(0, 6))));
}

}  // namespace
}  // namespace quillmore::tests
