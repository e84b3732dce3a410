// What is read of the user who signed in last.
#include "Common/KeyList.h"
#include "Common/UserManager.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Dictionary;
using platform::Value;

constexpr auto kAbsent = std::nullopt;

class SelectedUser : public LogTest {
protected:
    SelectedUser() { manager.setLastUsedUserName("jo"); }
    void use(Dictionary record) {
        record[kUserUserName] = "jo";
        services.defaults->setObject(kUserList, Array{Dictionary{{kUserUserName, "al"}}, record});
    }
    UserManager manager;
};

TEST_F(SelectedUser, ThatDoesNotExistHasTheDefaults) {
    EXPECT_TRUE(manager.selectedUserAllowSharing());
    EXPECT_TRUE(manager.selectedUserAllowBackup());
    EXPECT_TRUE(manager.selectedUserAllowQMDisk());
    EXPECT_TRUE(manager.selectedUserEnableBackup());
    EXPECT_TRUE(manager.selectedUserEnableQMDisk());
    EXPECT_FALSE(manager.selectedUserShowTeamFolders());
    EXPECT_FALSE(manager.isShowingTeamFolders());
    EXPECT_FALSE(manager.ignoreServerExclusions());
    EXPECT_TRUE(manager.selectedUserEncryptTransfers()) << "the defaults record holds 1";
    EXPECT_FALSE(manager.selectedUserEncryptNewFiles());
    EXPECT_EQ(manager.selectedUserAccountType(), 10);
    EXPECT_FALSE(manager.isBusinessUser());
    EXPECT_EQ(manager.selectedUserClientIdent(), kAbsent);
    EXPECT_EQ(manager.selectedUserCacheName(), kAbsent);
    EXPECT_EQ(manager.selectedUserCacheLocation(), kAbsent);
    EXPECT_EQ(manager.selectedUserCachePath(), kAbsent);
    EXPECT_FALSE(manager.selectedUserHaveClientIdent());
}

TEST_F(SelectedUser, WithARecordWithoutTheKeyEncryptsNoTransfers) {
    use({});
    EXPECT_FALSE(manager.selectedUserEncryptTransfers());
    EXPECT_TRUE(manager.selectedUserAllowBackup());
}

TEST_F(SelectedUser, ObjectsAreReturnedAsStored) {
    use({{kUserClientIdent, 5}, {kUserCacheName, "n"}, {kUserCacheLocation, "/c"}});
    EXPECT_EQ(manager.selectedUserClientIdent(), Value(5));
    EXPECT_EQ(manager.selectedUserCacheName(), Value("n"));
    EXPECT_EQ(manager.selectedUserCacheLocation(), Value("/c"));
    EXPECT_EQ(manager.selectedUserCachePath(), "/c/.QM/n");
}

struct Accessor {
    const char* key;
    bool (UserManager::*get)() const;
    bool anyNumber;  ///< Any number but 0 is true, not 1 alone.
};
class SelectedUserNumber : public SelectedUser, public testing::WithParamInterface<Accessor> {};

TEST_P(SelectedUserNumber, HasItsMeaning) {
    const auto [key, get, anyNumber] = GetParam();
    for (const Value& value : {Value(0), Value(1), Value(2), Value(-1), Value(true), Value("1")}) {
        use({{key, value}});
        const bool isOne = value.intValue() == 1;
        EXPECT_EQ((manager.*get)(), anyNumber ? value.intValue() != 0 : isOne)
            << key << " " << value.description();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Accessors, SelectedUserNumber,
    testing::Values(Accessor{"AllowSharing", &UserManager::selectedUserAllowSharing, false},
                    Accessor{"AllowBackup", &UserManager::selectedUserAllowBackup, false},
                    Accessor{"AllowQMDisk", &UserManager::selectedUserAllowQMDisk, false},
                    Accessor{"EnableBackup", &UserManager::selectedUserEnableBackup, false},
                    Accessor{"EnableQMDisk", &UserManager::selectedUserEnableQMDisk, false},
                    Accessor{"ShowTeamFolders", &UserManager::selectedUserShowTeamFolders, false},
                    Accessor{"ShowTeamFolders", &UserManager::isShowingTeamFolders, true},
                    Accessor{"IgnoreServerExclusions", &UserManager::ignoreServerExclusions, true},
                    Accessor{"EncryptTransfers", &UserManager::selectedUserEncryptTransfers, false},
                    Accessor{"Encrypt", &UserManager::selectedUserEncryptNewFiles, false}));

TEST_F(SelectedUser, WhatIsNotAllowedIsNotEnabled) {
    use({{"AllowBackup", 0}, {"EnableBackup", 1}, {"AllowQMDisk", 2}, {"EnableQMDisk", 1}});
    EXPECT_FALSE(manager.selectedUserEnableBackup());
    EXPECT_FALSE(manager.selectedUserEnableQMDisk());
}

TEST_F(SelectedUser, HasADiskWhenItIsEnabledOrTeamFoldersAreShown) {
    use({{"EnableQMDisk", 0}});
    EXPECT_FALSE(manager.selectedUserHasQMDisk());
    use({{"EnableQMDisk", 0}, {"ShowTeamFolders", 1}});
    EXPECT_TRUE(manager.selectedUserHasQMDisk());
    use({{"EnableQMDisk", 0}, {"ShowTeamFolders", 2}});
    EXPECT_FALSE(manager.selectedUserHasQMDisk());
    use({{"EnableQMDisk", 1}});
    EXPECT_TRUE(manager.selectedUserHasQMDisk());
}

TEST_F(SelectedUser, NineIsABusinessAccount) {
    use({{"AccountType", 9}});
    EXPECT_EQ(manager.selectedUserAccountType(), 9);
    EXPECT_TRUE(manager.isBusinessUser());
    EXPECT_TRUE(manager.isSimplifiedWelcome());
    use({{"AccountType", 8}});
    EXPECT_FALSE(manager.isBusinessUser());
    EXPECT_FALSE(manager.isSimplifiedWelcome());
}

TEST_F(SelectedUser, AnyTeamFolderSettingButZeroIsBusinessSharing) {
    use({{"ShowTeamFolders", 2}});
    EXPECT_TRUE(manager.isSimplifiedWelcome());
    EXPECT_FALSE(manager.isConsumerSharing());
    EXPECT_TRUE(manager.isBusinessSharing());
    use({{"ShowTeamFolders", 0}});
    EXPECT_TRUE(manager.isConsumerSharing());
    EXPECT_FALSE(manager.isBusinessSharing());
}

TEST_F(SelectedUser, HasAClientIdentWhenItIsTextWithSomethingInIt) {
    for (const Value& value : {Value(""), Value(5), Value(Array{"x"})}) {
        use({{"ClientIdent", value}});
        EXPECT_FALSE(manager.selectedUserHaveClientIdent());
    }
    use({{"ClientIdent", "x"}});
    EXPECT_TRUE(manager.selectedUserHaveClientIdent());
}

TEST_F(SelectedUser, IsTheOneOfTheMoment) {
    use({{"AccountType", 9}});
    EXPECT_TRUE(manager.isBusinessUser());
    manager.setLastUsedUserName("al");
    EXPECT_FALSE(manager.isBusinessUser());
}

}  // namespace
}  // namespace quillmore::tests
