#include "Platform/Linux/Administrator/Actor.h"

#include <grp.h>
#include <pwd.h>
#include <sysexits.h>
#include <unistd.h>

#include <map>
#include <vector>

namespace quillmore::platform::administrator {

namespace {

/// Of a number without an account.
constexpr gid_t kNobodysGroup = 65534;

struct Account {
    gid_t group = kNobodysGroup;
    std::vector<gid_t> groups;
};

Account readAccount(uid_t user) {
    const passwd* entry = ::getpwuid(user);
    if (entry == nullptr) return {};
    Account account{entry->pw_gid, {}};
    int count = 16;
    do {
        account.groups.resize(static_cast<std::size_t>(count));
    } while (::getgrouplist(entry->pw_name, entry->pw_gid, account.groups.data(), &count) < 0);
    account.groups.resize(static_cast<std::size_t>(count));
    return account;
}

const Account& accountOf(uid_t user) {
    static std::map<uid_t, Account> known;
    const auto found = known.find(user);
    return found != known.end() ? found->second
                                : known.emplace(user, readAccount(user)).first->second;
}

void require(bool succeeded) {
    if (!succeeded) ::_exit(EX_OSERR);
}

}  // namespace

ActingAs::ActingAs(uid_t user) : changed_(user != 0 && ::geteuid() == 0) {
    if (!changed_) return;
    const Account& account = accountOf(user);
    require(::setgroups(account.groups.size(), account.groups.data()) == 0);
    require(::setegid(account.group) == 0 && ::seteuid(user) == 0 && ::geteuid() == user);
}

ActingAs::~ActingAs() {
    if (!changed_) return;
    require(::seteuid(0) == 0 && ::setegid(0) == 0 && ::setgroups(0, nullptr) == 0);
}

uid_t ownActor() {
    return ::geteuid();
}

}  // namespace quillmore::platform::administrator
