#include "Platform/Linux/LinuxKeychain.h"

#include <array>

#include "Platform/Files/Paths.h"
#include "Platform/Linux/Secret/SecretModule.h"
#include "Platform/Processes/Headroom.h"
#include "Platform/Values/SecretMemory.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore::platform {

/// What a call is about.
struct LinuxKeychain::Subject {
    std::string service;
    std::string account;
    std::string item;
};

namespace {

/// Longer than from one call to the next of an operation, shorter than until a user tries again.
constexpr std::chrono::seconds kOutOfReachStands(2);

class Item final : public KeychainItem {
public:
    Item(std::string itsService, std::string itsAccount, std::string itsName)
        : service(std::move(itsService)),
          account(std::move(itsAccount)),
          name(std::move(itsName)) {}
    const std::string service;
    const std::string account;
    const std::string name;
};

/// What can be an attribute, and stays whole as a C string.
bool isAttribute(const std::string& text) {
    return text.find('\0') == std::string::npos && isUtf8(text);
}

OSStatus statusOf(std::int32_t answer) {
    switch (answer) {
        case kQuillmoreSecretDone:
            return kKeychainSuccess;
        case kQuillmoreSecretNotFound:
            return kKeychainItemNotFound;
        case kQuillmoreSecretDuplicate:
            return kKeychainDuplicateItem;
        case kQuillmoreSecretLocked:
            return kKeychainInteractionNotAllowed;
        case kQuillmoreSecretGone:
            return kKeychainInvalidItem;
        default:
            return kKeychainNotAvailable;
    }
}

/// Sink into a std::string, as a whole at once: a text that grew would leave copies behind.
void assign(void* context, const char* bytes, std::size_t length) noexcept {
    *static_cast<std::string*>(context) = makeSecret(std::string_view(bytes, length));
}

}  // namespace

LinuxKeychain::LinuxKeychain(LinuxKeychainOptions options)
    : options_(std::move(options)),
      module_(pathByAppending(options_.moduleFolder, kQuillmoreSecretFileName),
              kQuillmoreSecretEntryPointName, kQuillmoreSecretVersion) {}

OSStatus LinuxKeychain::findGenericPassword(const std::string& service, const std::string& account,
                                            std::unique_ptr<KeychainItem>& item) {
    std::string name;
    const OSStatus status =
        perform({service, account, ""}, [&](const auto& secrets, const auto& request) {
            return secrets.find(&request, assign, &name);
        });
    if (status == kKeychainSuccess)
        item = std::make_unique<Item>(service, account, std::move(name));
    return status;
}

OSStatus LinuxKeychain::addGenericPassword(const std::string& service, const std::string& account,
                                           std::string_view data) {
    return perform({service, account, ""}, [&](const auto& secrets, const auto& request) {
        return secrets.add(&request, data.data(), data.size());
    });
}

OSStatus LinuxKeychain::modifyContent(KeychainItem& item, std::string_view data) {
    return performOn(item, [&](const auto& secrets, const auto& request) {
        return secrets.modify(&request, data.data(), data.size());
    });
}

OSStatus LinuxKeychain::deleteItem(KeychainItem& item) {
    return performOn(
        item, [&](const auto& secrets, const auto& request) { return secrets.remove(&request); });
}

OSStatus LinuxKeychain::copyData(KeychainItem& item, std::string& data) {
    Wiped<std::string> copy;
    const OSStatus status = performOn(item, [&](const auto& secrets, const auto& request) {
        return secrets.copy(&request, assign, &*copy);
    });
    if (status != kKeychainSuccess) return status;
    wipe(data);
    data = std::move(*copy);
    return status;
}

OSStatus LinuxKeychain::performOn(KeychainItem& item, const Call& call) {
    const auto* own = dynamic_cast<const Item*>(&item);
    if (own == nullptr) return kKeychainInvalidItem;
    return perform({own->service, own->account, own->name}, call);
}

OSStatus LinuxKeychain::perform(const Subject& subject, const Call& call) {
    if (!isAttribute(subject.service) || !isAttribute(subject.account))
        return kKeychainBadParameter;
    OSStatus status = standing();
    if (status != kKeychainSuccess) return status;
    status = ask(subject, call);
    remember(status);
    return status;
}

/// What an earlier call ended with, as long as that stands; else success.
OSStatus LinuxKeychain::standing() {
    const std::lock_guard lock(mutex_);
    return options_.now() < outOfReachUntil_ ? outOfReach_ : kKeychainSuccess;
}

void LinuxKeychain::remember(OSStatus status) {
    if (status != kKeychainInteractionNotAllowed && status != kKeychainNotAvailable) return;
    const std::lock_guard lock(mutex_);
    outOfReach_ = status;
    outOfReachUntil_ = options_.now() + kOutOfReachStands;
}

OSStatus LinuxKeychain::ask(const Subject& subject, const Call& call) {
    if (const auto lack = lackOf(kHeadroomOfGLib)) {
        options_.problems->report("Secret Service: " + lack->localizedDescription());
        return kKeychainNotAvailable;
    }
    const auto secrets = module_.open();
    if (!secrets) {
        options_.problems->report(secrets.error().localizedDescription());
        return kKeychainNotAvailable;
    }
    std::array<char, 512> problem{};
    const std::int32_t answer =
        call(**secrets, {subject.service.c_str(), subject.account.c_str(), subject.item.c_str(),
                         problem.data(), problem.size()});
    if (problem[0] != '\0')
        options_.problems->report("Secret Service: " + std::string(problem.data()));
    return statusOf(answer);
}

}  // namespace quillmore::platform
