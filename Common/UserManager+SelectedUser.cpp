// Settings of the user who signed in last.
#include "Common/KeyList.h"
#include "Common/UserManager.h"

namespace quillmore {

namespace {

constexpr std::int32_t kPersonalAccount = 10;
constexpr std::int32_t kBusinessAccount = 9;

}  // namespace

UserManager::Object UserManager::selectedUserObject(std::string_view key) const {
    return objectForKey(key, lastUsedUserName());
}

std::int32_t UserManager::selectedUserInt(std::string_view key, std::int32_t defaultValue) const {
    return objectForKeyAsInt(key, lastUsedUserName(), defaultValue);
}

UserManager::Text UserManager::selectedUserCachePath() const {
    return userCachePath(lastUsedUserName());
}

UserManager::Object UserManager::selectedUserClientIdent() const {
    return selectedUserObject(kUserClientIdent);
}

UserManager::Object UserManager::selectedUserCacheName() const {
    return selectedUserObject(kUserCacheName);
}

UserManager::Object UserManager::selectedUserCacheLocation() const {
    return selectedUserObject(kUserCacheLocation);
}

std::int32_t UserManager::selectedUserAccountType() const {
    return selectedUserInt(kUserAccountType, kPersonalAccount);
}

// Deliberate: "allow", "enable" and the like mean exactly 1; any other number is no.

bool UserManager::selectedUserAllowSharing() const {
    return selectedUserInt(kUserAllowSharing, 1) == 1;
}

bool UserManager::selectedUserAllowBackup() const {
    return selectedUserInt(kUserAllowBackup, 1) == 1;
}

bool UserManager::selectedUserAllowQMDisk() const {
    return selectedUserInt(kUserAllowQMDisk, 1) == 1;
}

bool UserManager::selectedUserEnableBackup() const {
    return selectedUserAllowBackup() && selectedUserInt(kUserEnableBackup, 1) == 1;
}

bool UserManager::selectedUserEnableQMDisk() const {
    return selectedUserAllowQMDisk() && selectedUserInt(kUserEnableQMDisk, 1) == 1;
}

bool UserManager::selectedUserShowTeamFolders() const {
    return selectedUserInt(kUserShowTeamFolders, 0) == 1;
}

bool UserManager::isShowingTeamFolders() const {
    // Deliberate: any number but 0, unlike the accessor above.
    return selectedUserInt(kUserShowTeamFolders, 0) != 0;
}

bool UserManager::ignoreServerExclusions() const {
    return selectedUserInt(kUserIgnoreServerExclusions, 0) != 0;
}

bool UserManager::selectedUserEncryptTransfers() const {
    return selectedUserInt(kUserEncryptTransfers, 0) == 1;
}

bool UserManager::selectedUserEncryptNewFiles() const {
    return selectedUserInt(kUserEncryptNewFiles, 0) == 1;
}

bool UserManager::selectedUserHaveClientIdent() const {
    const Object ident = objectForKeyAsString(kUserClientIdent, lastUsedUserName());
    return ident && ident->string() != nullptr && !ident->string()->empty();
}

bool UserManager::selectedUserHasQMDisk() const {
    return selectedUserEnableQMDisk() || selectedUserShowTeamFolders();
}

bool UserManager::isBusinessUser() const {
    return selectedUserAccountType() == kBusinessAccount;
}

bool UserManager::isSimplifiedWelcome() const {
    return isShowingTeamFolders() || selectedUserAccountType() == kBusinessAccount;
}

bool UserManager::isConsumerSharing() const {
    return !isShowingTeamFolders();
}

bool UserManager::isBusinessSharing() const {
    return !isConsumerSharing();
}

}  // namespace quillmore
