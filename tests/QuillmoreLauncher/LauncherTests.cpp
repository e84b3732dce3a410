#include "QuillmoreLauncher/Launcher.h"

#include <gmock/gmock.h>

#include "tests/fakes/TestServices.h"

namespace quillmore::tests {
namespace {

struct ScriptedDelegate final : platform::ApplicationDelegate {
    std::function<void()> body;
    void applicationDidFinishLaunching() override { body(); }
};

class LauncherTest : public testing::Test {
protected:
    TestServices services;
    CapturedOutput output;
    ScriptedDelegate delegate;
};

TEST_F(LauncherTest, StartsUpAndThenRunsTheMainLoop) {
    delegate.body = [&] { EXPECT_EQ(services.application.delegate(), &delegate); };
    EXPECT_EQ(runLauncher(delegate), 0);
    EXPECT_EQ(services.userInterface.runs, 1);
    EXPECT_TRUE(services.userInterface.alerts.empty());
}

TEST_F(LauncherTest, ExceptionAtStartUpIsLoggedShownAndGivesAFailureStatus) {
    delegate.body = [] {
        throw platform::Exception("Configuration Fault", "Invalid logging level 9");
    };
    EXPECT_EQ(runLauncher(delegate), 1);
    EXPECT_NE(output.take().standardError.find("Configuration Fault (Invalid logging level 9)\n"),
              std::string::npos);
    ASSERT_EQ(services.userInterface.alerts.size(), 1U);
    EXPECT_EQ(services.userInterface.alerts[0].messageText, "QuillmoreLauncher_StartFailed");
    EXPECT_EQ(services.userInterface.alerts[0].informativeText,
              "Configuration Fault (Invalid logging level 9)");
    EXPECT_EQ(services.userInterface.alerts[0].buttons[0].title, "Quit");
    EXPECT_EQ(services.userInterface.runs, 0);
}

TEST_F(LauncherTest, ResourcesThatCannotBeListedEndTheStart) {
    delegate.body = [] { ADD_FAILURE() << "nothing is shown in keys"; };
    const std::string resources = services.bundle->resourcePath();
    std::filesystem::remove(services.host(resources));
    std::filesystem::create_symlink("Resources", services.host(resources));  // leads to itself
    EXPECT_EQ(runLauncher(delegate), 1);
    EXPECT_THAT(services.problems.take(),
                testing::ElementsAre("\"" + resources + "\": Too many levels of symbolic links"));
    ASSERT_EQ(services.userInterface.alerts.size(), 1U);
    EXPECT_EQ(services.userInterface.alerts[0].informativeText,
              "NSGenericException (Failed to list \"" + resources +
                  "\" (Too many levels of symbolic links))");
}

TEST_F(LauncherTest, ExceptionInAMainLoopCallbackIsLoggedAndTheLoopGoesOn) {
    delegate.body = [] {};
    services.userInterface.onRun = [&] {
        if (services.userInterface.runs == 1)
            throw platform::Exception("NSGenericException", "callback failed");
    };
    EXPECT_EQ(runLauncher(delegate), 0);
    EXPECT_EQ(services.userInterface.runs, 2);
    EXPECT_NE(output.take().standardError.find("NSGenericException (callback failed)"),
              std::string::npos);
}

TEST(StatusOfProgram, IsThatOfItsBody) {
    EXPECT_EQ(statusOfProgram("Quillmore", [] { return 3; }), 3);
}

TEST(StatusOfProgram, FaultGivesAMessageAndAFailureStatus) {
    CapturedOutput output;
    EXPECT_EQ(statusOfProgram("Quillmore",
                              []() -> int {
                                  throw platform::Exception("NSGenericException",
                                                            "Couldn't start a thread");
                              }),
              1);
    EXPECT_EQ(output.take().standardError,
              "Quillmore: NSGenericException: Couldn't start a thread\n");
}

TEST(StatusOfProgram, FaultOfTheLanguagesOwnLibraryIsSaidToo) {
    CapturedOutput output;
    EXPECT_EQ(statusOfProgram("Quillmore", []() -> int { throw std::bad_alloc(); }), 1);
    EXPECT_EQ(output.take().standardError, "Quillmore: std::bad_alloc\n");
}

}  // namespace
}  // namespace quillmore::tests
