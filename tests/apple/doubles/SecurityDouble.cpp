#include "tests/apple/doubles/SecurityDouble.h"

#include <Security/Authorization.h>
#include <Security/SecKeychain.h>
#include <Security/SecKeychainItem.h>

#include <cstring>

#include "tests/apple/doubles/CoreFoundationDouble.h"
#include "tests/apple/doubles/Ledger.h"

using namespace quillmore::apple;

struct AuthorizationOpaqueRef {};

namespace quillmore::apple {

namespace {

constexpr const char* kReference = "authorization";
constexpr const char* kData = "keychain data";

struct KeychainItem final : Object {
    explicit KeychainItem(std::pair<std::string, std::string> its)
        : Object(Kind::keychainItem), key(std::move(its)) {}
    const std::pair<std::string, std::string> key;
};

std::string textAt(const void* data, UInt32 size) {
    return {static_cast<const char*>(data), size};
}

SecKeychainItemRef newItem(const std::pair<std::string, std::string>& key) {
    return static_cast<SecKeychainItemRef>(const_cast<void*>(adopt(new KeychainItem(key))));
}

const std::pair<std::string, std::string>& keyOf(SecKeychainItemRef item) {
    return dynamic_cast<const KeychainItem&>(*reinterpret_cast<const Object*>(item)).key;
}

std::string nameOf(SecKeychainItemRef item) {
    return keyOf(item).first + "/" + keyOf(item).second;
}

std::map<const void*, std::size_t> handedOutSizes;

std::string orDash(const void* pointer) {
    return pointer == nullptr ? "-" : "given";
}

}  // namespace

SecurityDouble& securityDouble() {
    static SecurityDouble instance;
    return instance;
}

void resetSecurityDouble() {
    securityDouble() = SecurityDouble();
}

}  // namespace quillmore::apple

OSStatus AuthorizationCreate(const AuthorizationRights* rights,
                             const AuthorizationEnvironment* environment, AuthorizationFlags flags,
                             AuthorizationRef* authorization) {
    if (const int status = ledger().enter(
            "AuthorizationCreate", {orDash(rights), orDash(environment), std::to_string(flags)}))
        return status;
    const auto* reference = new AuthorizationOpaqueRef;
    ledger().handOut(reference, kReference);
    *authorization = reference;
    return errAuthorizationSuccess;
}

OSStatus AuthorizationCopyRights(AuthorizationRef authorization, const AuthorizationRights* rights,
                                 const AuthorizationEnvironment* environment,
                                 AuthorizationFlags flags, AuthorizationRights** authorizedRights) {
    std::vector<std::string> arguments;
    for (UInt32 i = 0; i < rights->count; ++i) {
        const AuthorizationItem& item = rights->items[i];
        arguments.insert(arguments.end(), {item.name, std::to_string(item.valueLength),
                                           orDash(item.value), std::to_string(item.flags)});
    }
    arguments.insert(arguments.end(), {orDash(environment), std::to_string(flags)});
    if (!ledger().isAlive(authorization)) ledger().problems.emplace_back("a stale reference");
    securityDouble().gaveAuthorizedRights = authorizedRights != nullptr;
    return ledger().enter("AuthorizationCopyRights", arguments);
}

OSStatus AuthorizationExecuteWithPrivileges(AuthorizationRef authorization, const char* pathToTool,
                                            AuthorizationFlags options, char* const* arguments,
                                            FILE** communicationsPipe) {
    std::vector<std::string> texts = {pathToTool, std::to_string(options)};
    for (char* const* argument = arguments; *argument != nullptr; ++argument)
        texts.emplace_back(*argument);
    if (communicationsPipe != nullptr) texts.emplace_back("|");
    if (!ledger().isAlive(authorization)) ledger().problems.emplace_back("a stale reference");
    const int status = ledger().enter("AuthorizationExecuteWithPrivileges", texts);
    if (status != 0 || !securityDouble().onExecute) return status;
    std::FILE* stream = securityDouble().onExecute();
    if (communicationsPipe != nullptr) *communicationsPipe = stream;
    return status;
}

OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags) {
    ledger().enter("AuthorizationFree", {std::to_string(flags)});
    if (ledger().takeBack(authorization, kReference)) delete authorization;
    return errAuthorizationSuccess;
}

OSStatus SecKeychainFindGenericPassword(CFTypeRef keychainOrArray, UInt32 serviceNameLength,
                                        const char* serviceName, UInt32 accountNameLength,
                                        const char* accountName, UInt32* passwordLength,
                                        void** passwordData, SecKeychainItemRef* itemRef) {
    const std::pair key(textAt(serviceName, serviceNameLength),
                        textAt(accountName, accountNameLength));
    const int status = ledger().enter("SecKeychainFindGenericPassword",
                                      {orDash(keychainOrArray), key.first, key.second,
                                       orDash(passwordLength), orDash(passwordData)});
    if (status != 0 && securityDouble().failedFindGivesItem) *itemRef = newItem(key);
    if (status != 0 || securityDouble().findGivesNothing) return status;
    if (!securityDouble().items.contains(key)) return errSecItemNotFound;
    *itemRef = newItem(key);
    return errSecSuccess;
}

OSStatus SecKeychainAddGenericPassword(struct OpaqueSecKeychainRef* keychain,
                                       UInt32 serviceNameLength, const char* serviceName,
                                       UInt32 accountNameLength, const char* accountName,
                                       UInt32 passwordLength, const void* passwordData,
                                       SecKeychainItemRef* itemRef) {
    const std::pair key(textAt(serviceName, serviceNameLength),
                        textAt(accountName, accountNameLength));
    const std::string data = textAt(passwordData, passwordLength);
    if (const int status =
            ledger().enter("SecKeychainAddGenericPassword",
                           {orDash(keychain), key.first, key.second, data, orDash(itemRef)}))
        return status;
    const bool added = securityDouble().items.emplace(key, data).second;
    return added ? errSecSuccess : errSecDuplicateItem;
}

OSStatus SecKeychainItemModifyContent(SecKeychainItemRef itemRef,
                                      const SecKeychainAttributeList* attrList, UInt32 length,
                                      const void* data) {
    const std::string bytes = textAt(data, length);
    if (const int status = ledger().enter("SecKeychainItemModifyContent",
                                          {nameOf(itemRef), orDash(attrList), bytes}))
        return status;
    securityDouble().items[keyOf(itemRef)] = bytes;
    return errSecSuccess;
}

OSStatus SecKeychainItemCopyAttributesAndData(SecKeychainItemRef itemRef,
                                              SecKeychainAttributeInfo* info,
                                              SecItemClass* itemClass,
                                              SecKeychainAttributeList** attrList, UInt32* length,
                                              void** outData) {
    const int status =
        ledger().enter("SecKeychainItemCopyAttributesAndData",
                       {nameOf(itemRef), orDash(info), orDash(itemClass), orDash(attrList)});
    // Also with a failure: what came back has to be freed then too.
    const std::string& data = securityDouble().items[keyOf(itemRef)];
    char* copy = new char[data.size() + 1];
    std::memcpy(copy, data.c_str(), data.size() + 1);
    ledger().handOut(copy, kData);
    handedOutSizes[copy] = data.size();
    *outData = copy;
    *length = static_cast<UInt32>(data.size());
    return status;
}

OSStatus SecKeychainItemFreeAttributesAndData(SecKeychainAttributeList* attrList, void* data) {
    ledger().enter("SecKeychainItemFreeAttributesAndData", {orDash(attrList)});
    if (!ledger().takeBack(data, kData)) return errSecSuccess;
    const auto* bytes = static_cast<const char*>(data);
    securityDouble().dataWhenFreed.assign(bytes, handedOutSizes.at(data));
    delete[] bytes;
    return errSecSuccess;
}

OSStatus SecKeychainItemDelete(SecKeychainItemRef itemRef) {
    if (const int status = ledger().enter("SecKeychainItemDelete", {nameOf(itemRef)}))
        return status;
    return securityDouble().items.erase(keyOf(itemRef)) == 1 ? errSecSuccess : errSecInvalidItemRef;
}
