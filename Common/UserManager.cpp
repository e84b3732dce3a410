// The list of users and the values of their records.
#include "Common/UserManager.h"

#include "Common/KeyList.h"
#include "Common/KeychainManager.h"
#include "Common/utils/Errors.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/Paths.h"
#include "Platform/Ports/Services.h"
#include "Platform/Settings/UserDefaults.h"
#include "Platform/Values/SecretMemory.h"

namespace quillmore {

namespace {

using platform::Array;
using platform::Dictionary;
using platform::UserDefaults;
using platform::Value;

constexpr std::int32_t kConnectionCount = 1;
constexpr const char* kCacheFolder = ".QM";

/// Null without services.
UserDefaults* standardUserDefaults() {
    return platform::haveServices() ? platform::services().standardUserDefaults : nullptr;
}

/// Entries of the list that are no records are kept as they are, but never looked into.
bool isRecordOf(const Value& entry, const std::optional<std::string>& userName) {
    const Dictionary* record = entry.dictionary();
    return record != nullptr && userName &&
           platform::stringForKey(*record, kUserUserName) == userName;
}

bool isRecordWithoutName(const Value& entry) {
    const Dictionary* record = entry.dictionary();
    return record != nullptr && platform::find(*record, kUserUserName) == nullptr;
}

void setOrRemove(const char* key, const std::optional<std::string>& text) {
    UserDefaults* const defaults = standardUserDefaults();
    if (defaults == nullptr) return;
    if (text) {
        defaults->setObject(key, *text);
    } else {
        defaults->removeObject(key);
    }
}

void setSecret(const Value& object, std::string_view key, const std::string& userName) {
    platform::Wiped<std::optional<std::string>> secret;
    if (object.string() != nullptr)
        *secret = platform::makeSecret(std::string_view(*object.string()));
    KeychainManager& keychain = KeychainManager::sharedManager();
    if (key == kUserState) {
        keychain.saveEncryptionKey(*secret, userName);
        return;
    }
    const bool keepLoggedIn = false;
    keychain.savePassword(*secret, userName, &keepLoggedIn);
}

UserManager::Object objectOf(std::optional<std::string> text) {
    if (!text) return std::nullopt;
    return Value(std::move(*text));
}

}  // namespace

void UserManager::load() {
    removeIncompleteUser(std::nullopt);
}

void UserManager::save() {
    UserDefaults* const defaults = standardUserDefaults();
    if (defaults == nullptr) return;
    const auto error = defaults->synchronize();
    if (error) logError("Failed to save the user settings (%@)", nserrorToString(error));
}

std::optional<Array> UserManager::userList() const {
    const UserDefaults* const defaults = standardUserDefaults();
    return defaults == nullptr ? std::nullopt : defaults->arrayForKey(kUserList);
}

Dictionary UserManager::userWithUserName(const Text& userName) const {
    for (const Value& entry : userList().value_or(Array()))
        if (isRecordOf(entry, userName)) return *entry.dictionary();
    return setupUserDefaults();
}

Dictionary UserManager::setupUserDefaults() {
    return {{kUserConnectionSpeedDown, 512}, {kUserConnectionSpeedUp, 64},
            {kUserConnectionCount, 4},       {kUserDownloadBandwidth, 100},
            {kUserUploadBandwidth, 100},     {kUserEncryptTransfers, 1}};
}

Array UserManager::usersWithout(const Text& userName) const {
    Array users = userList().value_or(Array());
    std::erase_if(users, [&](const Value& entry) { return isRecordOf(entry, userName); });
    return users;
}

void UserManager::writeUserList(Array users) {
    if (UserDefaults* const defaults = standardUserDefaults())
        defaults->setObject(kUserList, std::move(users));
}

void UserManager::saveUser(const Dictionary& record, const Text& userName, bool) {
    Array users = usersWithout(userName);
    users.emplace_back(record);
    writeUserList(std::move(users));
    save();
}

void UserManager::removeIncompleteUser(const Text& userName) {
    Array users = usersWithout(userName);
    std::erase_if(users, isRecordWithoutName);
    writeUserList(std::move(users));
    if (userName && *userName == lastUsedUserName()) setLastUsedUserName(std::nullopt);
    save();
}

std::string UserManager::lastUsedUserName() const {
    const UserDefaults* const defaults = standardUserDefaults();
    return defaults == nullptr ? "" : defaults->stringForKey(kLastUsedUserName).value_or("");
}

void UserManager::setLastUsedUserName(const Text& userName) {
    setOrRemove(kLastUsedUserName, userName);
}

UserManager::Text UserManager::previousAddUserName() const {
    const UserDefaults* const defaults = standardUserDefaults();
    return defaults == nullptr ? std::nullopt : defaults->stringForKey(kPreviousAddUserName);
}

void UserManager::setPreviousAddUserName(const Text& userName) {
    setOrRemove(kPreviousAddUserName, userName);
}

void UserManager::setObject(const Value& object, std::string_view forKey,
                            const std::string& userName, bool updateMono) {
    if (forKey == kUserPassword || forKey == kUserState) return setSecret(object, forKey, userName);
    Dictionary record = userWithUserName(userName);
    if (object.isNull()) {
        record.erase(std::string(forKey));
    } else {
        record.insert_or_assign(std::string(forKey), object);
    }
    if (platform::stringForKey(record, kUserUserName) != userName) record[kUserUserName] = userName;
    saveUser(record, userName, updateMono);
}

UserManager::Object UserManager::objectForKey(std::string_view key, const Text& username) const {
    if (key == kUserPassword)
        return objectOf(KeychainManager::sharedManager().getPasswordForUser(username, nullptr));
    if (key == kUserState)
        return objectOf(KeychainManager::sharedManager().getEncryptionKeyForUser(username));
    if (key == kUserConnectionCount) return Value(kConnectionCount);
    return recordObject(key, username);
}

UserManager::Object UserManager::objectForKeyAsString(std::string_view key,
                                                      const Text& userName) const {
    if (key == kUserConnectionCount) return Value(std::to_string(kConnectionCount));
    return objectForKey(key, userName);
}

std::int32_t UserManager::objectForKeyAsInt(std::string_view key, const Text& userName,
                                            std::int32_t defaultValue) const {
    if (key == kUserConnectionCount) return kConnectionCount;
    const Object value = recordObject(key, userName);
    return value && value->answersIntegerConversion() ? value->intValue() : defaultValue;
}

std::int64_t UserManager::objectForKeyAsLong(std::string_view key, const Text& userName,
                                             std::int64_t defaultValue) const {
    if (key == kUserConnectionCount) return kConnectionCount;
    const Object value = recordObject(key, userName);
    return value && value->answersIntegerConversion() ? value->longLongValue() : defaultValue;
}

UserManager::Object UserManager::objectForKeyAsArray(std::string_view key,
                                                     const Text& userName) const {
    return recordObject(key, userName);
}

UserManager::Object UserManager::recordObject(std::string_view key, const Text& userName) const {
    const Dictionary record = userWithUserName(userName);
    const Value* value = platform::find(record, key);
    return value != nullptr ? Object(*value) : std::nullopt;
}

void UserManager::removeObjectForKey(std::string_view key, const Text& userName, bool updateMono) {
    Dictionary record = userWithUserName(userName);
    record.erase(std::string(key));
    saveUser(record, userName, updateMono);
}

UserManager::Text UserManager::userCachePath(const Text& userName) const {
    const Dictionary record = userWithUserName(userName);
    const Text location = platform::stringForKey(record, kUserCacheLocation);
    const Text name = platform::stringForKey(record, kUserCacheName);
    if (!location || !name) return std::nullopt;
    return platform::pathByAppending(platform::pathByAppending(*location, kCacheFolder), *name);
}

bool UserManager::doesUserKeyExists(const std::string& userName) const {
    for (const Value& entry : userList().value_or(Array()))
        if (isRecordOf(entry, userName)) return true;
    return false;
}

bool UserManager::updateUserWithUsername(const std::string& userName, std::int32_t forAccount) {
    for (const Value& entry : userList().value_or(Array())) {
        if (entry.dictionary() == nullptr) continue;
        Dictionary record = *entry.dictionary();
        const Value* account = platform::find(record, kUserAccountId);
        if (account == nullptr || !account->answersIntegerConversion() ||
            account->intValue() != forAccount)
            continue;
        const Text oldName = platform::stringForKey(record, kUserUserName);
        record[kUserUserName] = userName;
        saveUser(record, oldName, false);
    }
    return false;
}

}  // namespace quillmore
