// The list of users and the values of their records.
#include "Common/UserManager.h"

#include "Common/KeyList.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Data;
using platform::Dictionary;
using platform::Value;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr auto kAbsent = std::nullopt;

class Users : public LogTest {
protected:
    void useUsers(const Array& users) { services.defaults->setObject(kUserList, users); }
    static Dictionary user(const std::string& name, const Value& number = 0) {
        return {{kUserUserName, name}, {"Number", number}};
    }
    /// "UserList" as it is in the file.
    Array saved() const {
        const auto file = platform::readPropertyList(
            services.files, "/Users/jo/Library/Preferences/com.quillmore.launcher.plist");
        const Value* users =
            file && file->dictionary() != nullptr ? find(*file->dictionary(), kUserList) : nullptr;
        return users != nullptr && users->array() != nullptr ? *users->array() : Array();
    }
    std::int32_t number(const Value& value) {
        useUsers({user("jo", value)});
        return manager.objectForKeyAsInt("Number", "jo", 7);
    }
    UserManager manager;
};

TEST_F(Users, NothingIsKeptBetweenCalls) {
    useUsers({user("a")});
    UserManager().saveUser(user("b"), "b");
    EXPECT_TRUE(manager.doesUserKeyExists("b"));
}

TEST_F(Users, ListIsAbsentUntilThereIsOneAndThenAsStored) {
    EXPECT_EQ(manager.userList(), kAbsent);
    useUsers({user("a"), "junk"});
    EXPECT_EQ(manager.userList(), (Array{user("a"), "junk"}));
    services.defaults->setObject(kUserList, "no list");
    EXPECT_EQ(manager.userList(), kAbsent);
}

TEST_F(Users, UserIsTheFirstRecordOfTheName) {
    useUsers({"junk", 7, Dictionary{{"Number", 1}}, user("b", 2), user("a", 3), user("a", 4)});
    EXPECT_EQ(manager.userWithUserName("a"), user("a", 3));
    EXPECT_EQ(manager.userWithUserName("A"), UserManager::setupUserDefaults());
}

TEST_F(Users, UnknownUserIsTheRecordOfTheSixDefaults) {
    const Dictionary defaults = {{"ConnectionSpeedDown", 512}, {"ConnectionSpeedUp", 64},
                                 {"ConnectionCount", 4},       {"DownloadBandwidth", 100},
                                 {"UploadBandwidth", 100},     {"EncryptTransfers", 1}};
    EXPECT_EQ(UserManager::setupUserDefaults(), defaults);
    EXPECT_EQ(manager.userWithUserName("a"), defaults);
    useUsers({Dictionary{{"Number", 1}}});
    EXPECT_EQ(manager.userWithUserName(kAbsent), defaults);
    EXPECT_EQ(manager.userWithUserName(""), defaults);
}

TEST_F(Users, SavedUserMovesToTheEndAndIsThereOnce) {
    useUsers({user("a", 1), user("b", 1), user("a", 2)});
    manager.saveUser(user("a", 3), "a");
    EXPECT_EQ(saved(), (Array{user("b", 1), user("a", 3)}));
    manager.saveUser(user("b", 4), "b", false);
    EXPECT_EQ(saved(), (Array{user("a", 3), user("b", 4)}));
}

TEST_F(Users, EntriesThatAreNoRecordsSurvive) {
    useUsers({"junk", user("a"), 7, Dictionary{{kUserUserName, 5}}});
    manager.saveUser(user("a", 1), "a");
    EXPECT_EQ(saved(), (Array{"junk", 7, Dictionary{{kUserUserName, 5}}, user("a", 1)}));
    manager.load();
    EXPECT_EQ(saved().size(), 4u);
}

TEST_F(Users, LoadRemovesTheRecordsWithoutAName) {
    useUsers({Dictionary{{"Number", 1}}, user("a"), Dictionary(), user("")});
    manager.setLastUsedUserName("");
    manager.load();
    EXPECT_EQ(saved(), (Array{user("a"), user("")}));
}

