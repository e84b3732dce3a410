// The record of an account: password, keep-signed-in choice, flags and encryption key.
#include "Common/KeyList.h"
#include "Common/KeychainManager.h"
#include "Common/utils/Logging.h"
#include "Platform/Values/SecretMemory.h"
#include "QuillmoreCore/Classes/Utilities/JSONEncoder.h"

namespace quillmore {

namespace {

using platform::Dictionary;
using platform::makeSecret;
using platform::OSStatus;
using platform::Value;
using platform::Wiped;
using Text = KeychainManager::Text;

/// The fixed service name of older versions.
constexpr const char* kLegacyService = "Quillmore";

bool isEmpty(const Text& text) {
    return !text || text->empty();
}

void setSecret(Dictionary& record, const char* key, const std::string& secret) {
    Value& entry = record[key];
    platform::wipe(entry);
    entry = Value(makeSecret(std::string_view(secret)));
}

/// The string under a key; absent when it is missing or of another kind.
Text secretIn(const Dictionary& record, const char* key) {
    const Value* value = platform::find(record, key);
    if (value == nullptr || value->string() == nullptr) return std::nullopt;
    return makeSecret(std::string_view(*value->string()));
}

}  // namespace

/// A missing, unreadable, empty or unparseable record is an empty one.
Dictionary KeychainManager::readRecord(const std::string& user) {
    Wiped<Text> text;
    secKeychainFindGenericPassword(&*text, user);
    if (isEmpty(*text)) return {};
    return JSONEncoder::createObjFromJSONStr(**text).value_or(Dictionary());
}

OSStatus KeychainManager::writeRecord(const std::string& user, const Dictionary& record) {
    const Wiped<std::string> text(JSONEncoder::createJSONStrFromDict(record));
    return modifyOrAdd(*text, user, serviceName());
}

bool KeychainManager::savePassword(const Text& password, const Text& forUser,
                                   const bool* keepLoggedin) {
    if (isEmpty(forUser)) return false;
    if (isEmpty(password) && keepLoggedin == nullptr) return false;
    Wiped<Dictionary> record(readRecord(*forUser));
    if (keepLoggedin != nullptr) (*record)[kKeychainKeepSignedIn] = *keepLoggedin;
    if (password) setSecret(*record, kKeychainPassword, *password);
    const OSStatus status = writeRecord(*forUser, *record);
    if (status == platform::kKeychainSuccess) return true;
    logNormal("Failed to write keychain item ( error = %d )", status);
    secKeychainRemoveAllItemsWithUserName(forUser);
    return false;
}

/// Moves the item of the older service, if there is one. Written before the old one is deleted, and
/// that only once the new one is there: the record may hold the only copy of the encryption key, so
/// whatever fails or ends in between, one of the two items must have it.
void KeychainManager::takeOverLegacyService(const std::string& user, Text& text) {
    if (secKeychainFindGenericPassword(&text, user, kLegacyService) != platform::kKeychainSuccess)
        return;
    if (text && modifyOrAdd(*text, user, serviceName()) != platform::kKeychainSuccess) return;
    secKeychainRemoveAllItemsWithUserName(user, kLegacyService);
}

Text KeychainManager::getPasswordForUser(const Text& user, bool* keepLoggedin) {
    Wiped<Text> text;
    const OSStatus status = secKeychainFindGenericPassword(&*text, user);
    if (status == platform::kKeychainItemNotFound && serviceName() != kLegacyService)
        takeOverLegacyService(*user, *text);
    if (isEmpty(*text)) return std::nullopt;

    Wiped<std::optional<Dictionary>> record(JSONEncoder::createObjFromJSONStr(**text));
    if (!*record) {
        // The bare password of an older version.
        record->emplace();
        setSecret(**record, kKeychainPassword, **text);
        (**record)[kKeychainKeepSignedIn] = true;
        writeRecord(*user, **record);
    }
    Text password = secretIn(**record, kKeychainPassword);
    if (isEmpty(password)) return std::move(*text);
    const Value* keep = platform::find(**record, kKeychainKeepSignedIn);
    if (keepLoggedin != nullptr && keep != nullptr) *keepLoggedin = keep->boolValue();
    return password;
}

bool KeychainManager::removePassword(const Text& user) {
    return secKeychainRemoveAllItemsWithUserName(user);
}

bool KeychainManager::skipAuthForUser(const Text& user) {
    return flagForKey(kKeychainSkipAuth, user);
}

void KeychainManager::setSkipAuth(bool flag, const Text& forUser) {
    setFlag(flag, kKeychainSkipAuth, forUser);
}

void KeychainManager::removeSkipAuthForUser(const Text& user) {
    removeFlagForKey(kKeychainSkipAuth, user);
}

bool KeychainManager::flagExistsForKey(const Text& key, const Text& forUser) {
    if (isEmpty(key) || isEmpty(forUser)) return false;
    const Wiped<Dictionary> record(readRecord(*forUser));
    return platform::find(*record, *key) != nullptr;
}

bool KeychainManager::flagForKey(const Text& key, const Text& forUser) {
    if (isEmpty(key) || isEmpty(forUser)) return false;
    const Wiped<Dictionary> record(readRecord(*forUser));
    const Value* flag = platform::find(*record, *key);
    return flag != nullptr && flag->boolValue();
}

void KeychainManager::setFlag(bool flag, const Text& forKey, const Text& forUser) {
    if (isEmpty(forKey) || isEmpty(forUser)) return;
    Wiped<Dictionary> record(readRecord(*forUser));
    if (record->empty()) return;
    Value& entry = (*record)[*forKey];
    platform::wipe(entry);
    entry = Value(flag);
    writeRecord(*forUser, *record);
}

void KeychainManager::removeFlagForKey(const Text& key, const Text& forUser) {
    if (isEmpty(key) || isEmpty(forUser)) return;
    Wiped<Dictionary> record(readRecord(*forUser));
    const auto found = record->find(*key);
    if (found == record->end()) return;
    platform::wipe(found->second);
    record->erase(found);
    writeRecord(*forUser, *record);
}

bool KeychainManager::saveEncryptionKey(const Text& key, const Text& forUser) {
    if (!key || isEmpty(forUser)) return false;
    Wiped<Dictionary> record(readRecord(*forUser));
    setSecret(*record, kKeychainEncryptionKey, *key);
    return writeRecord(*forUser, *record) == platform::kKeychainSuccess;
}

Text KeychainManager::getEncryptionKeyForUser(const Text& user) {
    if (isEmpty(user)) return std::nullopt;
    const Wiped<Dictionary> record(readRecord(*user));
    return secretIn(*record, kKeychainEncryptionKey);
}

}  // namespace quillmore
