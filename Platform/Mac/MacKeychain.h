// The keychain by Keychain Services: generic passwords of the default search list. Keeps no state:
// any thread.
#pragma once

#include "Platform/Ports/Keychain.h"

namespace quillmore::platform {

/// Texts and data of 4 GiB and more are kKeychainBadParameter: the system counts in 32 bits.
class MacKeychain final : public Keychain {
public:
    OSStatus findGenericPassword(const std::string& service, const std::string& account,
                                 std::unique_ptr<KeychainItem>& item) override;
    OSStatus addGenericPassword(const std::string& service, const std::string& account,
                                std::string_view data) override;
    OSStatus modifyContent(KeychainItem& item, std::string_view data) override;
    OSStatus deleteItem(KeychainItem& item) override;
    OSStatus copyData(KeychainItem& item, std::string& data) override;
};

}  // namespace quillmore::platform
