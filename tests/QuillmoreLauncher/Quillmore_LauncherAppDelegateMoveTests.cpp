// The launcher's start, as far as its place on the disk goes.
#include "Common/MoveToApplications/PFMoveApplication.h"
#include "QuillmoreLauncher/Quillmore_LauncherAppDelegate.h"
#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using testing::IsEmpty;
using testing::SizeIs;

class LauncherMove : public LauncherFixture {
protected:
    LauncherMove() {
        services.application.setDelegate(&delegate);
        startFrom(kTestBundlePath);
        setCoreRuns(false);
    }
    void startFrom(const std::string& bundlePath) {
        services.makeFolder(bundlePath);
        services.bundle = std::make_unique<platform::Bundle>(
            services.files, bundlePath, std::vector<std::string>{"en"}, *services.set.problems);
        services.set.mainBundle = services.bundle.get();
        services.set.knownBundles = {services.bundle.get()};
        platform::SharedInstanceBase::forgetAll();
        services.makeResource(
            "Defaults.plist",
            platform::Value(Dictionary{{"FileLogging", "error"}, {"StdioLogging", "normal"}}));
        services.makeResource("en.lproj/Localizable.strings",
                              std::string("\"ProductName\" = \"Quillmore\";"));
    }
    void setCoreRuns(bool runs) {
        services.processes.teach("/bin/sh", {"", {false, runs ? 0 : 1}, {}});
    }
    void start() { EXPECT_THROW(delegate.applicationDidFinishLaunching(), Termination); }
    Quillmore_LauncherAppDelegate delegate;
};

TEST_F(LauncherMove, ProductsNameAndOlderCopiesAreHandedOver) {
    start();
    EXPECT_EQ(PFCurrentMoveSettings().gAltDstBundleName, "Quillmore");
    ASSERT_TRUE(PFCurrentMoveSettings().gAlsoRemoveBundlePaths);
    EXPECT_EQ(*PFCurrentMoveSettings().gAlsoRemoveBundlePaths, delegate.pathsOfOlderCopies());
    EXPECT_THAT(*PFCurrentMoveSettings().gAlsoRemoveBundlePaths, SizeIs(24));
    EXPECT_THAT(services.userInterface.alerts, IsEmpty());
}

TEST_F(LauncherMove, MoveIsOfferedBeforeTheStartIsFinished) {
    startFrom("/Users/jo/Downloads/Quillmore.app");
    services.userInterface.answers = {{1, false}};
    std::vector<std::string> before;
    services.userInterface.onModal = [&] { before = logLines(); };
    start();
    ASSERT_THAT(services.userInterface.alerts, SizeIs(1));
    EXPECT_EQ(before.back(), "(nrm) Quillmore did begin launching...");
    EXPECT_EQ(logLines().front(), "(nrm) Quillmore did finish launching");
    EXPECT_THAT(services.workspace.launched, SizeIs(1));
}

TEST_F(LauncherMove, NameAndOlderCopiesAreKnownWhenTheMoveIsOffered) {
    startFrom("/Users/jo/Downloads/Quillmore.app");
    services.userInterface.answers = {{1, false}};
    PFAltDstBundleName("");
    PFAlsoRemoveBundles({});
    auto known = PFCurrentMoveSettings();
    services.userInterface.onModal = [&] { known = PFCurrentMoveSettings(); };
    start();
    EXPECT_EQ(known.gAltDstBundleName, "Quillmore");
    EXPECT_EQ(known.gAlsoRemoveBundlePaths, delegate.pathsOfOlderCopies());
}

TEST_F(LauncherMove, MovedLauncherEndsWithoutACheck) {
    services.workspace.onRecycle = [&](const std::string& path) {
        return std::filesystem::remove_all(services.host(path)) > 0;
    };
    startFrom("/Users/jo/Downloads/Quillmore.app");
    start();
    EXPECT_THAT(services.workspace.launched, IsEmpty());
    EXPECT_TRUE(services.exists("/Applications/Quillmore.app/Contents/Resources/Defaults.plist"));
    EXPECT_THAT(logLines(),
                testing::Not(testing::Contains("(nrm) Quillmore did finish launching")));
}

TEST_F(LauncherMove, NothingIsOfferedBesideARunningCore) {
    startFrom("/Users/jo/Downloads/Quillmore.app");
    setCoreRuns(true);
    start();
    ASSERT_THAT(services.userInterface.alerts, SizeIs(1));
    EXPECT_EQ(services.userInterface.alerts[0].messageText, "QuillmoreLauncher_AlreadyRunning");
}

}  // namespace
}  // namespace quillmore::tests
