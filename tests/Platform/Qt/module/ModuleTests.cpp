// Opening the module: the real one, and what may lie in its place.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <clocale>

#include "Platform/Interface/UserInterfaceModule.h"
#include "Platform/Threads/MainQueue.h"

namespace quillmore::platform {
namespace {

class WindowsModule : public testing::Test {
protected:
    WindowsModule() {
        options.mainQueue = &queue;
        options.applicationName = "Quillmore";
    }
    /// Null on a failure, which `problem` then tells.
    std::unique_ptr<UserInterface> open(const std::string& path) {
        auto made = makeUserInterfaceOfModule(path, options);
        problem = made ? "" : made.error().localizedDescription();
        return made ? std::move(*made) : nullptr;
    }
    static std::string other(const char* folder) {
        return userInterfaceModulePath(std::string(QUILLMORE_TEST_MODULES) + "/" + folder);
    }

    MainQueue queue;
    UserInterfaceModuleOptions options;
    std::string problem;
};

TEST_F(WindowsModule, IsLookedForByTheNameThatTheBuildGaveIt) {
    const std::string built = QUILLMORE_TEST_MODULE;
    EXPECT_EQ(userInterfaceModulePath(built.substr(0, built.rfind('/'))), built);
}

TEST_F(WindowsModule, AMissingModuleIsSaidByItsPath) {
    EXPECT_EQ(open("/nowhere/libquillmore_qt.so"), nullptr);
    EXPECT_NE(problem.find("/nowhere/libquillmore_qt.so"), std::string::npos) << problem;
}

TEST_F(WindowsModule, AFileThatIsNoModuleIsRefused) {
    EXPECT_EQ(open("/etc/passwd"), nullptr);
    EXPECT_NE(problem.find("/etc/passwd"), std::string::npos) << problem;
}

TEST_F(WindowsModule, AnotherVersionIsRefused) {
    EXPECT_EQ(open(other("other_version")), nullptr);
    EXPECT_EQ(problem, other("other_version") + ": is not of this version");
}

TEST_F(WindowsModule, AnotherBuildIsRefused) {
    EXPECT_EQ(open(other("other_build")), nullptr);
    EXPECT_EQ(problem, other("other_build") + ": is not of this version");
}

TEST_F(WindowsModule, ALibraryWithoutTheEntryPointIsRefused) {
    EXPECT_EQ(open(other("no_entry")), nullptr);
    EXPECT_EQ(problem, other("no_entry") + ": is not of this version");
}

// One after the other: the first success starts the toolkit for the life of the process.
TEST_F(WindowsModule, ADisplayThatCannotBeOpenedIsAnAnswerAndTheNextTryCanSucceed) {
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    ::setenv("DISPLAY", ":no-such-display", 1);
    EXPECT_EQ(open(QUILLMORE_TEST_MODULE), nullptr);
    EXPECT_EQ(problem.find("No window can be shown: "), 0U) << problem;
    EXPECT_EQ(problem.find('\n'), std::string::npos) << problem;
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    EXPECT_NE(open(QUILLMORE_TEST_MODULE), nullptr) << problem;
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
}

}  // namespace
}  // namespace quillmore::platform
