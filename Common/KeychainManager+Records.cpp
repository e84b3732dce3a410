// The record of an account: password, keep-signed-in choice, flags and encryption key.
#include "Common/KeyList.h"
#include "Common/KeychainManager.h"
#include "Common/utils/Logging.h"
#include "Platform/SecretMemory.h"
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

void logWriteFailure(OSStatus status) {
    logNormal("Failed to write keychain item ( error = %d )", status);
}

}  // namespace

/// A missing, empty or unparseable record is an empty one. The status of a keychain that cannot be
/// asked is passed on: nothing is known of the record then, and nothing may take its place.
OSStatus KeychainManager::readRecord(const std::string& user, Dictionary& record) {
    Wiped<Text> text;
    const OSStatus status = secKeychainFindGenericPassword(&*text, user);
    if (platform::isOutOfReach(status)) return status;
    if (isEmpty(*text)) return platform::kKeychainSuccess;
    Wiped<std::optional<Dictionary>> parsed(JSONEncoder::createObjFromJSONStr(**text));
    if (*parsed) record.swap(**parsed);
    return platform::kKeychainSuccess;
}

OSStatus KeychainManager::writeRecord(const std::string& user, const Dictionary& record) {
    const Wiped<std::string> text(JSONEncoder::createJSONStrFromDict(record));
    return modifyOrAdd(*text, user, serviceName());
}

bool KeychainManager::savePassword(const Text& password, const Text& forUser,
                                   const bool* keepLoggedin) {
    if (isEmpty(forUser)) return false;
    if (isEmpty(password) && keepLoggedin == nullptr) return false;
    Wiped<Dictionary> record;
    if (const OSStatus status = readRecord(*forUser, *record); status != 0) {
        logWriteFailure(status);
        return false;
    }
    if (keepLoggedin != nullptr) (*record)[kKeychainKeepSignedIn] = *keepLoggedin;
    if (password) setSecret(*record, kKeychainPassword, *password);
    const OSStatus status = writeRecord(*forUser, *record);
    if (status == platform::kKeychainSuccess) return true;
    logWriteFailure(status);
    secKeychainRemoveAllItemsWithUserName(forUser);
    return false;
}

/// Moves the item of the older service, if there is one. Written before the old one is deleted:
/// whatever happens in between, one of the two holds the password.
OSStatus KeychainManager::takeOverLegacyService(const std::string& user, Text& text) {
    const OSStatus status = secKeychainFindGenericPassword(&text, user, kLegacyService);
    if (status != platform::kKeychainSuccess) return status;
    const OSStatus written =
        text ? modifyOrAdd(*text, user, serviceName()) : platform::kKeychainSuccess;
    if (written == platform::kKeychainSuccess)
        secKeychainRemoveAllItemsWithUserName(user, kLegacyService);
    return written;
}

Text KeychainManager::getPasswordForUser(const Text& user, bool* keepLoggedin) {
    Text found;
    const OSStatus status = secKeychainFindGenericPassword(&found, user);
    if (status == platform::kKeychainItemNotFound && serviceName() != kLegacyService)
        takeOverLegacyService(*user, found);
    Wiped<Text> text(std::move(found));
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
    Wiped<Dictionary> record;
    readRecord(*forUser, *record);
    return platform::find(*record, *key) != nullptr;
}

bool KeychainManager::flagForKey(const Text& key, const Text& forUser) {
    if (isEmpty(key) || isEmpty(forUser)) return false;
    Wiped<Dictionary> record;
    readRecord(*forUser, *record);
    const Value* flag = platform::find(*record, *key);
    return flag != nullptr && flag->boolValue();
}

void KeychainManager::setFlag(bool flag, const Text& forKey, const Text& forUser) {
    if (isEmpty(forKey) || isEmpty(forUser)) return;
    Wiped<Dictionary> record;
    readRecord(*forUser, *record);
    if (record->empty()) return;
    Value& entry = (*record)[*forKey];
    platform::wipe(entry);
    entry = Value(flag);
    writeRecord(*forUser, *record);
}

void KeychainManager::removeFlagForKey(const Text& key, const Text& forUser) {
    if (isEmpty(key) || isEmpty(forUser)) return;
    Wiped<Dictionary> record;
    readRecord(*forUser, *record);
    const auto found = record->find(*key);
    if (found == record->end()) return;
    platform::wipe(found->second);
    record->erase(found);
    writeRecord(*forUser, *record);
}

bool KeychainManager::saveEncryptionKey(const Text& key, const Text& forUser) {
    if (!key || isEmpty(forUser)) return false;
    Wiped<Dictionary> record;
    if (readRecord(*forUser, *record) != platform::kKeychainSuccess) return false;
    setSecret(*record, kKeychainEncryptionKey, *key);
    return writeRecord(*forUser, *record) == platform::kKeychainSuccess;
}

Text KeychainManager::getEncryptionKeyForUser(const Text& user) {
    if (isEmpty(user)) return std::nullopt;
    Wiped<Dictionary> record;
    readRecord(*user, *record);
    return secretIn(*record, kKeychainEncryptionKey);
}

}  // namespace quillmore
