#include <condition_variable>
#include <thread>

#include "tests/fakes/LauncherFixture.h"
#include "tests/fakes/TestPictures.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using testing::ElementsAre;
using testing::IsEmpty;

/// An application whose main queue can be waited for.
class WaitingApplication final : public platform::Application {
public:
    void performOnMainThread(std::function<void()> work) override {
        const std::lock_guard lock(mutex_);
        work_ = std::move(work);
        changed_.notify_all();
    }
    [[noreturn]] void terminate() override { throw Termination{0, true}; }
    [[noreturn]] void exitProcess(int status) override { throw Termination{status, false}; }
    /// Waits for one piece of work and runs it.
    void runNext() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return work_ != nullptr; });
        const auto work = std::exchange(work_, nullptr);
        lock.unlock();
        work();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::function<void()> work_;
};

class InstallCheckWindow : public LauncherFixture {
protected:
    static const InstallCheckOutlets& outlets() { return manager().outlets(); }
    static Dictionary item(const char* type, const char* name) {
        return {{"Type", type}, {"Name", name}, {"InstallPath", "/none"}};
    }
    /// The window's text for a catalogue.
    std::string textFor(const std::vector<Dictionary>& items) {
        makeCatalogue(items);
        manager().checkForRequiredItems();
        return outlets().checkText.stringValue();
    }
    static Termination terminationOf(const std::function<void()>& work) {
        try {
            work();
        } catch (const Termination& termination) {
            return termination;
        }
        ADD_FAILURE() << "the process goes on";
        return {-1, false};
    }
};

TEST_F(InstallCheckWindow, TextsAreSetWhenTheManagerIsMade) {
    EXPECT_EQ(outlets().checkHeaderView.title(), "Installing Quillmore");
    EXPECT_TRUE(outlets().checkHeaderView.usesWelcomeBranding());
    EXPECT_EQ(outlets().checkInstall.title(), "Continue");
    EXPECT_EQ(outlets().checkDontInstall.title(), "QuillmoreLauncher_DontInstall");
    EXPECT_EQ(outlets().checkWindow.title(), "Quillmore");
    EXPECT_EQ(outlets().repairProgressText.stringValue(), "QuillmoreLauncher_Installing");
}

TEST_F(InstallCheckWindow, HeaderGetsTheBrandedLogo) {
    services.makeResource("appheader_logo.png", bitmapFile(11, 1));
    services.makeResource("logo-1.bmp", bitmapFile(33, 1));
    ASSERT_NE(outlets().checkHeaderView.logo(), nullptr);
    EXPECT_EQ(outlets().checkHeaderView.logo()->size().width, 33);
}

TEST_F(InstallCheckWindow, TextsAreLocalised) {
    services.makeResource("de.lproj/Localizable.strings",
                          std::string("\"Continue\" = \"Weiter\"; \"Installing Quillmore\" = "
                                      "\"Installation\"; \"ProductName\" = \"Quillmore\";"));
    services.useLanguages({"de"});
    EXPECT_EQ(outlets().checkInstall.title(), "Weiter");
    EXPECT_EQ(outlets().checkHeaderView.title(), "Installation");
}

TEST_F(InstallCheckWindow, ReturnPressesContinue) {
    EXPECT_EQ(outlets().checkWindow.defaultButton(), &outlets().checkInstall);
}

TEST_F(InstallCheckWindow, IsHiddenUntilSomethingIsNotInOrder) {
    manager();
    EXPECT_THAT(services.userInterface.presented, IsEmpty());
}

TEST_F(InstallCheckWindow, TextWithoutFlagsIsTheInformationAlone) {
    EXPECT_EQ(textFor({item("Bundle", "Other")}), "Info.");
}

TEST_F(InstallCheckWindow, TextNamesTheFileSystem) {
    EXPECT_EQ(textFor({item("Bundle", "QuillmoreFS")}), "Info. Components: file system\n");
}

TEST_F(InstallCheckWindow, TextNamesTheHelpers) {
    EXPECT_EQ(textFor({item("QMTool", "t")}), "Info. Components: helpers\n");
}

TEST_F(InstallCheckWindow, TextNamesTheFileSystemBeforeTheHelpers) {
    EXPECT_EQ(textFor({item("QMTool", "t"), item("Bundle", "QuillmoreFS")}),
              "Info. Components: file system helpers\n");
}

TEST_F(InstallCheckWindow, EveryPresentationComposesTheTextAnew) {
    textFor({item("QMTool", "t")});
    manager().checkForRequiredItems();
    EXPECT_EQ(outlets().checkText.stringValue(), "Info. Components: helpers\n");
    EXPECT_EQ(services.userInterface.presented.size(), 2U);
}