TEST_F(Users, IncompleteUserOfANameGoesWithTheNamelessOnes) {
    useUsers({user("a", 1), Dictionary(), user("b"), user("a", 2)});
    manager.setLastUsedUserName("b");
    manager.removeIncompleteUser("a");
    EXPECT_EQ(saved(), (Array{user("b")}));
    EXPECT_EQ(manager.lastUsedUserName(), "b");
    manager.removeIncompleteUser("b");
    EXPECT_EQ(services.defaults->objectForKey(kLastUsedUserName), kAbsent);
}

TEST_F(Users, LastUsedNameIsEmptyWithoutOneAndThePreviousAddedOneAbsent) {
    EXPECT_EQ(manager.lastUsedUserName(), "");
    EXPECT_EQ(manager.previousAddUserName(), kAbsent);
    manager.setLastUsedUserName("a");
    manager.setPreviousAddUserName("b");
    EXPECT_EQ(manager.lastUsedUserName(), "a");
    EXPECT_EQ(manager.previousAddUserName(), "b");
    manager.setLastUsedUserName(kAbsent);
    manager.setPreviousAddUserName(kAbsent);
    EXPECT_EQ(services.defaults->objectForKey(kLastUsedUserName), kAbsent);
    EXPECT_EQ(services.defaults->objectForKey(kPreviousAddUserName), kAbsent);
}

TEST_F(Users, SettingAValueSavesItWithItsKind) {
    useUsers({user("a"), user("b")});
    manager.setObject(true, "Flag", "a");
    Dictionary a = user("a");
    a["Flag"] = true;
    EXPECT_EQ(saved(), (Array{user("b"), a}));
}

TEST_F(Users, SettingAValueOfAnUnknownUserMakesACompleteRecord) {
    manager.setObject("v", "Key", "new", false);
    Dictionary expected = UserManager::setupUserDefaults();
    expected["Key"] = "v";
    expected[kUserUserName] = "new";
    EXPECT_EQ(saved(), Array{expected});
}

TEST_F(Users, SettingTheNameItselfIsUndoneByTheGivenName) {
    useUsers({user("a")});
    manager.setObject("b", kUserUserName, "a");
    EXPECT_EQ(saved(), Array{user("a")});
}

TEST_F(Users, SettingNullRemovesTheKey) {
    useUsers({user("a", 1)});
    manager.setObject(Value(), "Number", "a");
    EXPECT_EQ(saved(), (Array{Dictionary{{kUserUserName, "a"}}}));
}

TEST_F(Users, PasswordGoesToTheKeychainAndChangesNoSettings) {
    manager.setObject("pw", kUserPassword, "jo");
    EXPECT_THAT(services.keychain.items,
                ElementsAre(Pair("ProductName/jo", R"({"keepSignedIn":false,"password":"pw"})")));
    EXPECT_EQ(manager.userList(), kAbsent);
    EXPECT_EQ(manager.objectForKey(kUserPassword, "jo"), Value("pw"));
    EXPECT_EQ(manager.objectForKeyAsString(kUserPassword, "jo"), Value("pw"));
    EXPECT_FALSE(services.exists("/Users/jo/Library/Preferences/com.quillmore.launcher.plist"));
}

TEST_F(Users, StateIsTheEncryptionKeyInTheKeychain) {
    manager.setObject("key", kUserState, "jo");
    EXPECT_THAT(services.keychain.items,
                ElementsAre(Pair("ProductName/jo", R"({"encryptionKey":"key"})")));
    EXPECT_EQ(manager.userList(), kAbsent);
    EXPECT_EQ(manager.objectForKey(kUserState, "jo"), Value("key"));
    EXPECT_EQ(manager.objectForKeyAsString(kUserState, "jo"), Value("key"));
}

TEST_F(Users, SecretsThatAreNoStringsChangeNothingOfTheirs) {
    manager.setObject(5, kUserState, "jo");
    EXPECT_THAT(services.keychain.items, IsEmpty());
    manager.setObject("pw", kUserPassword, "jo");
    manager.setObject(5, kUserPassword, "jo");
    EXPECT_EQ(manager.objectForKey(kUserPassword, "jo"), Value("pw"));
}

