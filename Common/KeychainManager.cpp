// The singleton and the primitives over the keychain port.
#include "Common/KeychainManager.h"

#include "Common/BrandingManager.h"
#include "Common/utils/Errors.h"
#include "Common/utils/Logging.h"
#include "Platform/Ports/Services.h"
#include "Platform/Threads/SharedInstance.h"
#include "Platform/Values/SecretMemory.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore {

namespace {

using platform::Keychain;
using platform::KeychainItem;
using platform::OSStatus;

platform::SharedInstance<KeychainManager> sharedInstance;

/// Null without services.
Keychain* keychain() {
    return platform::haveServices() ? platform::services().keychain : nullptr;
}

OSStatus find(const std::string& service, const std::string& account,
              std::unique_ptr<KeychainItem>& item) {
    Keychain* const port = keychain();
    if (port == nullptr) return platform::kKeychainNotAvailable;
    return port->findGenericPassword(service, account, item);
}

/// The bytes of data or of a string; nothing for any other kind.
std::optional<std::string_view> bytesOf(const platform::Value& value) {
    if (const auto* text = value.string()) return *text;
    const auto* data = value.data();
    if (data == nullptr) return std::nullopt;
    return std::string_view(reinterpret_cast<const char*>(data->bytes.data()), data->bytes.size());
}

}  // namespace

KeychainManager& KeychainManager::sharedManager() {
    return sharedInstance.get();
}

std::string KeychainManager::serviceName() const {
    return QMLocalizedString("ProductName");
}

OSStatus KeychainManager::secKeychainModifyOrAddGenericPassword(
    const std::optional<platform::Value>& data, const Text& userName,
    const std::string& serviceName) {
    if (!userName || !data) return platform::kKeychainSuccess;
    const auto bytes = bytesOf(*data);
    if (!bytes) {
        logError(
            "-[KeychainManager secKeychainModifyOrAddGenericPassword:userName:serviceName:]: "
            "neither data nor a string");
        __assert2("0", "Common/KeychainManager", 39);
    }
    return modifyOrAdd(*bytes, *userName, serviceName);
}

OSStatus KeychainManager::secKeychainModifyOrAddGenericPassword(
    const std::optional<platform::Value>& data, const Text& userName) {
    return secKeychainModifyOrAddGenericPassword(data, userName, serviceName());
}

OSStatus KeychainManager::modifyOrAdd(std::string_view data, const std::string& userName,
                                      const std::string& serviceName) {
    // Deliberate: how the search ended is not looked at. A keychain out of reach fails the write.
    std::unique_ptr<KeychainItem> item;
    find(serviceName, userName, item);
    Keychain* const port = keychain();
    if (port == nullptr) return platform::kKeychainNotAvailable;
    if (item) return port->modifyContent(*item, data);
    return port->addGenericPassword(serviceName, userName, data);
}

OSStatus KeychainManager::secKeychainFindGenericPassword(Text* outString, const Text& userName,
                                                         const std::string& serviceName) {
    if (!userName) return platform::kKeychainSuccess;
    std::unique_ptr<KeychainItem> item;
    if (const OSStatus status = find(serviceName, *userName, item); status != 0) return status;
    platform::Wiped<std::string> data(platform::makeSecret(0));
    const OSStatus status = keychain()->copyData(*item, *data);
    if (status != platform::kKeychainSuccess) {
        logNormal("Failed to read keychain item ( error = %d )", status);
        // Deliberate: an unreadable item is discarded whatever the status, and looked for under the
        // default service wherever it was found.
        secKeychainRemoveAllItemsWithUserName(userName);
        return status;
    }
    if (outString != nullptr && !*outString && !data->empty() && platform::isUtf8(*data))
        outString->emplace(platform::makeSecret(std::string_view(*data)));
    return platform::kKeychainSuccess;
}

OSStatus KeychainManager::secKeychainFindGenericPassword(Text* outString, const Text& userName) {
    return secKeychainFindGenericPassword(outString, userName, serviceName());
}

bool KeychainManager::secKeychainRemoveAllItemsWithUserName(const Text& userName,
                                                            const std::string& serviceName) {
    if (!userName) return false;
    std::unique_ptr<KeychainItem> item;
    if (find(serviceName, *userName, item) != platform::kKeychainSuccess) return false;
    return keychain()->deleteItem(*item) == platform::kKeychainSuccess;
}

bool KeychainManager::secKeychainRemoveAllItemsWithUserName(const Text& userName) {
    return secKeychainRemoveAllItemsWithUserName(userName, serviceName());
}

}  // namespace quillmore
