#include "UpdateTool/Disk/LockHolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/TimedLock.h"
#include "tests/fakes/TemporaryRoot.h"

namespace quillmore::tests {
namespace {

using updatetool::LockHolder;

class UpdateToolLockHolder : public testing::Test {
protected:
    UpdateToolLockHolder() : file(open()) {}
    platform::FileDescriptor open() const {
        const std::string path = folder.path() + "/lock";
        return platform::FileDescriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    }
    TemporaryFolder folder;
    platform::FileDescriptor file;
};

/// A process that does nothing until it is ended.
class Sleeper {
public:
    Sleeper() : process_(::fork()) {
        while (process_ == 0) ::pause();
    }
    ~Sleeper() {
        ::kill(process_, SIGKILL);
        if (!ended_) ::waitpid(process_, nullptr, 0);
    }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;

    LockHolder holder() const { return {process_, updatetool::startOfProcess(process_), {}}; }
    bool isThere() const { return ::waitpid(process_, nullptr, WNOHANG) == 0; }
    int waitForSignal() {
        int status = 0;
        ::waitpid(process_, &status, 0);
        ended_ = true;
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

private:
    pid_t process_;
    bool ended_ = false;
};

TEST_F(UpdateToolLockHolder, RecordNamesThisProcessUntilItIsTakenAway) {
    EXPECT_FALSE(updatetool::readHolder(file.get()).has_value());
    const auto before = updatetool::clockNow();
    updatetool::writeHolder(file.get());
    const auto holder = updatetool::readHolder(file.get());
    ASSERT_TRUE(holder.has_value());
    EXPECT_EQ(holder->process, ::getpid());
    EXPECT_EQ(holder->started, updatetool::startOfProcess(::getpid()));
    EXPECT_GE(holder->since, before);
    EXPECT_LE(holder->since, updatetool::clockNow());
    updatetool::removeHolder(file.get());
    EXPECT_FALSE(updatetool::readHolder(file.get()).has_value());
}
TEST_F(UpdateToolLockHolder, SenselessRecordIsNone) {
    for (const std::string text : {"", "1 5 7", "0 5 7", "-3 5 7", "x 5 7", "12 5", "12 5 x"}) {
        std::string record = text;
        record.resize(96, ' ');
        ASSERT_EQ(::pwrite(file.get(), record.data(), record.size(), 0), 96);
        EXPECT_FALSE(updatetool::readHolder(file.get()).has_value()) << text;
    }
}
TEST_F(UpdateToolLockHolder, VeryProcessIsEnded) {
    Sleeper sleeper;
    updatetool::endHolder(sleeper.holder());
    EXPECT_EQ(sleeper.waitForSignal(), SIGKILL);
}
TEST_F(UpdateToolLockHolder, LaterProcessOfTheSameNumberIsLeftAlone) {
    const Sleeper sleeper;
    LockHolder holder = sleeper.holder();
    holder.started += "1";
    updatetool::endHolder(holder);
    holder.started = "";
    updatetool::endHolder(holder);
    EXPECT_TRUE(sleeper.isThere());
}
TEST_F(UpdateToolLockHolder, WaitEndsWhenItIsToldTo) {
    const platform::FileDescriptor other = open();
    ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
    int asked = 0;
    EXPECT_FALSE(updatetool::lockWhile(file.get(), [&] { return ++asked < 2; }));
    EXPECT_EQ(errno, EWOULDBLOCK);
    EXPECT_EQ(asked, 2);
    EXPECT_FALSE(updatetool::lockWhile(file.get(), [&] {
        ::flock(other.get(), LOCK_UN);
        return ++asked < 2;
    }));
    EXPECT_TRUE(updatetool::lockWhile(file.get(), [] { return false; }));
}

}  // namespace
}  // namespace quillmore::tests
