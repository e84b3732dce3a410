#include "Common/KeyList.h"

#include <gtest/gtest.h>

#include <utility>

namespace quillmore::tests {
namespace {

TEST(KeyList, NamesAreThoseInFilesAndKeychains) {
    const std::pair<const char*, const char*> names[] = {
        {kUserList, "UserList"},
        {kLastUsedUserName, "LastUsedUserName"},
        {kPreviousAddUserName, "PreviousAddUserName"},
        {kUserUserName, "UserName"},
        {kUserCacheName, "CacheName"},
        {kUserCacheLocation, "CacheLocation"},
        {kUserClientIdent, "ClientIdent"},
        {kUserAccountId, "AccountId"},
        {kUserBrandID, "BrandID"},
        {kUserPassword, "Password"},
        {kUserState, "State"}};
    for (const auto& [constant, name] : names) EXPECT_STREQ(constant, name);
}

}  // namespace
}  // namespace quillmore::tests