TEST_F(Users, NumbersAndArraysOfSecretsAreNotLookedForInTheKeychain) {
    manager.setObject("12", kUserPassword, "jo");
    services.keychain.calls.clear();
    EXPECT_EQ(manager.objectForKeyAsInt(kUserPassword, "jo", 7), 7);
    EXPECT_EQ(manager.objectForKeyAsLong(kUserState, "jo", 8), 8);
    EXPECT_EQ(manager.objectForKeyAsArray(kUserPassword, "jo"), kAbsent);
    EXPECT_THAT(services.keychain.calls, IsEmpty());
}

TEST_F(Users, ConnectionCountReadsAsOneWhateverIsStored) {
    useUsers({Dictionary{{kUserUserName, "jo"}, {kUserConnectionCount, 7}}});
    for (const char* name : {"jo", "unknown"}) {
        EXPECT_EQ(manager.objectForKey(kUserConnectionCount, name), Value(1));
        EXPECT_EQ(manager.objectForKeyAsString(kUserConnectionCount, name), Value("1"));
        EXPECT_EQ(manager.objectForKeyAsInt(kUserConnectionCount, name, 9), 1);
        EXPECT_EQ(manager.objectForKeyAsLong(kUserConnectionCount, name, 9), 1);
    }
    EXPECT_EQ(manager.objectForKeyAsArray(kUserConnectionCount, "jo"), Value(7));
}

TEST_F(Users, ValuesAreReadUnconvertedWithTheirKinds) {
    for (const Value& value : {Value(true), Value(1), Value("x"), Value(Array{1}), Value(0.5)}) {
        useUsers({user("jo", value)});
        EXPECT_EQ(manager.objectForKey("Number", "jo"), value);
        EXPECT_EQ(manager.objectForKeyAsString("Number", "jo"), value);
        EXPECT_EQ(manager.objectForKeyAsArray("Number", "jo"), value);
    }
    EXPECT_EQ(manager.objectForKey("Missing", "jo"), kAbsent);
    EXPECT_EQ(manager.objectForKey(kUserConnectionSpeedDown, "unknown"), Value(512));
}

TEST_F(Users, IntegersAreConvertedFromWhatAnswersThat) {
    EXPECT_EQ(number(-3), -3);
    EXPECT_EQ(number(" 12x"), 12);
    EXPECT_EQ(number(true), 1);
    EXPECT_EQ(number(3.9), 3);
    EXPECT_EQ(number("text"), 0);
}

TEST_F(Users, IntegerIsTheDefaultForAMissingValueOrOneThatAnswersNone) {
    EXPECT_EQ(number(Array{1}), 7);
    EXPECT_EQ(number(Data{{1}}), 7);
    EXPECT_EQ(manager.objectForKeyAsInt("Missing", "jo", 7), 7);
    EXPECT_EQ(manager.objectForKeyAsInt("Number", "unknown", 7), 7);
    EXPECT_EQ(manager.objectForKeyAsLong("Number", "jo", 1LL << 40), 1LL << 40);
}

TEST_F(Users, LongIsConvertedAsAnIntegerIsAndKeepsSixtyFourBits) {
    useUsers({user("jo", " 12345678901x")});
    EXPECT_EQ(manager.objectForKeyAsLong("Number", "jo", 7), 12345678901);
    useUsers({user("jo", std::int64_t{1} << 40)});
    EXPECT_EQ(manager.objectForKeyAsLong("Number", "jo", 7), std::int64_t{1} << 40);
}

TEST_F(Users, RemovedKeyLeavesTheSavedRecord) {
    useUsers({user("a", 1), user("b")});
    manager.removeObjectForKey("Number", "a");
    EXPECT_EQ(saved(), (Array{user("b"), Dictionary{{kUserUserName, "a"}}}));
}