TEST_F(InstallCheckWindow, QuitButtonLogsAndEndsTheProcessAtOnce) {
    manager();
    logLines();
    const Termination end = terminationOf([] { outlets().checkDontInstall.performClick(); });
    EXPECT_EQ(end.status, 0);
    EXPECT_FALSE(end.requested);
    EXPECT_THAT(logLines(), ElementsAre("(nrm) User chose to quit"));
}

TEST_F(InstallCheckWindow, ClosingTheWindowEndsTheProcessWithoutALine) {
    manager();
    logLines();
    const Termination end = terminationOf([] { outlets().checkWindow.close(); });
    EXPECT_EQ(end.status, 0);
    EXPECT_FALSE(end.requested);
    EXPECT_THAT(logLines(), IsEmpty());
}

TEST_F(InstallCheckWindow, ClosingAnotherWindowDoesNothing) {
    platform::Window other("Other", "other");
    EXPECT_NO_THROW(manager().windowWillClose(other));
    EXPECT_NO_THROW(manager().windowWillClose(outlets().repairProgressWindow));
    EXPECT_NO_THROW(outlets().repairProgressWindow.close());
}

// Continue

class ContinueButton : public InstallCheckWindow {
protected:
    ContinueButton() { services.set.application = &application; }
    /// Presses the button and runs what the repair thread leaves for the main thread.
    void pressAndWait() {
        outlets().checkInstall.performClick();
        application.runNext();
    }
    WaitingApplication application;
};

TEST_F(ContinueButton, PutsUpTheSheetAndRunsTheRepairThread) {
    makeCatalogue({{{"Type", "CoreApp"}, {"Name", "core"}, {"Resource", "core"}}});
    services.processes.teach(kUpdateTool, {});
    manager().checkForRequiredItems();
    outlets().checkInstall.performClick();
    EXPECT_EQ(services.userInterface.openSheets.size(), 1U);
    EXPECT_TRUE(outlets().repairProgressIndicator.isAnimating());
    application.runNext();
    EXPECT_THAT(services.processes.started,
                ElementsAre(std::string(kUpdateTool) + " repaircore " + resource("core")));
    EXPECT_FALSE(outlets().repairProgressIndicator.isAnimating());
    EXPECT_THAT(services.userInterface.openSheets, IsEmpty());
    EXPECT_EQ(services.userInterface.presented.size(), 2U);
}

TEST_F(ContinueButton, PutsTheSheetOverTheWindowBeforeTheProgressMoves) {
    bool isSheetOverWindow = false;
    bool moved = true;
    services.userInterface.onSheet = [&](platform::Window& over, platform::Window& window) {
        isSheetOverWindow =
            &over == &outlets().repairProgressWindow && &window == &outlets().checkWindow;
        moved = outlets().repairProgressIndicator.isAnimating();
    };
    EXPECT_THROW(pressAndWait(), Termination);
    EXPECT_TRUE(isSheetOverWindow);
    EXPECT_FALSE(moved);
}

class NotingClock final : public platform::Clock {
public:
    std::thread::id sleeper;
    WallTime now() const override { return {}; }
    void sleepFor(Seconds) override { sleeper = std::this_thread::get_id(); }
};

TEST_F(ContinueButton, RepairRunsOnAThreadOfItsOwn) {
    NotingClock clock;
    services.set.clock = &clock;
    EXPECT_THROW(pressAndWait(), Termination);
    EXPECT_NE(clock.sleeper, std::thread::id());
    EXPECT_NE(clock.sleeper, std::this_thread::get_id());
}

TEST_F(ContinueButton, MayBePressedAgainAfterAFailure) {
    makeCatalogue({item("QMTool", "updateqm")});
    services.authorization.copyRightsStatus = platform::kAuthorizationCanceled;
    manager().checkForRequiredItems();
    pressAndWait();
    EXPECT_THAT(services.userInterface.openSheets, IsEmpty());
    EXPECT_EQ(services.userInterface.alertSheets.size(), 1U);
    pressAndWait();
    EXPECT_EQ(services.userInterface.alertSheets.size(), 2U);
}

class RaisingClock final : public platform::Clock {
public:
    WallTime now() const override { return {}; }
    void sleepFor(Seconds) override {
        throw platform::Exception(platform::kGenericException, "no time");
    }
};

TEST_F(ContinueButton, ExceptionOnTheRepairThreadIsLoggedAndReported) {
    RaisingClock clock;
    services.set.clock = &clock;
    manager();
    logLines();
    pressAndWait();
    EXPECT_THAT(logLines(), ElementsAre("(ERR) NSGenericException (no time)"));
    EXPECT_EQ(services.userInterface.alertSheets.size(), 1U);
    EXPECT_THAT(services.userInterface.openSheets, IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
