// What the services that need a Mac's parts come to on this system, and the privileged run over its
// real authorization.
#include "Common/FinderSupport.h"
#include "Common/NSTask+OneLineTasksWithOutput.h"
#include "Platform/Linux/LinuxAppleEvents.h"
#include "Platform/Linux/LinuxAuthorization.h"
#include "Platform/Linux/LinuxScriptRunner.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using OneLineTasksWithOutput::stringByLaunchingPath;
using platform::fourCharCode;

class FinderOnLinux : public LogTest {
protected:
    FinderOnLinux() {
        services.set.scriptRunner = &scriptRunner;
        services.set.appleEvents = &appleEvents;
    }
    platform::LinuxScriptRunner scriptRunner;
    platform::LinuxAppleEvents appleEvents{services.workspace};
};

TEST_F(FinderOnLinux, NothingIsEverSelected) {
    FinderSupport& finder = FinderSupport::sharedManager();
    EXPECT_TRUE(finder.getSelectedFinderItemsIsRetry(false).empty());
    EXPECT_TRUE(finder.getSelectedFinderItemsIsRetry(true).empty());
    EXPECT_TRUE(FinderSupport::getSelectedFinderItemsNoCacheIsRetry(true).empty());
}

TEST_F(FinderOnLinux, ServersCountAsShownAndStaySo) {
    FinderSupport::setShowConnectedServersOnDesktop(false);
    EXPECT_TRUE(FinderSupport::showConnectedServersOnDesktop());
}

TEST_F(FinderOnLinux, RefreshingAFileIsSilent) {
    CapturedOutput captured;
    configureTerminal("detailed");
    captured.take();
    FinderSupport::updateFileAtPath("/etc/passwd");
    const auto written = captured.take();
    EXPECT_EQ(written.standardOutput + written.standardError, "");
}

TEST_F(FinderOnLinux, ThereIsNoSystemProcessToSendTo) {
    EXPECT_EQ(FinderSupport::sendAppleEventToSystemProcess(fourCharCode("rest")), -600);
}

/// An authorization of somebody who is the administrator already.
class PrivilegedRunOnLinux : public LogTest, public OneLineTasksWithOutput::AuthorizationObject {
protected:
    PrivilegedRunOnLinux() {
        services.set.processes = spawner.get();
        services.set.authorization = &authorization;
        authorization.create(reference);
    }
    ~PrivilegedRunOnLinux() override { authorization.free(std::move(reference)); }
    platform::AuthorizationReference& authorizationRef() override { return *reference; }
    static platform::LinuxAuthorizationOptions rootOptions() {
        platform::LinuxAuthorizationOptions options;
        options.effectiveUser = 0;
        options.programFolder = QUILLMORE_TEST_HELPERS;
        return options;
    }
    std::unique_ptr<platform::ProcessSpawner> spawner = platform::makePosixProcessSpawner();
    platform::LinuxAuthorization authorization{*spawner, rootOptions()};
    std::unique_ptr<platform::AuthorizationReference> reference;
    std::optional<platform::Error> error;
};

TEST_F(PrivilegedRunOnLinux, OutputOfTheToolIsReadToItsEnd) {
    ASSERT_EQ(authorization.copyRights(*reference, {platform::kAuthorizationRightAdministrator}, 0),
              0);
    EXPECT_EQ(stringByLaunchingPath("/bin/sh", {"-c", "head -c 300000 /dev/zero | tr '\\0' x"},
                                    *this, {}, &error),
              std::string(300000, 'x'));
    EXPECT_EQ(error, std::nullopt);
}

TEST_F(PrivilegedRunOnLinux, ExitStatusOfTheToolIsNotLookedAt) {
    ASSERT_EQ(authorization.copyRights(*reference, {platform::kAuthorizationRightAdministrator}, 0),
              0);
    EXPECT_EQ(stringByLaunchingPath("/bin/sh", {"-c", "echo out; exit 9"}, *this, {}, &error),
              "out\n");
    EXPECT_EQ(error, std::nullopt);
}

TEST_F(PrivilegedRunOnLinux, ReferenceWithoutTheRightIsRefused) {
    EXPECT_EQ(stringByLaunchingPath("/bin/echo", {"out"}, *this, {}, &error), std::nullopt);
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code(), static_cast<std::int16_t>(platform::kAuthorizationDenied));
}

}  // namespace
}  // namespace quillmore::tests
