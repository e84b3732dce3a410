// Users while their file cannot be read: no account is lost, and what was changed is made up for.
#include "Common/KeyList.h"
#include "Common/UserManager.h"
#include "tests/Common/LogTest.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Dictionary;
using platform::Value;

constexpr const char* kFile = "/Users/jo/Library/Preferences/com.quillmore.launcher.plist";

class UsersUnread : public LogTest {
protected:
    UsersUnread() {
        services.makePropertyList(
            kFile, Dictionary{{kUserList, Array{ann, bob}}, {kLastUsedUserName, "ann"}});
    }
    Dictionary file() const {
        const auto list = platform::readPropertyList(services.files, kFile);
        return list && list->dictionary() != nullptr ? *list->dictionary() : Dictionary();
    }
    Array savedUsers() const { return *platform::find(file(), kUserList)->array(); }
    /// Runs the body while the process may open no more files; what the terminal got meanwhile.
    template <class Body>
    static std::string withoutDescriptors(Body body) {
        CapturedOutput output;
        const int next = ::dup(0);
        ::close(next);
        {
            const LoweredLimit descriptors(RLIMIT_NOFILE, static_cast<rlim_t>(next));
            body();
        }
        return output.take().standardError;
    }
    const Dictionary ann{{kUserUserName, "ann"}, {kUserConnectionSpeedUp, 99}, {"Own", "x"}};
    const Dictionary bob{{kUserUserName, "bob"}};
    const Dictionary eve{{kUserUserName, "eve"}};
    UserManager manager;
};

TEST_F(UsersUnread, SavedUserJoinsTheOthersOnceTheyCanBeRead) {
    const std::string said = withoutDescriptors([&] { manager.saveUser(eve, "eve"); });
    EXPECT_THAT(said, testing::HasSubstr("Failed to save the user settings"));
    EXPECT_EQ(savedUsers(), (Array{ann, bob}));
    manager.save();
    EXPECT_EQ(savedUsers(), (Array{ann, bob, eve}));
}

TEST_F(UsersUnread, SettingIsPutIntoTheRecordThatIsThere) {
    withoutDescriptors([&] { manager.setObject(7, kUserBrandID, "ann"); });
    manager.save();
    Dictionary branded = ann;
    branded[kUserBrandID] = 7;
    EXPECT_EQ(savedUsers(), (Array{bob, branded}));
}

TEST_F(UsersUnread, RecordMadeOfTheDefaultsDoesNotReplaceWhatIsStored) {
    withoutDescriptors([&] {
        Dictionary record = manager.userWithUserName("ann");
        record[kUserUserName] = "ann";
        record[kUserBrandID] = 7;
        manager.saveUser(record, "ann");
    });
    manager.save();
    ASSERT_EQ(savedUsers().size(), 2U);
    const Dictionary saved = manager.userWithUserName("ann");
    EXPECT_EQ(saved.at(kUserConnectionSpeedUp), Value(99));
    EXPECT_EQ(saved.at("Own"), Value("x"));
    EXPECT_EQ(saved.at(kUserBrandID), Value(7));
}

TEST_F(UsersUnread, RemovedUserGoesLaterAndIsNoLongerTheSelectedOne) {
    withoutDescriptors([&] { manager.removeIncompleteUser("ann"); });
    manager.save();
    EXPECT_EQ(file(), (Dictionary{{kUserList, Array{bob}}}));
}

}  // namespace
}  // namespace quillmore::tests
