#include "QuillmoreLauncher/Quillmore_LauncherAppDelegate.h"

#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kCore =
    "/Applications/Quillmore.app/Contents/Resources/QuillmoreCore.app/Contents/MacOS/QuillmoreCore";

class LauncherDelegate : public LauncherFixture {
protected:
    LauncherDelegate() {
        services.makeResource("Config.plist", platform::Value(Dictionary{{"Brand", 15}}));
        setDefaults("error", "detailed");
        setCoreRuns(false);
        services.makeFolder(resource("QuillmoreCore.app"));
        services.application.setDelegate(&delegate);
    }
    void setDefaults(const char* file, const char* terminal) {
        services.makeResource(
            "Defaults.plist",
            platform::Value(Dictionary{{"FileLogging", file}, {"StdioLogging", terminal}}));
    }
    void setCoreRuns(bool runs) {
        services.processes.teach("/bin/sh", {"", {false, runs ? 0 : 1}, {}});
    }
    /// The normal and error lines of a start that ends the process, by a request as ever.
    std::vector<std::string> linesOfStart() {
        logLines();
        try {
            delegate.applicationDidFinishLaunching();
            ADD_FAILURE() << "the process goes on";
        } catch (const Termination& end) {
            EXPECT_TRUE(end.requested);
        }
        std::vector<std::string> lines = logLines();
        std::erase_if(lines, [](const std::string& line) {
            return line.starts_with("(vrb)") || line.starts_with("(dtl)");
        });
        return lines;
    }
    Quillmore_LauncherAppDelegate delegate;
};

TEST_F(LauncherDelegate, CleanStartLaunchesTheCoreAndTerminates) {
    EXPECT_THAT(linesOfStart(), ElementsAre("(nrm) Quillmore version 1.15.4 (1856)",
                                            "(nrm) Quillmore did begin launching...",
                                            "(nrm) Quillmore did finish launching",
                                            std::string("(nrm) Launching \"") + kCore + "\"...",
                                            std::string("(nrm) Launched \"") + kCore + "\"",
                                            "(nrm) Will terminate now"));
    EXPECT_THAT(services.workspace.launched, ElementsAre(std::optional<std::string>(kCore)));
    EXPECT_THAT(services.userInterface.alerts, IsEmpty());
}

TEST_F(LauncherDelegate, SearchesForTheCoreByTheProductsName) {
    linesOfStart();
    ASSERT_EQ(services.processes.started.size(), 3U);
    EXPECT_THAT(services.processes.started[0], testing::HasSubstr("fgrep 'QuillmoreCore'"));
}

TEST_F(LauncherDelegate, LinesFrameTheLaunchOfTheCore) {
    std::vector<std::string> before;
    services.workspace.onLaunch = [&] { before = logLines(); };
    const auto after = linesOfStart();
    EXPECT_EQ(before.back(), std::string("(nrm) Launching \"") + kCore + "\"...");
    EXPECT_THAT(after, ElementsAre(std::string("(nrm) Launched \"") + kCore + "\"",
                                   "(nrm) Will terminate now"));
}

TEST_F(LauncherDelegate, ProductsNameIsThatOfTheStringTable) {
    services.makeResource("en.lproj/Localizable.strings",
                          std::string("\"ProductName\" = \"Acme\";"));
    services.makeFolder(resource("AcmeCore.app"));
    const std::string core = resource("AcmeCore.app/Contents/MacOS/AcmeCore");
    setDefaults("normal", "detailed");
    EXPECT_THAT(
        linesOfStart(),
        ElementsAre("(nrm) Acme version 1.15.4 (1856)", "(nrm) Acme did begin launching...",
                    "(nrm) Acme did finish launching", "(nrm) Launching \"" + core + "\"...",
                    "(nrm) Launched \"" + core + "\"", "(nrm) Will terminate now"));
    EXPECT_THAT(services.processes.started[0], testing::HasSubstr("fgrep 'AcmeCore'"));
    EXPECT_THAT(getLogFilePath(),
                testing::Optional(testing::StartsWith("/Users/jo/Library/Logs/Acme/Acme/Acme-")));
    EXPECT_EQ(delegate.fixedPathsOfOlderCopies().front(), "~/Applications/Acme.app");
    EXPECT_EQ(delegate.fixedPathsOfOlderCopies().back(), "/Applications/Acme Client-5.app");
}

TEST_F(LauncherDelegate, SomethingToRepairKeepsTheProcessAlive) {
    makeCatalogue({{{"Type", "QMTool"}, {"Name", "t"}, {"InstallPath", "/none"}}});
    EXPECT_NO_THROW(delegate.applicationDidFinishLaunching());
    EXPECT_EQ(services.userInterface.presented.size(), 1U);
    EXPECT_THAT(services.workspace.launched, IsEmpty());
    EXPECT_THAT(logLines(), Contains("(nrm) Quillmore did finish launching"));
}

