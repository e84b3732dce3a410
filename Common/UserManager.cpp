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

Array entriesOf(const std::optional<Value>& list) {
    return list && list->array() != nullptr ? *list->array() : Array();
}

/// The first record of that name, else the defaults record.
Dictionary recordIn(const Array& users, const std::optional<std::string>& userName) {
    for (const Value& entry : users)
        if (isRecordOf(entry, userName)) return *entry.dictionary();
    return UserManager::setupUserDefaults();
}

/// The record takes the place of all records of that name, at the end.
void putRecord(Array& users, Dictionary record, const std::optional<std::string>& userName) {
    std::erase_if(users, [&](const Value& entry) { return isRecordOf(entry, userName); });
    users.emplace_back(std::move(record));
}

/// A record made while the list could not be read: its maker had the defaults for what is stored.
Dictionary overStored(Dictionary record, const Dictionary& stored) {
    const Dictionary defaults = UserManager::setupUserDefaults();
    for (const auto& [key, value] : stored) {
        const Value* const made = platform::find(record, key);
        const Value* const unread = platform::find(defaults, key);
        if (made == nullptr || (unread != nullptr && *made == *unread))
            record.insert_or_assign(key, value);
    }
    return record;
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
    return recordIn(userList().value_or(Array()), userName);
}

Dictionary UserManager::setupUserDefaults() {
    return {{kUserConnectionSpeedDown, 512}, {kUserConnectionSpeedUp, 64},
            {kUserConnectionCount, 4},       {kUserDownloadBandwidth, 100},
            {kUserUploadBandwidth, 100},     {kUserEncryptTransfers, 1}};
}

void UserManager::editUserList(const ListEdit& edit) {
    UserDefaults* const defaults = standardUserDefaults();
    if (defaults == nullptr) return;
    defaults->editObject(kUserList, [edit](const std::optional<Value>& current) {
        Array users = entriesOf(current);
        return edit(users) ? std::optional<Value>(std::move(users)) : current;
    });
}

void UserManager::saveUser(const Dictionary& record, const Text& userName, bool) {
    const UserDefaults* const defaults = standardUserDefaults();
    const bool unread = defaults != nullptr && defaults->wasAskedInVain(kUserList);
    editUserList([=](Array& users) {
        putRecord(users, unread ? overStored(record, recordIn(users, userName)) : record, userName);
        return true;
    });
    save();
}

void UserManager::forgetUser(const Text& userName, bool withIncompleteOnes) {
    editUserList([=](Array& users) {
        std::erase_if(users, [&](const Value& entry) {
            return isRecordOf(entry, userName) ||
                   (withIncompleteOnes && isRecordWithoutName(entry));
        });
        return true;
    });
    UserDefaults* const defaults = standardUserDefaults();
    if (userName && defaults != nullptr) {
        defaults->editObject(kLastUsedUserName, [userName](const std::optional<Value>& current) {
            const bool isSelected = (current ? current->description() : "") == *userName;
            return isSelected ? std::nullopt : current;
        });
    }
    save();
}

void UserManager::removeIncompleteUser(const Text& userName) {
    forgetUser(userName, true);
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
                            const std::string& userName, bool) {
    if (forKey == kUserPassword || forKey == kUserState) return setSecret(object, forKey, userName);
    editUserList([=, key = std::string(forKey)](Array& users) {
        Dictionary record = recordIn(users, userName);
        if (object.isNull()) {
            record.erase(key);
        } else {
            record.insert_or_assign(key, object);
        }
        if (platform::stringForKey(record, kUserUserName) != userName)
            record[kUserUserName] = userName;
        putRecord(users, std::move(record), userName);
        return true;
    });
    save();
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

void UserManager::removeObjectForKey(std::string_view key, const Text& userName, bool) {
    editUserList([=, key = std::string(key)](Array& users) {
        Dictionary record = recordIn(users, userName);
        record.erase(key);
        putRecord(users, std::move(record), userName);
        return true;
    });
    save();
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
    editUserList([=](Array& users) {
        bool isRenamed = false;
        for (const Value& entry : Array(users)) {
            if (entry.dictionary() == nullptr) continue;
            Dictionary record = *entry.dictionary();
            const Value* account = platform::find(record, kUserAccountId);
            if (account == nullptr || !account->answersIntegerConversion() ||
                account->intValue() != forAccount)
                continue;
            const Text oldName = platform::stringForKey(record, kUserUserName);
            record[kUserUserName] = userName;
            putRecord(users, std::move(record), oldName);
            isRenamed = true;
        }
        return isRenamed;
    });
    save();
    return false;
}

}  // namespace quillmore
