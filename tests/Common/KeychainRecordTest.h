// A test of the records that the keychain manager keeps in the keychain double.
#pragma once

#include "Common/KeychainManager.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {

inline constexpr auto kAbsent = std::nullopt;
inline constexpr const char* kItem = "ProductName/jo";
inline constexpr const char* kLegacyItem = "Quillmore/jo";

class KeychainRecord : public LogTest {
protected:
    std::string& record() { return services.keychain.items[kItem]; }
    std::map<std::string, std::string>& items = services.keychain.items;
    KeychainManager manager;
};

}  // namespace quillmore::tests