TEST_F(LauncherDelegate, VersionLineReadsTheBundle) {
    services.makePropertyList(
        "/Applications/Quillmore.app/Contents/Info.plist",
        Dictionary{{"CFBundleShortVersionString", "2.0.1"}, {"CFBundleVersion", "77"}});
    EXPECT_THAT(linesOfStart(), Contains("(nrm) Quillmore version 2.0.1 (77)"));
}

TEST_F(LauncherDelegate, LogsToAFileOfTheProductAtTheConfiguredLevel) {
    setDefaults("normal", "error");
    EXPECT_THAT(linesOfStart(), IsEmpty());
    const auto path = getLogFilePath();
    ASSERT_TRUE(path);
    EXPECT_TRUE(path->starts_with("/Users/jo/Library/Logs/Quillmore/Quillmore/Quillmore-"));
    initLogging(kLogLevelNormal, kLogLevelNormal, std::nullopt);
    EXPECT_THAT(services.read(*path), testing::HasSubstr("Quillmore did begin launching..."));
}

TEST_F(LauncherDelegate, UsersOwnSettingsOverrideTheFactorySettings) {
    services.makePropertyList("/Users/jo/Library/Preferences/com.quillmore.launcher.plist",
                              Dictionary{{"StdioLogging", "error"}});
    EXPECT_THAT(linesOfStart(), IsEmpty());
}

TEST_F(LauncherDelegate, DamagedSettingsAreNamedInTheLog) {
    const std::string file = "/Users/jo/Library/Preferences/com.quillmore.launcher.plist";
    services.makeFile(file, "<plist><dict>");
    EXPECT_THAT(linesOfStart(),
                Contains(testing::AllOf(testing::StartsWith("(ERR) "), testing::HasSubstr(file))));
}

TEST_F(LauncherDelegate, UnknownLevelWordRaisesTheConfigurationFault) {
    setDefaults("Verbose", "error");
    try {
        delegate.applicationDidFinishLaunching();
        FAIL() << "nothing was raised";
    } catch (const platform::Exception& exception) {
        EXPECT_EQ(exception.name(), kConfigurationFault);
        EXPECT_EQ(exception.reason(), "Invalid file logging level \"Verbose\"");
    }
}

TEST(LauncherDelegateDeathTest, MissingDefaultsFailAnAssertion) {
    const TestServices services;
    EXPECT_DEATH(Quillmore_LauncherAppDelegate().applicationDidFinishLaunching(),
                 "ASSERTION ERROR: fileLevel \\(");
}

// A core that runs

TEST_F(LauncherDelegate, RunningCoreEndsTheStartWithAnAlert) {
    setCoreRuns(true);
    makeCatalogue({{{"Type", "QMTool"}, {"InstallPath", "/none"}}});
    std::vector<std::string> before;
    services.userInterface.onModal = [&] { before = logLines(); };
    EXPECT_THAT(linesOfStart(), ElementsAre("(nrm) User did quit"));
    EXPECT_EQ(before.back(), "(nrm) Letting other copy run, we will terminate");
    ASSERT_EQ(services.userInterface.alerts.size(), 1U);
    const platform::Alert& alert = services.userInterface.alerts[0];
    EXPECT_EQ(alert.messageText, "QuillmoreLauncher_AlreadyRunning");
    EXPECT_EQ(alert.informativeText, "QuillmoreLauncher_YouMustQuit");
    ASSERT_EQ(alert.buttons.size(), 1U);
    EXPECT_EQ(alert.buttons[0].title, "Quit");
}

TEST_F(LauncherDelegate, RunningCoreMeansNoCheckAndNoLaunch) {
    setCoreRuns(true);
    makeCatalogue({{{"Type", "QMTool"}, {"InstallPath", "/none"}}});
    linesOfStart();
    EXPECT_THAT(services.userInterface.presented, IsEmpty());
    EXPECT_THAT(services.workspace.launched, IsEmpty());
}

TEST_F(LauncherDelegate, WithoutACoreNothingIsSaid) {
    EXPECT_NO_THROW(delegate.ensureCoreNotRunning());
    EXPECT_THAT(services.userInterface.alerts, IsEmpty());
}

// The core

TEST_F(LauncherDelegate, MissingCoreIsLoggedAsNullAndTheProcessEndsAllTheSame) {
    std::filesystem::remove_all(services.host(resource("QuillmoreCore.app")));
    const auto lines = linesOfStart();
    EXPECT_THAT(lines, Contains("(nrm) Launching \"(null)\"..."));
    EXPECT_THAT(lines, Contains("(nrm) Launched \"(null)\""));
    EXPECT_THAT(services.workspace.launched, ElementsAre(std::nullopt));
}

TEST_F(LauncherDelegate, FailedLaunchIsNotReported) {
    services.workspace.launchSucceeds = false;
    EXPECT_EQ(linesOfStart().back(), "(nrm) Will terminate now");
}

// The brand

TEST_F(LauncherDelegate, BrandIsReadAtTheStart) {
    EXPECT_EQ(delegate.brandId(), 0);
    linesOfStart();
    EXPECT_EQ(delegate.brandId(), 15);
}

