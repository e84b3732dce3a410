// Keychain double: items in a map, statuses to give and a record of the calls.
#pragma once

#include <map>
#include <vector>

#include "Platform/Ports/Keychain.h"

namespace quillmore::tests {

class FakeKeychain final : public platform::Keychain {
public:
    /// Data by "SERVICE/ACCOUNT".
    std::map<std::string, std::string> items;
    /// Statuses to give; the calls that get one do nothing.
    platform::OSStatus findStatus = 0;
    platform::OSStatus addStatus = 0;
    platform::OSStatus modifyStatus = 0;
    platform::OSStatus deleteStatus = 0;
    platform::OSStatus copyStatus = 0;
    /// "find SERVICE/ACCOUNT" and the like, in order.
    std::vector<std::string> calls;

    platform::OSStatus findGenericPassword(const std::string& service, const std::string& account,
                                           std::unique_ptr<platform::KeychainItem>& item) override {
        const std::string name = service + "/" + account;
        calls.push_back("find " + name);
        if (findStatus != 0) return findStatus;
        if (!items.contains(name)) return platform::kKeychainItemNotFound;
        item = std::make_unique<Item>(name);
        return platform::kKeychainSuccess;
    }
    platform::OSStatus addGenericPassword(const std::string& service, const std::string& account,
                                          std::string_view data) override {
        const std::string name = service + "/" + account;
        calls.push_back("add " + name);
        if (addStatus != 0) return addStatus;
        const bool added = items.emplace(name, data).second;
        return added ? platform::kKeychainSuccess : platform::kKeychainDuplicateItem;
    }
    platform::OSStatus modifyContent(platform::KeychainItem& item, std::string_view data) override {
        const std::string& name = nameOf("modify ", item);
        if (modifyStatus != 0) return modifyStatus;
        items[name] = data;
        return platform::kKeychainSuccess;
    }
    platform::OSStatus deleteItem(platform::KeychainItem& item) override {
        const std::string& name = nameOf("delete ", item);
        if (deleteStatus != 0) return deleteStatus;
        return items.erase(name) == 1 ? platform::kKeychainSuccess : platform::kKeychainInvalidItem;
    }
    platform::OSStatus copyData(platform::KeychainItem& item, std::string& data) override {
        const std::string& name = nameOf("copy ", item);
        if (copyStatus != 0) return copyStatus;
        data = items.at(name);
        return platform::kKeychainSuccess;
    }

private:
    struct Item final : platform::KeychainItem {
        explicit Item(std::string its) : name(std::move(its)) {}
        std::string name;
    };
    const std::string& nameOf(const char* call, platform::KeychainItem& item) {
        const std::string& name = dynamic_cast<Item&>(item).name;
        calls.push_back(call + name);
        return name;
    }
};

}  // namespace quillmore::tests
