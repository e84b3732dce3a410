#include "Platform/Mac/MacKeychain.h"

#include <Security/SecKeychain.h>
#include <Security/SecKeychainItem.h>

#include <limits>

#include "Platform/Mac/CoreFoundationObject.h"
#include "Platform/Values/SecretMemory.h"

namespace quillmore::platform {

static_assert(kKeychainSuccess == errSecSuccess);
static_assert(kKeychainBadParameter == errSecParam);
static_assert(kKeychainNotAvailable == errSecNotAvailable);
static_assert(kKeychainDuplicateItem == errSecDuplicateItem);
static_assert(kKeychainItemNotFound == errSecItemNotFound);
static_assert(kKeychainInvalidItem == errSecInvalidItemRef);
static_assert(kKeychainInteractionNotAllowed == errSecInteractionNotAllowed);

namespace {

class Item final : public KeychainItem {
public:
    explicit Item(SecKeychainItemRef item) : item_(item) {}
    SecKeychainItemRef get() const { return item_.get(); }

private:
    CoreFoundationObject<SecKeychainItemRef> item_;
};

SecKeychainItemRef referenceOf(KeychainItem& item) {
    const auto* own = dynamic_cast<const Item*>(&item);
    return own == nullptr ? nullptr : own->get();
}

bool fits(std::string_view bytes) {
    return bytes.size() <= std::numeric_limits<UInt32>::max();
}

UInt32 lengthOf(std::string_view bytes) {
    return static_cast<UInt32>(bytes.size());
}

}  // namespace

OSStatus MacKeychain::findGenericPassword(const std::string& service, const std::string& account,
                                          std::unique_ptr<KeychainItem>& item) {
    if (!fits(service) || !fits(account)) return kKeychainBadParameter;
    SecKeychainItemRef found = nullptr;
    const OSStatus status = ::SecKeychainFindGenericPassword(
        nullptr, lengthOf(service), service.data(), lengthOf(account), account.data(), nullptr,
        nullptr, &found);
    if (found != nullptr) item = std::make_unique<Item>(found);
    // Callers trust that a success brings an item.
    return status == kKeychainSuccess && found == nullptr ? kKeychainInvalidItem : status;
}

OSStatus MacKeychain::addGenericPassword(const std::string& service, const std::string& account,
                                         std::string_view data) {
    if (!fits(service) || !fits(account) || !fits(data)) return kKeychainBadParameter;
    return ::SecKeychainAddGenericPassword(nullptr, lengthOf(service), service.data(),
                                           lengthOf(account), account.data(), lengthOf(data),
                                           data.data(), nullptr);
}

OSStatus MacKeychain::modifyContent(KeychainItem& item, std::string_view data) {
    const SecKeychainItemRef reference = referenceOf(item);
    if (reference == nullptr) return kKeychainInvalidItem;
    if (!fits(data)) return kKeychainBadParameter;
    return ::SecKeychainItemModifyContent(reference, nullptr, lengthOf(data), data.data());
}

OSStatus MacKeychain::deleteItem(KeychainItem& item) {
    const SecKeychainItemRef reference = referenceOf(item);
    if (reference == nullptr) return kKeychainInvalidItem;
    return ::SecKeychainItemDelete(reference);
}

OSStatus MacKeychain::copyData(KeychainItem& item, std::string& data) {
    const SecKeychainItemRef reference = referenceOf(item);
    if (reference == nullptr) return kKeychainInvalidItem;
    UInt32 length = 0;
    void* bytes = nullptr;
    const OSStatus status = ::SecKeychainItemCopyAttributesAndData(reference, nullptr, nullptr,
                                                                   nullptr, &length, &bytes);
    if (status == kKeychainSuccess) {
        wipe(data);
        data = makeSecret(std::string_view(static_cast<const char*>(bytes), length));
    }
    if (bytes != nullptr) {
        wipe(bytes, length);
        ::SecKeychainItemFreeAttributesAndData(nullptr, bytes);
    }
    return status;
}

}  // namespace quillmore::platform