TEST_F(Users, RemovingAKeyOfAnUnknownUserAppendsANamelessRecordUntilTheNextLoad) {
    useUsers({user("a")});
    manager.removeObjectForKey(kUserUploadBandwidth, "unknown");
    Dictionary nameless = UserManager::setupUserDefaults();
    nameless.erase(kUserUploadBandwidth);
    EXPECT_EQ(saved(), (Array{user("a"), nameless}));
    manager.load();
    EXPECT_EQ(saved(), Array{user("a")});
}

TEST_F(Users, UserExistsWhenARecordHasTheName) {
    useUsers({Dictionary(), user("a")});
    EXPECT_TRUE(manager.doesUserKeyExists("a"));
    EXPECT_FALSE(manager.doesUserKeyExists("b"));
    EXPECT_FALSE(manager.doesUserKeyExists(""));
}

TEST_F(Users, EveryRecordOfTheAccountIsRenamed) {
    const auto account = [](const std::string& name, const Value& number) {
        return Dictionary{{kUserUserName, name}, {kUserAccountId, number}};
    };
    useUsers({account("a", 5), account("b", 6), account("c", "5"), user("d")});
    EXPECT_FALSE(manager.updateUserWithUsername("new", 5));
    EXPECT_EQ(saved(), (Array{account("b", 6), user("d"), account("new", 5), account("new", "5")}));
    for (const std::int32_t unknown : {99, 0}) {
        EXPECT_FALSE(manager.updateUserWithUsername("x", unknown));
        EXPECT_EQ(saved().size(), 4u);
        EXPECT_FALSE(manager.doesUserKeyExists("x"));
    }
}

TEST_F(Users, AccountNumbersBeyond32BitsCountAsTheLargestOne) {
    const Dictionary above = {{kUserUserName, "a"}, {kUserAccountId, (std::int64_t{1} << 32) + 5}};
    useUsers({above});
    manager.updateUserWithUsername("x", 5);
    EXPECT_EQ(manager.userList(), Array{above});
    manager.updateUserWithUsername("x", 2147483647);
    EXPECT_TRUE(manager.doesUserKeyExists("x"));
}

TEST_F(Users, NamelessRecordOfTheAccountIsSavedUnderTheNameAndStaysUntilTheNextLoad) {
    const Dictionary nameless = {{kUserAccountId, 5}};
    const Dictionary named = {{kUserUserName, "new"}, {kUserAccountId, 5}};
    useUsers({nameless, user("a")});
    manager.updateUserWithUsername("new", 5);
    EXPECT_EQ(saved(), (Array{nameless, user("a"), named}));
    manager.load();
    EXPECT_EQ(saved(), (Array{user("a"), named}));
}

TEST_F(Users, CachePathNeedsLocationAndName) {
    useUsers({Dictionary{{kUserUserName, "a"}, {kUserCacheLocation, "/c/"}, {kUserCacheName, "n"}},
              Dictionary{{kUserUserName, "b"}, {kUserCacheLocation, "/c"}},
              Dictionary{{kUserUserName, "c"}, {kUserCacheName, "n"}}});
    EXPECT_EQ(manager.userCachePath("a"), "/c/.QM/n");
    EXPECT_EQ(manager.userCachePath("b"), kAbsent);
    EXPECT_EQ(manager.userCachePath("c"), kAbsent);
    EXPECT_EQ(manager.userCachePath("unknown"), kAbsent);
    manager.setLastUsedUserName("a");
    EXPECT_EQ(manager.selectedUserCachePath(), "/c/.QM/n");
}

TEST_F(Users, WithoutServicesEverythingIsEmpty) {
    services.set.standardUserDefaults = nullptr;
    manager.load();
    manager.setObject(1, "Key", "a");
    manager.setLastUsedUserName("a");
    EXPECT_EQ(manager.userList(), kAbsent);
    EXPECT_EQ(manager.lastUsedUserName(), "");
    EXPECT_EQ(manager.objectForKeyAsInt("Number", "a", 7), 7);
    platform::setServices(nullptr);
    EXPECT_EQ(manager.previousAddUserName(), kAbsent);
    EXPECT_EQ(manager.objectForKeyAsInt("Number", "a", 7), 7);
}

}  // namespace
}  // namespace quillmore::tests
