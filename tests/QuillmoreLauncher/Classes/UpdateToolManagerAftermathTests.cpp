// What follows a run of the update tool: the installer's log is kept, the Finder restarted.
#include <cerrno>

#include "QuillmoreLauncher/Classes/UpdateToolManager.h"
#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kInstallerLog = "/tmp/.macfuse-install.log";
constexpr const char* kKeptLogFolder = "/Users/jo/Library/Logs/Quillmore/MacFUSE";
constexpr const char* kKeptLog = "/Users/jo/Library/Logs/Quillmore/MacFUSE/macfuse-install.log";
constexpr const char* kFinder = "/System/Library/CoreServices/Finder.app";

class UpdateToolAftermath : public LauncherFixture {
protected:
    static UpdateToolManager& tool() { return UpdateToolManager::sharedManager(); }
    void teachUpdateTool(int exitStatus) {
        services.processes.teach(kUpdateTool, {"", {false, exitStatus}, {}});
    }
};

// The log of the MacFUSE installer

class InstallerLog : public UpdateToolAftermath {
protected:
    InstallerLog() { teachUpdateTool(0); }
    std::vector<std::string> linesOfRepair(const std::string& package) {
        logLines();
        result = tool().repairFrameworkUsingPackage(package);
        std::vector<std::string> lines = logLines();
        std::erase_if(lines, [](const std::string& text) {
            return text.find("runExe") != std::string::npos;
        });
        return lines;
    }
    std::int32_t result = -1;
    const std::string copying = std::string("\"") + kInstallerLog + "\" to \"" + kKeptLog + "\"";
};

TEST_F(InstallerLog, IsKeptForPackagesOfAnyCase) {
    for (const char* package : {"/p/MacFUSE.pkg", "/p/macfuse.pkg", "/MACFUSE/p.pkg"}) {
        std::filesystem::remove_all(services.host(kKeptLogFolder));
        services.makeFile(kInstallerLog, "installer says");
        EXPECT_THAT(linesOfRepair(package),
                    ElementsAre(std::string("(vrb) \"") + kKeptLogFolder +
                                    "\" subfolder missing - created it",
                                "(vrb) Copying " + copying + "...",
                                "(vrb) Copied " + copying + " - MacFUSE log available"));
        EXPECT_EQ(services.read(kKeptLog), "installer says");
        EXPECT_EQ(result, 0);
    }
}

TEST_F(InstallerLog, IsKeptWhenTheRepairFailed) {
    teachUpdateTool(1);
    services.makeFile(kInstallerLog, "installer says");
    linesOfRepair("/p/MacFUSE.pkg");
    EXPECT_EQ(result, 4);
    EXPECT_EQ(tool().status(), UpdateToolStatusRunning);
    EXPECT_TRUE(services.exists(kKeptLog));
}

TEST_F(InstallerLog, IsNotLookedForAfterOtherPackages) {
    services.makeFile(kInstallerLog, "installer says");
    EXPECT_THAT(linesOfRepair("/p/Mono.pkg"), IsEmpty());
    EXPECT_FALSE(services.exists(kKeptLogFolder));
}

TEST_F(InstallerLog, BundleRepairKeepsNone) {
    services.makeFile(kInstallerLog, "installer says");
    tool().repairBundleUsingPackage("/p/MacFUSE.pkg");
    EXPECT_FALSE(services.exists(kKeptLogFolder));
}

TEST_F(InstallerLog, MissingLogIsSaid) {
    EXPECT_THAT(linesOfRepair("/p/MacFUSE.pkg"),
                ElementsAre("(vrb) \"/tmp/.macfuse-install.log\" doesn't exists - no MacFUSE log "
                            "will be available"));
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(services.exists(kKeptLogFolder));
}

TEST_F(InstallerLog, SecondCopyFailsAndIsLoggedAndTheFirstStays) {
    services.makeFile(kInstallerLog, "new");
    services.makeFile(kKeptLog, "old");
    const auto lines = linesOfRepair("/p/MacFUSE.pkg");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "(vrb) Copying " + copying + "...");
    EXPECT_EQ(lines[1], "(ERR) Failed to copy " + copying + " (\"(null)\" because \"" +
                            platform::Error::posix(EEXIST).localizedDescription() + "\")");
    EXPECT_EQ(services.read(kKeptLog), "old");
    EXPECT_EQ(result, 0);
}

TEST_F(InstallerLog, HalfACopyIsTakenAway) {
    services.makeFile(kInstallerLog, "installer says");
    faults->copyErrors.emplace(kKeptLog, platform::Error::posix(ENOSPC));
    EXPECT_THAT(linesOfRepair("/p/MacFUSE.pkg"),
                Contains(testing::StartsWith("(ERR) Failed to copy")));
    EXPECT_FALSE(services.exists(kKeptLog));
    EXPECT_EQ(result, 0);
}

