// The end of a repair run, on the main thread.
#include "QuillmoreLauncher/Quillmore_LauncherAppDelegate.h"
#include "tests/QuillmoreLauncher/Classes/SelfRepairFixture.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EndOfRepair : public SelfRepair {
protected:
    EndOfRepair() { services.application.setDelegate(&delegate); }
    FakeUserInterface& shown() { return services.userInterface; }
    const InstallCheckOutlets& outlets() { return manager().outlets(); }
    platform::Window* sheet() {
        return const_cast<platform::Window*>(&outlets().repairProgressWindow);
    }
    void openSheet(std::function<void()> didEnd = nullptr) {
        shown().openSheets[sheet()] = std::move(didEnd);
    }
    void expectAlertSheet(const char* message) {
        ASSERT_EQ(shown().alertSheets.size(), 1U);
        const auto& [alert, window] = shown().alertSheets[0];
        EXPECT_EQ(alert.messageText, message);
        EXPECT_EQ(alert.informativeText, "RepairFailed");
        ASSERT_EQ(alert.buttons.size(), 1U);
        EXPECT_EQ(alert.buttons[0].title, "OK");
        EXPECT_EQ(window, &outlets().checkWindow);
    }
    Quillmore_LauncherAppDelegate delegate;
};

TEST_F(EndOfRepair, SuccessIsHandedToTheMainThreadWithoutWaiting) {
    makeCatalogue({});
    manager().runSelfRepairThread();
    EXPECT_EQ(services.application.queued(), 1U);
    EXPECT_THROW(services.application.runMainQueue(), Termination);
    EXPECT_EQ(services.workspace.launched.size(), 1U);
}

TEST_F(EndOfRepair, FailureIsHandedToTheMainThread) {
    manager()._repairFailed();
    EXPECT_THAT(shown().alertSheets, IsEmpty());
    services.application.runMainQueue();
    expectAlertSheet("RepairFailedTitle");
}

TEST_F(EndOfRepair, FailureEndsTheSheetAndSaysSo) {
    openSheet([this] { EXPECT_THAT(shown().alertSheets, IsEmpty()); });
    manager().repairFailed();
    EXPECT_THAT(shown().openSheets, IsEmpty());
    expectAlertSheet("RepairFailedTitle");
}

TEST_F(EndOfRepair, SuccessEndsTheSheetAndLaunchesTheCore) {
    openSheet();
    EXPECT_THROW(manager().bringWindowBackToFront(), Termination);
    EXPECT_THAT(shown().openSheets, IsEmpty());
    EXPECT_EQ(services.workspace.launched.size(), 1U);
    EXPECT_THAT(shown().alertSheets, IsEmpty());
}

TEST_F(EndOfRepair, ItemStillNotInOrderShowsTheWindowAgain) {
    makeCatalogue({tool()});
    openSheet([this] { EXPECT_THAT(state().requiredItemsStatusList, IsEmpty()); });
    manager().bringWindowBackToFront();
    EXPECT_THAT(shown().openSheets, IsEmpty());
    EXPECT_THAT(shown().presented, ElementsAre(&outlets().checkWindow));
    EXPECT_EQ(outlets().checkText.stringValue(), "Info. Components: helpers\n");
    EXPECT_THAT(services.workspace.launched, IsEmpty());
}

TEST_F(EndOfRepair, WhatIsLostAfterTheCheckIsToldAndTheCoreIsNotLaunched) {
    int runs = 0;
    installTool(kTool);
    const auto spoil = [&](const platform::ProcessRequest&) {
        if (++runs == 2) ::chmod(services.host(kTool).c_str(), 0700);
    };
    services.processes.teach(kTool, {kCurrentBanner, {}, spoil});
    makeCatalogue({tool()});
    EXPECT_THROW(manager().bringWindowBackToFront(), Termination);
    EXPECT_THAT(shown().presented, IsEmpty());
    expectAlertSheet("RunFailedTitle");
    EXPECT_THAT(services.workspace.launched, IsEmpty());
}

TEST_F(EndOfRepair, RunThatFindsSomethingMissingSaysSo) {
    makeCatalogue({tool()});
    manager().runQuillmore();
    expectAlertSheet("RunFailedTitle");
    EXPECT_THAT(services.workspace.launched, IsEmpty());
}

TEST_F(EndOfRepair, RunThatMissesWhatNoRepairIsCountedForSaysSo) {
    makeCatalogue({package()});
    manager().runQuillmore();
    EXPECT_EQ(state().numberRepairsRequired, 0);
    expectAlertSheet("RunFailedTitle");
    EXPECT_THAT(services.workspace.launched, IsEmpty());
}

TEST_F(EndOfRepair, RunWithEverythingInOrderLaunchesTheCore) {
    EXPECT_THROW(manager().runQuillmore(), Termination);
    EXPECT_EQ(services.workspace.launched.size(), 1U);
}

TEST_F(EndOfRepair, WithoutADelegateTheApplicationJustTerminates) {
    services.application.setDelegate(nullptr);
    EXPECT_THROW(manager().bringWindowBackToFront(), Termination);
    EXPECT_THAT(services.workspace.launched, IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
