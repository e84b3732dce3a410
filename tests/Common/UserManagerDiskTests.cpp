// Users on disk: several processes, a kill in the middle, and files that are not as they should be.
#include "Common/KeyList.h"
#include "Common/UserManager.h"
#include "tests/Common/LogTest.h"
#include "tests/Platform/Processes/ForkedProcess.h"

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Data;
using platform::Date;
using platform::Dictionary;
using platform::Value;

constexpr const char* kFile = "/Users/jo/Library/Preferences/com.quillmore.launcher.plist";

class UsersOnDisk : public LogTest {
protected:
    /// The settings as another process that starts now would read them.
    void readAnew() {
        services.defaults = std::make_unique<platform::UserDefaults>(
            services.files, "/Users/jo/Library/Preferences", "com.quillmore.launcher",
            std::span<const std::string>(), problemLog);
        services.set.standardUserDefaults = services.defaults.get();
    }
    UserManager manager;
};

TEST_F(UsersOnDisk, TwoProcessesThatSaveDifferentKeysBothKeepTheirs) {
    ForkedProcess users([&] {
        for (int i = 0; i < 40; ++i) manager.setObject(i, "Number", "user" + std::to_string(i));
        return 0;
    });
    ForkedProcess names([&] {
        for (int i = 0; i < 40; ++i) {
            manager.setLastUsedUserName("last" + std::to_string(i));
            manager.setPreviousAddUserName("previous" + std::to_string(i));
            manager.save();
        }
        return 0;
    });
    EXPECT_EQ(users.exitStatus(), 0);
    EXPECT_EQ(names.exitStatus(), 0);
    readAnew();
    EXPECT_EQ(manager.userList().value_or(Array()).size(), 40u);
    EXPECT_EQ(manager.lastUsedUserName(), "last39");
    EXPECT_EQ(manager.previousAddUserName(), "previous39");
}

TEST_F(UsersOnDisk, LaterOfTwoWritersOfTheListWins) {
    manager.setObject(1, "Number", "a");
    ForkedProcess other([&] {
        readAnew();
        manager.setObject(2, "Number", "b");
        return 0;
    });
    EXPECT_EQ(other.exitStatus(), 0);
    manager.setObject(3, "Number", "c");
    readAnew();
    EXPECT_FALSE(manager.doesUserKeyExists("b"));
    EXPECT_TRUE(manager.doesUserKeyExists("c"));
}

TEST_F(UsersOnDisk, KillDuringASaveLeavesTheOldRecordOrTheNewOne) {
    for (int round = 0; round < 20; ++round) {
        Gate saved;
        ForkedProcess writer([&] {
            readAnew();
            const std::string padding(20'000, 'x');
            for (int i = 0;; ++i) {
                manager.saveUser({{kUserUserName, "jo"}, {"A", i}, {"P", padding}, {"B", i}}, "jo");
                saved.open();
            }
            return 0;
        });
        for (int i = 0; i <= round % 3; ++i) saved.pass();
        writer.kill(SIGKILL);
        EXPECT_TRUE(writer.end().signalled);
        readAnew();
        const Dictionary record = manager.userWithUserName("jo");
        ASSERT_TRUE(record.contains("A")) << "round " << round;
        EXPECT_EQ(record.at("A"), record.at("B"));
        EXPECT_EQ(manager.userList()->size(), 1u);
    }
}

TEST_F(UsersOnDisk, ForeignKeysAndKindsSurvive) {
    const Dictionary record = {{kUserUserName, "jo"},
                               {"Flag", true},
                               {"One", 1},
                               {"Real", 1.0},
                               {"Date", Date{100}},
                               {"Data", Data{{0, 255}}},
                               {"List", Array{false, Dictionary{{"x", 0}}}}};
    services.makePropertyList(
        kFile, Dictionary{{kUserList, Array{record, "junk"}}, {"Foreign", Array{true, 1}}});
    manager.setObject("v", "New", "jo");
    const auto file = platform::readPropertyList(services.files, kFile);
    Dictionary expected = record;
    expected["New"] = "v";
    EXPECT_EQ(*file,
              Value(Dictionary{{kUserList, Array{"junk", expected}}, {"Foreign", Array{true, 1}}}));
}

TEST_F(UsersOnDisk, DamagedFileReadsAsNoUsersIsLoggedAndKeptAside) {
    CapturedOutput output;
    services.makeFile(kFile, "<plist><dict><key>half");
    EXPECT_EQ(manager.userList(), std::nullopt);
    manager.setObject(1, "Number", "jo");
    EXPECT_TRUE(manager.doesUserKeyExists("jo"));
    EXPECT_EQ(services.read(std::string(kFile) + ".damaged"), "<plist><dict><key>half");
    EXPECT_THAT(output.take().standardError, testing::HasSubstr("com.quillmore.launcher.plist"));
}

TEST_F(UsersOnDisk, ListsOfOtherKindsReadAsNoUsers) {
    for (const Value& list : {Value("x"), Value(1), Value(Dictionary{{kUserUserName, "jo"}}),
                              Value(Array{Array{kUserUserName}, "jo", 5})}) {
        services.makePropertyList(kFile, Dictionary{{kUserList, list}});
        readAnew();
        EXPECT_FALSE(manager.doesUserKeyExists("jo"));
        EXPECT_EQ(manager.userWithUserName("jo"), UserManager::setupUserDefaults());
    }
}

TEST_F(UsersOnDisk, FailedSaveIsLoggedAndMadeUpForByTheNext) {
    CapturedOutput output;
    std::filesystem::remove_all(services.host("/Users/jo/Library/Preferences"));
    services.makeFile("/Users/jo/Library/Preferences", "a file in the way");
    manager.setObject(1, "Number", "jo");
    EXPECT_THAT(output.take().standardError,
                testing::HasSubstr("Failed to save the user settings"));
    EXPECT_TRUE(manager.doesUserKeyExists("jo"));
    std::filesystem::remove(services.host("/Users/jo/Library/Preferences"));
    manager.save();
    readAnew();
    EXPECT_TRUE(manager.doesUserKeyExists("jo"));
}

}  // namespace
}  // namespace quillmore::tests