TEST_F(InstallerLog, LogThatWasKeptBeforeStaysWhateverFails) {
    services.makeFile(kInstallerLog, "new");
    services.makeFile(kKeptLog, "old");
    faults->copyErrors.emplace(kKeptLog, platform::Error::posix(ENOENT));
    linesOfRepair("/p/MacFUSE.pkg");
    EXPECT_EQ(services.read(kKeptLog), "old");
}

TEST_F(InstallerLog, TroubleWithTheFolderIsLoggedAndSwallowed) {
    services.makeFile(kInstallerLog, "installer says");
    faults->folderErrors.emplace(kKeptLogFolder, platform::Error::posix(EACCES));
    EXPECT_THAT(linesOfRepair("/p/MacFUSE.pkg"),
                ElementsAre(testing::StartsWith(std::string("(ERR) NSGenericException (Failed to "
                                                            "create \"") +
                                                kKeptLogFolder + "\"")));
    EXPECT_EQ(result, 0);
    EXPECT_EQ(tool().status(), UpdateToolStatusOK);
}

// The Finder after the repair of a root-owned tool

class FinderRestart : public UpdateToolAftermath {
protected:
    FinderRestart() {
        teachUpdateTool(0);
        services.workspace.addRunning("com.apple.finder", 55);
    }
    std::int32_t repair() { return tool().repairQMToolRoot("/p", "/s"); }
};

TEST_F(FinderRestart, FinderIsAskedToQuitAndLaunchedAgain) {
    services.workspace.beforeListing = [this](int listing) {
        if (listing > 0) services.workspace.running.clear();
    };
    EXPECT_EQ(repair(), 0);
    EXPECT_EQ(services.appleEvents.sent.size(), 1U);
    EXPECT_THAT(services.workspace.launched, ElementsAre(std::optional<std::string>(kFinder)));
    EXPECT_EQ(tool().status(), 0);
    const auto lines = logLines();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[lines.size() - 2], std::string("(vrb) Launching \"") + kFinder + "\"...");
    EXPECT_EQ(lines[lines.size() - 1], std::string("(vrb) Launched \"") + kFinder + "\"");
}

TEST_F(FinderRestart, FinderThatDoesNotRunIsOnlyLaunched) {
    services.workspace.running.clear();
    EXPECT_EQ(repair(), 0);
    EXPECT_THAT(services.appleEvents.sent, IsEmpty());
    EXPECT_EQ(services.workspace.launched.size(), 1U);
}

TEST_F(FinderRestart, FinderThatDoesNotQuitInTimeIsLaunchedAnyway) {
    EXPECT_EQ(repair(), 0);
    EXPECT_THAT(logLines(), Contains("(vrb) Didn't see Finder restart - continue anyway"));
    EXPECT_EQ(services.workspace.launched.size(), 1U);
    EXPECT_THAT(services.clock.sleeps(), ElementsAre(0, 0, 0, 0, 1, 1));
}

TEST_F(FinderRestart, AnyOtherQuitErrorFailsTheRepair) {
    services.appleEvents.sendStatus = -600;
    EXPECT_EQ(repair(), UpdateToolStatusRunning);
    EXPECT_EQ(tool().status(), UpdateToolStatusRunning);
    EXPECT_THAT(services.workspace.launched, IsEmpty());
    EXPECT_THAT(logLines(),
                Contains("(ERR) repairQMToolRoot failed (\"quitApplication failed\" because "
                         "\"Request to quit app wth id \"com.apple.finder\" failed (AESendMessage "
                         "failed with error -600)\")"));
}

TEST_F(FinderRestart, FailedLaunchFailsTheRepair) {
    services.workspace.launchSucceeds = false;
    EXPECT_EQ(repair(), UpdateToolStatusRunning);
    EXPECT_EQ(tool().status(), UpdateToolStatusRunning);
    const auto lines = logLines();
    EXPECT_THAT(lines, Contains(std::string("(vrb) Launched \"") + kFinder + "\""));
    EXPECT_EQ(lines.back(), std::string("(ERR) repairQMToolRoot failed (\"launchApplication "
                                        "failed\" because \"launchApplication \"") +
                                kFinder + "\" failed\")");
}

TEST_F(FinderRestart, FailedToolLeavesTheFinderAlone) {
    teachUpdateTool(1);
    EXPECT_EQ(repair(), UpdateToolStatusFailed);
    EXPECT_THAT(services.appleEvents.sent, IsEmpty());
    EXPECT_THAT(services.workspace.launched, IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
