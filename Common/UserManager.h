// The accounts that have signed in and each one's settings, in the user defaults: a list of
// records, in the order they were last saved. No state: every call reads the defaults afresh. Any
// thread; of two writers of the list at the same time the last one wins. The keys "Password" and
// "State" are kept in the keychain. An absent argument is the platform's nil.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Values/Value.h"

namespace quillmore {

/// Is told on the main thread that a user was removed.
class UserRemovalSender {
public:
    virtual ~UserRemovalSender() = default;
    virtual void removeUserFinished() = 0;
};

/// What the removal thread is given.
struct UserRemoval {
    std::string username;
    bool removecache = false;
    std::shared_ptr<UserRemovalSender> sender;  ///< May be null.
};

class UserManager {
public:
    using Text = std::optional<std::string>;
    using Object = std::optional<platform::Value>;

    /// Once at the client's start: removes records without a user name.
    void load();
    /// Writes the user defaults to disk. A failure is logged; the changes stay for the next time.
    void save();
    std::optional<platform::Array> userList() const;
    /// The first record of that name, else the defaults record: never absent.
    platform::Dictionary userWithUserName(const Text& userName) const;
    /// The six settings of a new user; no name.
    static platform::Dictionary setupUserDefaults();

    /// The record takes the place of all records of that name, at the end of the list.
    /// `updateMono` has no effect, here and below.
    void saveUser(const platform::Dictionary& record, const Text& userName, bool updateMono = true);
    /// Removes the records without a name, and those of the given one.
    void removeIncompleteUser(const Text& userName);
    /// `removeUser:removeCache:sender:`. Returns at once; a thread of its own does it.
    void removeUser(const std::string& userName, bool removeCache,
                    std::shared_ptr<UserRemovalSender> sender);
    /// The body of that thread.
    void removeUserAsync(const UserRemoval& removal);

    /// "" when there is none.
    std::string lastUsedUserName() const;
    void setLastUsedUserName(const Text& userName);
    Text previousAddUserName() const;
    void setPreviousAddUserName(const Text& userName);

    // The record's values. A change puts a user who was not in the list there.

    /// `setObject:forKey:userName:updateMono:`. A null value removes the key. "Password" and
    /// "State" must be strings; keep-signed-in becomes false with the password.
    void setObject(const platform::Value& object, std::string_view forKey,
                   const std::string& userName, bool updateMono = true);
    // Deliberate: every reader sees one connection, whatever is stored under "ConnectionCount".
    Object objectForKey(std::string_view key, const Text& username) const;
    /// Differs from objectForKey only in "ConnectionCount", the string "1".
    Object objectForKeyAsString(std::string_view key, const Text& userName) const;
    /// The default for a value that answers no integer conversion. "Password" and "State" are not
    /// looked for in the keychain.
    std::int32_t objectForKeyAsInt(std::string_view key, const Text& userName,
                                   std::int32_t defaultValue) const;
    std::int64_t objectForKeyAsLong(std::string_view key, const Text& userName,
                                    std::int64_t defaultValue) const;
    Object objectForKeyAsArray(std::string_view key, const Text& userName) const;
    void removeObjectForKey(std::string_view key, const Text& userName, bool updateMono = true);

    /// "CacheLocation"/.QM/"CacheName"; absent when either is.
    Text userCachePath(const Text& userName) const;
    Text selectedUserCachePath() const;
    /// Whether a record has that user name, in spite of its name.
    bool doesUserKeyExists(const std::string& userName) const;
    /// `updateUserWithUsername:ForAccount:`: renames every record of the account. Always false.
    bool updateUserWithUsername(const std::string& userName, std::int32_t forAccount);

    // Of the user who signed in last.
    Object selectedUserClientIdent() const;
    Object selectedUserCacheName() const;
    Object selectedUserCacheLocation() const;
    std::int32_t selectedUserAccountType() const;
    bool selectedUserAllowSharing() const;
    bool selectedUserAllowBackup() const;
    bool selectedUserAllowQMDisk() const;
    bool selectedUserEnableBackup() const;
    bool selectedUserEnableQMDisk() const;
    bool selectedUserShowTeamFolders() const;
    bool isShowingTeamFolders() const;
    bool ignoreServerExclusions() const;
    bool selectedUserEncryptTransfers() const;
    bool selectedUserEncryptNewFiles() const;
    bool selectedUserHaveClientIdent() const;
    bool selectedUserHasQMDisk() const;
    bool isBusinessUser() const;
    bool isSimplifiedWelcome() const;
    bool isConsumerSharing() const;
    bool isBusinessSharing() const;

private:
    /// False when there is nothing to change.
    using ListEdit = std::function<bool(platform::Array& users)>;
    /// Not saved yet. A list that cannot be read is edited once it can be: no account is lost.
    static void editUserList(const ListEdit& edit);
    void forgetUser(const Text& userName, bool withIncompleteOnes);
    Object recordObject(std::string_view key, const Text& userName) const;
    Object selectedUserObject(std::string_view key) const;
    std::int32_t selectedUserInt(std::string_view key, std::int32_t defaultValue) const;
};

}  // namespace quillmore
