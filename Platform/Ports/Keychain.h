// Port: the user's keychain, with the calls and status codes of Keychain Services for generic
// passwords. Calls may block while the user is asked to unlock it. Any thread. Test double:
// FakeKeychain.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Platform/Ports/Authorization.h"

namespace quillmore::platform {

inline constexpr OSStatus kKeychainSuccess = 0;
inline constexpr OSStatus kKeychainBadParameter = -50;
inline constexpr OSStatus kKeychainNotAvailable = -25291;  ///< There is none to be reached.
inline constexpr OSStatus kKeychainDuplicateItem = -25299;
inline constexpr OSStatus kKeychainItemNotFound = -25300;
inline constexpr OSStatus kKeychainInvalidItem = -25304;  ///< The item went since it was found.
inline constexpr OSStatus kKeychainInteractionNotAllowed = -25308;  ///< Locked, and stays locked.

/// An item that was found; it may go from the keychain all the same. Each body derives its own.
class KeychainItem {
public:
    virtual ~KeychainItem() = default;
};

class Keychain {
public:
    virtual ~Keychain() = default;
    /// The first item with that service and account (UTF-8). kKeychainItemNotFound is certain: a
    /// keychain that is locked or cannot be reached has a status of its own.
    virtual OSStatus findGenericPassword(const std::string& service, const std::string& account,
                                         std::unique_ptr<KeychainItem>& item) = 0;
    /// Never replaces an item: kKeychainDuplicateItem.
    virtual OSStatus addGenericPassword(const std::string& service, const std::string& account,
                                        std::string_view data) = 0;
    /// Attributes stay as they are.
    virtual OSStatus modifyContent(KeychainItem& item, std::string_view data) = 0;
    virtual OSStatus deleteItem(KeychainItem& item) = 0;
    /// `data` is replaced on success only. Secret: the caller wipes it.
    virtual OSStatus copyData(KeychainItem& item, std::string& data) = 0;
};

}  // namespace quillmore::platform
