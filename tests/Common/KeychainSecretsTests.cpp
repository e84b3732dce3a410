// Secrets leave no trace: not in the log at any level, not in the memory of the process.
#include <fcntl.h>

#include <array>
#include <fstream>

#include "Common/KeyList.h"
#include "Common/KeychainManager.h"
#include "Common/UserManager.h"
#include "Platform/FileDescriptor.h"
#include "Platform/SecretMemory.h"
#include "QuillmoreCore/Classes/Utilities/JSONEncoder.h"
#include "tests/Common/LogTest.h"

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
    platform::OSStatus findGenericPassword(const std::string& service, const std::string&,
                                           std::unique_ptr<platform::KeychainItem>& item) override {
        if (data_.empty() || service != "ProductName") return platform::kKeychainItemNotFound;
        item = std::make_unique<platform::KeychainItem>();
        return 0;
    }
    platform::OSStatus addGenericPassword(const std::string&, const std::string&,
                                          std::string_view data) override {
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

/// A text that the test can say without having it in memory. The number tells secrets apart.
struct Secret {
    std::size_t length;
    unsigned number;
    char letter(std::size_t index) const {
        return static_cast<char>('A' + (index * 7 + number * 11 + index * index % 5) % 26);
    }
    std::string text() const {
        std::string text = platform::makeSecret(length);
        for (std::size_t i = 0; i < length; ++i) text += letter(i);
        return text;
    }
    bool isAt(const char* bytes) const {
        for (std::size_t i = 0; i < length; ++i)
            if (bytes[i] != letter(i)) return false;
        return true;
    }
};

/// Places in the writable memory of this process that hold the secret.
int copiesInMemory(const Secret& secret) {
    const platform::FileDescriptor memory(::open("/proc/self/mem", O_RDONLY | O_CLOEXEC));
    std::vector<std::pair<unsigned long, unsigned long>> ranges;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long from = 0;
        unsigned long to = 0;
        if (line.find(" rw") != std::string::npos &&
            std::sscanf(line.c_str(), "%lx-%lx", &from, &to) == 2 && to - from < (1UL << 30))
            ranges.emplace_back(from, to);
    }
    static std::array<char, 4096> page;  // one page at a time: its own copy would be found
    int found = 0;
    for (const auto& [from, to] : ranges) {
        for (unsigned long at = from; at < to; at += page.size()) {
            const ssize_t count =
                ::pread(memory.get(), page.data(), page.size(), static_cast<off_t>(at));
            const auto* const own = reinterpret_cast<const char*>(at);
            if (count != ssize_t{page.size()} ||
                (own < page.data() + page.size() && page.data() < own + page.size()))
                continue;
            for (std::size_t i = 0; i + secret.length <= page.size(); ++i)
                if (secret.isAt(page.data() + i)) ++found;
        }
        page.fill(0);
    }
    return found;
}

class KeychainSecrets : public LogTest {
protected:
    /// Everything that touches a password and an encryption key, the wiping of the caller's own
    /// texts included.
    void useSecrets(const Secret& password, const Secret& key) {
        const Wiped<std::string> heldPassword(password.text());
        const Wiped<std::string> heldKey(key.text());
        const Wiped<KeychainManager::Text> givenPassword(
            KeychainManager::Text(platform::makeSecret(std::string_view(*heldPassword))));
        const Wiped<KeychainManager::Text> givenKey(
            KeychainManager::Text(platform::makeSecret(std::string_view(*heldKey))));
        EXPECT_EQ(manager.savePassword(*givenPassword, "jo", &keep),
                  services.keychain.modifyStatus == 0);
        manager.saveEncryptionKey(*givenKey, "jo");
        manager.setSkipAuth(true, "jo");
        const Wiped<KeychainManager::Text> read(manager.getPasswordForUser("jo", nullptr));
        const Wiped<KeychainManager::Text> readKey(manager.getEncryptionKeyForUser("jo"));
        const Wiped<KeychainManager::Text> encoded(KeychainManager::encryptString(*givenPassword));
        const Wiped<KeychainManager::Text> decoded(KeychainManager::decryptString(*encoded));
        EXPECT_TRUE(*decoded == *givenPassword);
    }
    const bool keep = true;
    KeychainManager manager;
};

TEST_F(KeychainSecrets, NoCopyStaysInMemory) {
    if (::access("/proc/self/mem", R_OK) != 0) GTEST_SKIP() << "no /proc/self/mem to search";
    VeiledKeychain veiled;
    services.set.keychain = &veiled;
    const Secret password{40, 3};
    const Secret key{64, 5};
    {
        const Wiped<std::string> held(password.text());
        EXPECT_GT(copiesInMemory(password), 0) << "the search finds what is there";
    }
    useSecrets(password, key);
    EXPECT_EQ(copiesInMemory(password), 0);
    EXPECT_EQ(copiesInMemory(key), 0);
}

TEST_F(KeychainSecrets, NoCopyOfAShortPasswordStaysInMemory) {
    if (::access("/proc/self/mem", R_OK) != 0) GTEST_SKIP() << "no /proc/self/mem to search";
    VeiledKeychain veiled;
    services.set.keychain = &veiled;
    const Secret password{12, 4};
    useSecrets(password, {13, 6});
    EXPECT_EQ(copiesInMemory(password), 0);
    EXPECT_EQ(copiesInMemory({13, 6}), 0);
}

TEST_F(KeychainSecrets, LogHasNoneAtTheMostDetailedLevelEvenWhenTheKeychainFails) {
    CapturedOutput output;
    configure("detailed", "detailed");
    const Secret password{20, 7};
    const Secret key{20, 8};
    useSecrets(password, key);
    services.keychain.items["ProductName/al"] = password.text();  // a bare one
    manager.getPasswordForUser("al", nullptr);
    services.keychain.modifyStatus = services.keychain.addStatus = -61;
    useSecrets(password, key);
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
