// Double of Authorization Services and Keychain Services. In the ledger: "authorization" and
// "keychain data"; keychain items are counted objects.
#pragma once

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <utility>

namespace quillmore::apple {

struct SecurityDouble {
    /// What a privileged start does; the communications stream, when one is asked for.
    std::function<std::FILE*()> onExecute;
    bool gaveAuthorizedRights = false;

    /// Data by service and account.
    std::map<std::pair<std::string, std::string>, std::string> items;
    /// The search answers success, or its failure, and yet hands out this.
    bool findGivesNothing = false;
    bool failedFindGivesItem = false;
    /// What the data held when it was given back.
    std::string dataWhenFreed;
};

SecurityDouble& securityDouble();
void resetSecurityDouble();

}  // namespace quillmore::apple
