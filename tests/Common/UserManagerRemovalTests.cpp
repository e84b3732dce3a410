// Removing a user on a thread of its own.
#include <condition_variable>
#include <thread>

#include "Common/KeyList.h"
#include "Common/UserManager.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Dictionary;

/// Lets the test wait for work for the main thread, and run it there.
class WaitingApplication final : public platform::Application {
public:
    void performOnMainThread(std::function<void()> work) override {
        const std::lock_guard lock(mutex_);
        work_ = std::move(work);
        posted_.notify_one();
    }
    [[noreturn]] void terminate() override { throw Termination{0, true}; }
    [[noreturn]] void exitProcess(int status) override { throw Termination{status, false}; }
    /// Waits for one piece and runs it.
    void runOne() {
        std::unique_lock lock(mutex_);
        posted_.wait(lock, [&] { return work_ != nullptr; });
        const auto work = std::exchange(work_, nullptr);
        lock.unlock();
        work();
    }

private:
    std::mutex mutex_;
    std::condition_variable posted_;
    std::function<void()> work_;
};

class RecordingSender final : public UserRemovalSender {
public:
    explicit RecordingSender(std::vector<std::thread::id>& told) : told_(told) {}
    void removeUserFinished() override { told_.push_back(std::this_thread::get_id()); }

private:
    std::vector<std::thread::id>& told_;
};

/// Holds up whoever makes a file manager, until it is let go.
class Barrier {
public:
    void open() {
        const std::lock_guard lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }
    void pass() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return open_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = false;
};

class UserRemovalTest : public LogTest {
protected:
    UserRemovalTest() {
        services.set.application = &application;
        services.makeFile("/c/.QM/jo/deep/file", "x");
        services.makeFile("/c/.QM/al/file", "x");
        services.defaults->setObject(kUserList, Array{user("jo"), user("al"), user("jo")});
        manager.setLastUsedUserName("jo");
    }
    static Dictionary user(const std::string& name) {
        return {{kUserUserName, name}, {kUserCacheLocation, "/c"}, {kUserCacheName, name}};
    }
    /// Removes on the other thread and waits for the end.
    void remove(const std::string& name, bool removeCache) {
        manager.removeUser(name, removeCache, std::make_shared<RecordingSender>(told));
        application.runOne();
    }
    WaitingApplication application;
    std::vector<std::thread::id> told;
    UserManager manager;
};

TEST_F(UserRemovalTest, EveryRecordOfTheNameGoesAndTheSenderIsToldOnTheMainThread) {
    remove("jo", false);
    EXPECT_EQ(manager.userList(), Array{user("al")});
    EXPECT_THAT(told, testing::ElementsAre(std::this_thread::get_id()));
    EXPECT_TRUE(services.exists("/c/.QM/jo/deep/file"));
}

TEST_F(UserRemovalTest, CacheFolderIsDeletedWhenAskedFor) {
    remove("jo", true);
    EXPECT_FALSE(services.exists("/c/.QM/jo"));
    EXPECT_TRUE(services.exists("/c/.QM/al/file"));
}

TEST_F(UserRemovalTest, ReturnsBeforeTheUserIsGone) {
    Barrier barrier;
    const auto makeFileManager = services.set.makeFileManager;
    services.set.makeFileManager = [&] {
        barrier.pass();
        return makeFileManager();
    };
    manager.removeUser("jo", true, std::make_shared<RecordingSender>(told));
    EXPECT_TRUE(manager.doesUserKeyExists("jo"));
    EXPECT_THAT(told, testing::IsEmpty());
    barrier.open();
    application.runOne();
    EXPECT_FALSE(manager.doesUserKeyExists("jo"));
    EXPECT_EQ(told.size(), 1u);
}

TEST_F(UserRemovalTest, SelectedUserIsClearedAndAnotherStays) {
    remove("al", false);
    EXPECT_EQ(manager.lastUsedUserName(), "jo");
    remove("jo", false);
    EXPECT_EQ(services.defaults->objectForKey(kLastUsedUserName), std::nullopt);
}

TEST_F(UserRemovalTest, IsOnTheDiskBeforeTheSenderIsTold) {
    remove("jo", false);
    platform::UserDefaults others(services.files, "/Users/jo/Library/Preferences",
                                  "com.quillmore.launcher", {}, *services.set.problems);
    EXPECT_EQ(others.arrayForKey(kUserList), Array{user("al")});
    EXPECT_EQ(others.stringForKey(kLastUsedUserName), std::nullopt);
}

TEST_F(UserRemovalTest, MissingCacheIsNoObstacle) {
    std::filesystem::remove_all(services.host("/c"));
    remove("jo", true);
    EXPECT_FALSE(manager.doesUserKeyExists("jo"));
    remove("unknown", true);
    EXPECT_EQ(told.size(), 2u);
}

TEST_F(UserRemovalTest, WithoutASenderNobodyIsTold) {
    manager.removeUserAsync({"jo", false, nullptr});
    EXPECT_FALSE(manager.doesUserKeyExists("jo"));
    EXPECT_THAT(told, testing::IsEmpty());
}

TEST_F(UserRemovalTest, CacheWhoseNameLeadsElsewhereIsLeftAndLogged) {
    CapturedOutput output;
    for (const char* name : {"", ".", "..", "../..", "al/../../.."}) {
        Dictionary record = user("ev");
        record[kUserCacheName] = name;
        services.defaults->setObject(kUserList, Array{record});
        manager.removeUserAsync({"ev", true, nullptr});
        EXPECT_THAT(output.take().standardError, testing::HasSubstr("is not removed")) << name;
    }
    EXPECT_TRUE(services.exists("/c/.QM/al/file"));
    EXPECT_FALSE(manager.doesUserKeyExists("ev"));
}

TEST_F(UserRemovalTest, LinkInPlaceOfTheCacheIsRemovedAndNotFollowed) {
    services.makeFile("/precious/file", "x");
    std::filesystem::remove_all(services.host("/c/.QM/jo"));
    std::filesystem::create_symlink(services.host("/precious"), services.host("/c/.QM/jo"));
    remove("jo", true);
    EXPECT_FALSE(std::filesystem::is_symlink(services.host("/c/.QM/jo")));
    EXPECT_TRUE(services.exists("/precious/file"));
}

}  // namespace
}  // namespace quillmore::tests
