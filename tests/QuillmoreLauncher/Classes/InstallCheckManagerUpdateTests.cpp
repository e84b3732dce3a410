// Whether an installed tool or Finder item is older than the launcher.
#include "Platform/Processes/ProcessSpawner.h"
#include "QuillmoreLauncher/Classes/InstallCheckManager+Version.h"
#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using testing::ElementsAre;
using testing::IsEmpty;

class InstalledVersion : public LauncherFixture {
protected:
    InstalledVersion() {
        manager();
        logLines();
    }
    static RequiredItem itemAt(const std::string& path) {
        return RequiredItem(Dictionary{{"InstallPath", path}});
    }
    bool toolNeedsUpdate(const std::string& printed) {
        installTool("/t", printed);
        return doesToolNeedUpdate(itemAt("/t"));
    }
    bool bundleNeedsUpdate(const std::string& version) {
        installBundle("/b", version);
        return doesBundleNeedUpdate(itemAt("/b"));
    }
};

// Tools

TEST_F(InstalledVersion, ToolIsComparedByMajorAndMinorOnly) {
    EXPECT_FALSE(toolNeedsUpdate("Limited 1.15.0.0"));
    EXPECT_TRUE(toolNeedsUpdate("Limited 1.14.9.9"));
    EXPECT_FALSE(toolNeedsUpdate("Limited 2.0.0.0"));
    EXPECT_FALSE(toolNeedsUpdate("Limited 1.16.0.0"));
    EXPECT_TRUE(toolNeedsUpdate("Limited 0.99.0.0"));
}

TEST_F(InstalledVersion, ToolWithoutTheMarkerIsReadFromItsFirstLine) {
    EXPECT_FALSE(toolNeedsUpdate("version 1.15.4 (1856)\nmore.of.it"));
    EXPECT_TRUE(toolNeedsUpdate("1\n99.0.0.0"));
}

TEST_F(InstalledVersion, ToolThatPrintsNoVersionNeedsAnUpdate) {
    EXPECT_TRUE(toolNeedsUpdate(""));
    EXPECT_TRUE(toolNeedsUpdate("usage: tool"));
    EXPECT_TRUE(toolNeedsUpdate("Limited 1.16"));
    EXPECT_TRUE(toolNeedsUpdate("\xFF\xFE Limited 9.9.9.9"));
}

TEST_F(InstalledVersion, ToolTestIsLogged) {
    toolNeedsUpdate("x Limited 1.14.0.0");
    toolNeedsUpdate("x Limited 1.15.0.0");
    EXPECT_THAT(logLines(),
                ElementsAre("(vrb) \"/t\" needs to update from 1.14.0.0 to 1.15.4 (1856)",
                            "(vrb) \"/t\" does not need to update from 1.15.0.0"));
}

TEST_F(InstalledVersion, OutputThatIsNoTextIsLoggedAsAbsent) {
    toolNeedsUpdate("\xFF");
    EXPECT_THAT(logLines(), ElementsAre("(vrb) \"/t\" needs to update from (null) to 1.15.4 (1856)",
                                        "(ERR) Failed to extract version from string \"(null)\""));
}

TEST_F(InstalledVersion, LauncherWithoutAReadableVersionUpdatesNothing) {
    services.makePropertyList("/Applications/Quillmore.app/Contents/Info.plist",
                              Dictionary{{"CFBundleShortVersionString", "1.15"}});
    services.useLanguages({"en"});
    EXPECT_FALSE(toolNeedsUpdate("Limited 0.0.0.0"));
    EXPECT_FALSE(bundleNeedsUpdate("0.0.0"));
    EXPECT_THAT(
        logLines(),
        testing::Contains("(ERR) Failed to extract version from string \"1.15 (1856)\"").Times(2));
}

TEST_F(InstalledVersion, ToolThatCannotBeStartedRaises) {
    EXPECT_THROW(doesToolNeedUpdate(itemAt("/none")), platform::Exception);
    EXPECT_THROW(doesToolNeedUpdate(RequiredItem{Dictionary()}), platform::Exception);
}

TEST_F(InstalledVersion, EndOfTheToolIsWaitedFor) {
    toolNeedsUpdate("Limited 1.15.0.0");
    EXPECT_THAT(services.processes.started, ElementsAre("/t"));
    EXPECT_THAT(services.processes.abandoned, IsEmpty());
}

TEST_F(InstalledVersion, ExitStatusOfTheToolDoesNotMatter) {
    services.processes.teach("/t", {"Limited 1.15.0.0", {false, 3}, {}});
    EXPECT_FALSE(doesToolNeedUpdate(itemAt("/t")));
}

class RealTool : public InstalledVersion {
protected:
    RealTool() { services.set.processes = spawner.get(); }
    bool needsUpdate(const std::string& script) {
        services.makeFile("/tool", "#!/bin/sh\n" + script, 0755);
        return doesToolNeedUpdate(itemAt(services.host("/tool")));
    }
    std::unique_ptr<platform::ProcessSpawner> spawner = platform::makePosixProcessSpawner();
};

TEST_F(RealTool, PrintsMoreThanAPipeHolds) {
    EXPECT_FALSE(needsUpdate("yes | head -c 3000000\necho 'Limited 1.15.4.1856'\n"));
}

TEST_F(RealTool, PrintsItsBannerAndThenMoreThanIsKept) {
    EXPECT_FALSE(needsUpdate("echo 'Limited 1.15.4.1856'\nyes | head -c 3000000\n"));
}

TEST_F(RealTool, PrintsToStandardErrorOnly) {
    EXPECT_TRUE(needsUpdate("echo 'Limited 1.15.4.1856' >&2\n"));
}

// Finder items

TEST_F(InstalledVersion, BundleIsComparedByMajorAndMinorOnly) {
    EXPECT_FALSE(bundleNeedsUpdate("1.15.0"));
    EXPECT_FALSE(bundleNeedsUpdate("1.16.0"));
    EXPECT_FALSE(bundleNeedsUpdate("2.0.0"));
    EXPECT_TRUE(bundleNeedsUpdate("1.14.9"));
    EXPECT_TRUE(bundleNeedsUpdate("0.16.0"));
}

TEST_F(InstalledVersion, BundleTestIsLogged) {
    bundleNeedsUpdate("1.14.9");
    bundleNeedsUpdate("1.15.0");
    EXPECT_THAT(logLines(), ElementsAre("(vrb) \"/b\" needs to update from 1.14.9 to 1.15.4 (1856)",
                                        "(vrb) \"/b\" does not need to update from 1.15.0"));
}

TEST_F(InstalledVersion, BundleWithoutReadableVersionNeedsAnUpdateWithoutALine) {
    services.makeFile("/damaged/Contents/Info.plist", "<plist>");
    EXPECT_TRUE(bundleNeedsUpdate("1.15"));
    EXPECT_TRUE(bundleNeedsUpdate("1.15.4.0"));
    EXPECT_TRUE(bundleNeedsUpdate(""));
    EXPECT_TRUE(doesBundleNeedUpdate(itemAt("/none")));
    EXPECT_TRUE(doesBundleNeedUpdate(itemAt("/damaged")));
    EXPECT_TRUE(doesBundleNeedUpdate(RequiredItem{Dictionary()}));
    EXPECT_THAT(logLines(), IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
