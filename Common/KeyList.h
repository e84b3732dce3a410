// Names of the keys under which the client keeps settings and secrets: one list for everything that
// reads or writes them. docs/settings.md says what each means.
#pragma once

namespace quillmore {

// Top-level keys of the user defaults.
inline constexpr const char* kUserList = "UserList";
inline constexpr const char* kLastUsedUserName = "LastUsedUserName";
inline constexpr const char* kPreviousAddUserName = "PreviousAddUserName";

// Keys of a user's record.
inline constexpr const char* kUserUserName = "UserName";
inline constexpr const char* kUserCacheName = "CacheName";
inline constexpr const char* kUserCacheLocation = "CacheLocation";
inline constexpr const char* kUserClientIdent = "ClientIdent";
inline constexpr const char* kUserAccountId = "AccountId";
inline constexpr const char* kUserAccountType = "AccountType";
inline constexpr const char* kUserConnectionSpeedDown = "ConnectionSpeedDown";
inline constexpr const char* kUserConnectionSpeedUp = "ConnectionSpeedUp";
inline constexpr const char* kUserConnectionCount = "ConnectionCount";
inline constexpr const char* kUserDownloadBandwidth = "DownloadBandwidth";
inline constexpr const char* kUserUploadBandwidth = "UploadBandwidth";
inline constexpr const char* kUserEncryptTransfers = "EncryptTransfers";
inline constexpr const char* kUserAllowSharing = "AllowSharing";
inline constexpr const char* kUserAllowBackup = "AllowBackup";
inline constexpr const char* kUserAllowQMDisk = "AllowQMDisk";
inline constexpr const char* kUserEnableBackup = "EnableBackup";
inline constexpr const char* kUserEnableQMDisk = "EnableQMDisk";
inline constexpr const char* kUserShowTeamFolders = "ShowTeamFolders";
inline constexpr const char* kUserIgnoreServerExclusions = "IgnoreServerExclusions";
inline constexpr const char* kUserEncryptNewFiles = "Encrypt";
inline constexpr const char* kUserBrandID = "BrandID";

// Set and read like keys of the record, but kept in the keychain.
inline constexpr const char* kUserPassword = "Password";
inline constexpr const char* kUserState = "State";

// Keys of the record in the keychain.
inline constexpr const char* kKeychainPassword = "password";
inline constexpr const char* kKeychainKeepSignedIn = "keepSignedIn";
inline constexpr const char* kKeychainSkipAuth = "skipAuth";
inline constexpr const char* kKeychainEncryptionKey = "encryptionKey";

}  // namespace quillmore
