// Several processes that save at the same time, and processes that are killed while they do.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>

#include "Platform/Formats/PropertyList.h"
#include "Platform/Settings/UserDefaults.h"
#include "Platform/Values/Problems.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using platform::UserDefaults;
using platform::Value;

class UserDefaultsProcesses : public testing::Test {
protected:
    UserDefaults makeDefaults() const {
        return UserDefaults(disk.files, "/Preferences", "com.test", {},
                            platform::ignoredProblems());
    }
    /// The file as it is now; null when it cannot be read.
    Value file() const {
        const auto list = platform::readPropertyList(disk.files, "/Preferences/com.test.plist");
        return list ? *list : Value();
    }
    /// A child process that runs the body and ends.
    static pid_t startProcess(const std::function<void()>& body) {
        const pid_t child = ::fork();
        if (child != 0) return child;
        body();
        ::_exit(0);
    }
    static int waitFor(pid_t child) {
        int status = -1;
        ::waitpid(child, &status, 0);
        return status;
    }
    TemporaryFiles disk;
};

TEST_F(UserDefaultsProcesses, TwoProcessesThatSaveDifferentKeysBothKeepTheirs) {
    const auto saveFifty = [&](const std::string& prefix) {
        UserDefaults defaults = makeDefaults();
        for (int i = 0; i < 50; ++i) {
            defaults.setObject(prefix + std::to_string(i), i);
            if (defaults.synchronize()) ::_exit(1);
        }
    };
    const pid_t first = startProcess([&] { saveFifty("first"); });
    const pid_t second = startProcess([&] { saveFifty("second"); });
    EXPECT_EQ(waitFor(first), 0);
    EXPECT_EQ(waitFor(second), 0);
    ASSERT_NE(file().dictionary(), nullptr);
    EXPECT_EQ(file().dictionary()->size(), 100u);
    EXPECT_EQ(makeDefaults().objectForKey("first49"), Value(49));
    EXPECT_EQ(makeDefaults().objectForKey("second49"), Value(49));
}

TEST_F(UserDefaultsProcesses, KilledWriterLeavesTheOldFileOrTheNewOne) {
    for (int round = 0; round < 20; ++round) {
        int pipe[2] = {-1, -1};
        ASSERT_EQ(::pipe2(pipe, O_CLOEXEC), 0);
        const pid_t writer = startProcess([&] {
            UserDefaults defaults = makeDefaults();
            for (int i = 0;; ++i) {
                defaults.setObject("first", i);
                defaults.setObject("text", std::string(20'000, 'x'));
                defaults.setObject("second", i);
                if (defaults.synchronize() || ::write(pipe[1], "x", 1) != 1) ::_exit(1);
            }
        });
        ::close(pipe[1]);
        char saved[8];
        for (int i = 0; i <= round % 4; ++i) ASSERT_GT(::read(pipe[0], saved, 1 + round % 3), 0);
        ::kill(writer, SIGKILL);
        EXPECT_TRUE(WIFSIGNALED(waitFor(writer)));
        ::close(pipe[0]);
        const Value now = file();
        ASSERT_NE(now.dictionary(), nullptr) << "round " << round;
        EXPECT_EQ(now.dictionary()->at("first"), now.dictionary()->at("second"));
    }
    UserDefaults defaults = makeDefaults();
    defaults.setObject("after", 1);
    EXPECT_EQ(defaults.synchronize(), std::nullopt) << "the dead writer's lock is gone";
}

}  // namespace
}  // namespace quillmore::tests
