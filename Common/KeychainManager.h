// Each account's secrets in the user's keychain: one generic password an account, whose data is a
// JSON text with the password, the keep-signed-in choice, the encryption key and boolean flags.
// Every write reads the record, changes a key or two and writes the whole back, so the keys live
// side by side. No state and no lock: of two writers of one account at the same time one may lose.
// Secrets are wiped after use and never logged. An absent argument is the platform's nil.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Ports/Keychain.h"
#include "Platform/Values/Value.h"

namespace quillmore {

class KeychainManager {
public:
    using Text = std::optional<std::string>;
    using OSStatus = platform::OSStatus;

    static KeychainManager& sharedManager();

    // The keychain itself; without a service name that of serviceName().

    /// `data` is data or a string, any other kind fails an assertion. Absent data or an absent
    /// account: 0, and nothing is touched.
    OSStatus secKeychainModifyOrAddGenericPassword(const std::optional<platform::Value>& data,
                                                   const Text& userName,
                                                   const std::string& serviceName);
    OSStatus secKeychainModifyOrAddGenericPassword(const std::optional<platform::Value>& data,
                                                   const Text& userName);
    /// `outString` (may be null) is set when it is absent and there is data that is UTF-8. An item
    /// that cannot be read is discarded. An absent account: 0, and nothing is touched.
    OSStatus secKeychainFindGenericPassword(Text* outString, const Text& userName,
                                            const std::string& serviceName);
    OSStatus secKeychainFindGenericPassword(Text* outString, const Text& userName);
    /// Deletes the first such item, in spite of the name; true when one was deleted.
    bool secKeychainRemoveAllItemsWithUserName(const Text& userName,
                                               const std::string& serviceName);
    bool secKeychainRemoveAllItemsWithUserName(const Text& userName);
    /// The localised name of the product.
    std::string serviceName() const;

    // The record of one account. An empty user name: false, absent or no effect.

    /// `savePassword:forUser:keepLoggedin:`. A null pointer leaves the flag as it is, an absent
    /// password leaves the password; an empty password needs the pointer. A record that cannot be
    /// written is discarded.
    bool savePassword(const Text& password, const Text& forUser, const bool* keepLoggedin);
    /// `getPasswordForUser:keepLoggedin:`. Takes over both older forms: an item of the service
    /// "Quillmore", and one that holds a bare password. The pointed flag changes only when the
    /// record has one. Deliberate: a record without a password gives its whole text.
    Text getPasswordForUser(const Text& user, bool* keepLoggedin);
    /// Deletes the whole record.
    bool removePassword(const Text& user);

    bool skipAuthForUser(const Text& user);
    void setSkipAuth(bool flag, const Text& forUser);
    void removeSkipAuthForUser(const Text& user);
    bool flagExistsForKey(const Text& key, const Text& forUser);
    bool flagForKey(const Text& key, const Text& forUser);
    /// Deliberate: nothing happens on an account without a stored record.
    void setFlag(bool flag, const Text& forKey, const Text& forUser);
    void removeFlagForKey(const Text& key, const Text& forUser);

    /// False for an absent key too.
    bool saveEncryptionKey(const Text& key, const Text& forUser);
    Text getEncryptionKeyForUser(const Text& user);

    // Deliberate: no cipher in spite of the names, plain base64 without line breaks. An empty or
    // absent text is given back. They live in a library of their own, accounts_base64: whoever does
    // not call them does not link a crypto library.
    static Text encryptString(const Text& text);
    /// Absent when the bytes are not UTF-8; what the decoder yields before it meets bad base64.
    static Text decryptString(const Text& text);

private:
    OSStatus modifyOrAdd(std::string_view data, const std::string& userName,
                         const std::string& serviceName);
    platform::Dictionary readRecord(const std::string& user);
    OSStatus writeRecord(const std::string& user, const platform::Dictionary& record);
    void takeOverLegacyService(const std::string& user, Text& text);
};

}  // namespace quillmore