TEST_F(LauncherDelegate, BrandMayBeANumericText) {
    services.makeResource("Config.plist", platform::Value(Dictionary{{"Brand", " 10001x"}}));
    linesOfStart();
    EXPECT_EQ(delegate.brandId(), 10001);
}

TEST_F(LauncherDelegate, BrandIsZeroWhenItIsNotConfigured) {
    services.makeResource("Config.plist", platform::Value(Dictionary{{"Other", 1}}));
    linesOfStart();
    EXPECT_EQ(delegate.brandId(), 0);
}

TEST_F(LauncherDelegate, MissingConfigurationIsNotReported) {
    std::filesystem::remove(services.host(resource("Config.plist")));
    EXPECT_THAT(linesOfStart(), Not(Contains(testing::StartsWith("(ERR)"))));
    EXPECT_EQ(delegate.brandId(), 0);
}

TEST_F(LauncherDelegate, DamagedConfigurationIsNamedInTheLog) {
    services.makeResource("Config.plist", std::string("<plist>"));
    EXPECT_THAT(linesOfStart(), Contains(testing::HasSubstr(resource("Config.plist"))));
    EXPECT_EQ(delegate.brandId(), 0);
}

// Older copies

class OlderCopies : public LauncherDelegate {
protected:
    void install(const std::string& path, const char* identifier = ClientAppBundleIdentifier) {
        services.makePropertyList(path + "/Contents/Info.plist",
                                  Dictionary{{"CFBundleIdentifier", identifier}});
    }
};

TEST_F(OlderCopies, FixedPathsAreTheseInThisOrder) {
    EXPECT_THAT(
        delegate.fixedPathsOfOlderCopies(),
        ElementsAre(
            "~/Applications/Quillmore.app", "~/Applications/Quillmore-1.app",
            "~/Applications/Quillmore-2.app", "~/Applications/Quillmore-3.app",
            "~/Applications/Quillmore-4.app", "~/Applications/Quillmore-5.app",
            "/Applications/Quillmore.app", "/Applications/Quillmore-1.app",
            "/Applications/Quillmore-2.app", "/Applications/Quillmore-3.app",
            "/Applications/Quillmore-4.app", "/Applications/Quillmore-5.app",
            "~/Applications/Quillmore Client.app", "~/Applications/Quillmore Client-1.app",
            "~/Applications/Quillmore Client-2.app", "~/Applications/Quillmore Client-3.app",
            "~/Applications/Quillmore Client-4.app", "~/Applications/Quillmore Client-5.app",
            "/Applications/Quillmore Client.app", "/Applications/Quillmore Client-1.app",
            "/Applications/Quillmore Client-2.app", "/Applications/Quillmore Client-3.app",
            "/Applications/Quillmore Client-4.app", "/Applications/Quillmore Client-5.app"));
}

TEST_F(OlderCopies, WithNoCopyInstalledOnlyTheFixedPathsAreListed) {
    EXPECT_EQ(delegate.pathsOfOlderCopies(), delegate.fixedPathsOfOlderCopies());
}

TEST_F(OlderCopies, UsersCopiesComeBeforeTheMachinesAndTheFixedPathsLast) {
    install("/Applications/Old.app");
    install("/Users/jo/Applications/Old.app");
    install("/Users/jo/Applications/Other.app", "com.other");
    std::vector<std::string> expected = delegate.fixedPathsOfOlderCopies();
    expected.insert(expected.begin(), {"/Users/jo/Applications/Old.app", "/Applications/Old.app"});
    EXPECT_EQ(delegate.pathsOfOlderCopies(), expected);
}

TEST_F(OlderCopies, FixedPathThatWasFoundIsListedTwice) {
    install("/Applications/Quillmore-1.app");
    EXPECT_THAT(delegate.pathsOfOlderCopies(), Contains("/Applications/Quillmore-1.app").Times(2));
}

TEST_F(OlderCopies, SearchMakesTheArrayWhenThereIsNone) {
    install("/A/Old.app");
    Quillmore_LauncherAppDelegate::Paths found;
    delegate.pathsForIdent(ClientAppBundleIdentifier, "/A", &found);
    ASSERT_TRUE(found);
    EXPECT_THAT(*found, ElementsAre("/A/Old.app"));
}

TEST_F(OlderCopies, SearchThatFindsNothingMakesNoArray) {
    Quillmore_LauncherAppDelegate::Paths found;
    delegate.pathsForIdent(ClientAppBundleIdentifier, "/A", &found);
    EXPECT_FALSE(found);
}

TEST_F(OlderCopies, SearchAddsToTheArray) {
    install("/A/Old.app");
    Quillmore_LauncherAppDelegate::Paths found{{"/before"}};
    delegate.pathsForIdent(ClientAppBundleIdentifier, "/A", &found);
    EXPECT_THAT(*found, ElementsAre("/before", "/A/Old.app"));
}

TEST_F(OlderCopies, SearchForNobodyIsHarmless) {
    install("/A/Old.app");
    EXPECT_NO_THROW(delegate.pathsForIdent(ClientAppBundleIdentifier, "/A", nullptr));
}

}  // namespace
}  // namespace quillmore::tests
