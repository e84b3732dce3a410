// The services of the upper rings over the bodies of this backend: what they make of the system's
// calls, in order.
#include <signal.h>
#include <sys/socket.h>

#include <array>

#include "Common/FinderScripts.h"
#include "Common/FinderSupport.h"
#include "Common/KeychainManager.h"
#include "Common/NSTask+OneLineTasksWithOutput.h"
#include "Common/utils/Applications.h"
#include "Platform/Mac/MacServices.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "tests/Platform/Mac/AppleTest.h"
#include "tests/apple/doubles/CoreFoundationDouble.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;

constexpr const char* kFinder = "com.apple.finder";

class MacServicesInUse : public AppleTest {
protected:
    MacServicesInUse() {
        services.makeResource("en.lproj/Localizable.strings",
                              std::string("\"ProductName\" = \"Acme\";"));
        bodies.fillIn(services.set);
    }
    static void finderRuns() {
        apple::workspaceDouble().launchedApplications = [] {
            return apple::makeArray({apple::makeDictionary(
                {{"NSApplicationBundleIdentifier", apple::makeString(kFinder)},
                 {"NSApplicationProcessIdentifier", apple::makeNumber(93)}})});
        };
    }

    platform::MacServices bodies;
    TestServices services;
};

TEST_F(MacServicesInUse, QuitRequestIsBuiltSentAndDisposedOf) {
    finderRuns();
    EXPECT_FALSE(quitApplication(kFinder, false, 4.0));
    EXPECT_THAT(calls(), ElementsAre("launchedApplications",
                                     "AEBuildAppleEvent aevt quit bund com.apple.finder -1 0 \"\"",
                                     "AESendMessage aevt:quit - 1 -1", "AEDisposeDesc aevt"));
}

TEST_F(MacServicesInUse, QuitRequestThatIsNotSentIsDisposedOfAllTheSame) {
    finderRuns();
    fail("AESendMessage", -609);
    EXPECT_EQ(quitApplication(kFinder, true, 4.0)->code(), -2);
    EXPECT_EQ(calls().back(), "AEDisposeDesc aevt");
}

TEST_F(MacServicesInUse, ApplicationThatDoesNotRunIsSentNothing) {
    EXPECT_FALSE(quitApplication(kFinder, true, 4.0));
    EXPECT_THAT(calls(), ElementsAre("launchedApplications"));
}

TEST_F(MacServicesInUse, SystemProcessIsAddressedByItsSerialNumber) {
    FinderSupport::initialize();
    calls().clear();
    EXPECT_EQ(FinderSupport::sendAppleEventToSystemProcess('rest'), 0);
    const std::string serialNumber("\0\0\0\0\1\0\0\0", 8);
    EXPECT_THAT(calls(), ElementsAre("AECreateDesc psn  " + serialNumber,
                                     "AECreateAppleEvent aevt rest psn :" + serialNumber + " -1 0",
                                     "AEDisposeDesc psn ", "AESend aevt:rest 1 0 -1",
                                     "AEDisposeDesc aevt", "AEDisposeDesc aevt"));
}

TEST_F(MacServicesInUse, FirstFailureOfAnEventIsTheAnswerAndEverythingIsDisposedOf) {
    fail("AESend", -609);
    EXPECT_EQ(FinderSupport::sendAppleEventToSystemProcess('rest'), -609);
    fail("AECreateAppleEvent", -1701);
    EXPECT_EQ(FinderSupport::sendAppleEventToSystemProcess('rest'), -1701);
    EXPECT_EQ(apple::ledger().countOf("descriptor"), 0);
}

TEST_F(MacServicesInUse, SelectionIsReadByTheCompiledScript) {
    apple::eventsDouble().values[selectionScript()] =
        apple::listOf({apple::unicodeText("/a"), apple::unicodeText("/b")});
    EXPECT_THAT(FinderSupport::getSelectedFinderItemsNoCacheIsRetry(false),
                ElementsAre("/a", "/b"));
    EXPECT_EQ(apple::ledger().countOf("script"), 1);  // the plain one; the other was not run yet
}

TEST_F(MacServicesInUse, ServersCountAsShownWhenTheFinderCannotBeScripted) {
    apple::eventsDouble().values[showConnectedServersScript()] = {typeFalse, "", {}};
    EXPECT_FALSE(FinderSupport::showConnectedServersOnDesktop());
    fail("OSAExecute", -1753);
    EXPECT_TRUE(FinderSupport::showConnectedServersOnDesktop());
}

TEST_F(MacServicesInUse, PasswordIsWrittenOnceAndReadBack) {
    KeychainManager& keychain = KeychainManager::sharedManager();
    EXPECT_TRUE(keychain.savePassword("secret", "anna", nullptr));
    EXPECT_TRUE(keychain.savePassword("other", "anna", nullptr));
    EXPECT_EQ(keychain.getPasswordForUser("anna", nullptr), "other");
    EXPECT_EQ(apple::securityDouble().items.size(), 1U);
    EXPECT_TRUE(apple::securityDouble().items.contains({"Acme", "anna"}));
}

TEST_F(MacServicesInUse, UnreadableItemIsDiscardedAndGivenBack) {
    apple::securityDouble().items[{"Acme", "anna"}] = "record";
    fail("SecKeychainItemCopyAttributesAndData", -26275);
    EXPECT_EQ(KeychainManager::sharedManager().getPasswordForUser("anna", nullptr), std::nullopt);
    EXPECT_TRUE(apple::securityDouble().items.empty());
}

/// A tool that the double starts as a real child, which writes and ends.
class PrivilegedRunOnMac : public MacServicesInUse,
                           public OneLineTasksWithOutput::AuthorizationObject {
protected:
    PrivilegedRunOnMac() {
        services.set.processes = spawner.get();
        services.set.authorization->create(reference);
        apple::securityDouble().onExecute = [this] { return startTool(); };
    }
    ~PrivilegedRunOnMac() override { services.set.authorization->free(std::move(reference)); }
    platform::AuthorizationReference& authorizationRef() override { return *reference; }
    std::FILE* startTool() {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return nullptr;
        platform::ProcessRequest request;
        request.launchPath = "/bin/sh";
        request.arguments = {"-c", "printf %0100d 7"};
        request.standardInput = request.standardOutput = ends[1];
        tool = spawner->spawn(request);
        ::close(ends[1]);
        apple::kernelDouble().processes.push_back({.process = tool, .parent = ::getpid()});
        return ::fdopen(ends[0], "r+");
    }
    /// False once nobody has to wait for it any more.
    bool toolIsInTheTable() const { return ::kill(tool, 0) == 0; }

    std::unique_ptr<platform::ProcessSpawner> spawner = platform::makePosixProcessSpawner();
    std::unique_ptr<platform::AuthorizationReference> reference;
    pid_t tool = 0;
};

TEST_F(PrivilegedRunOnMac, OutputIsReadToItsEndAndTheToolLeavesTheProcessTable) {
    std::optional<platform::Error> error;
    const auto output = OneLineTasksWithOutput::stringByLaunchingPath("/usr/bin/tool", {"list"},
                                                                      *this, nullptr, &error);
    EXPECT_EQ(output, std::string(99, '0') + "7");
    EXPECT_FALSE(error);
    EXPECT_THAT(calls(),
                testing::Contains("AuthorizationExecuteWithPrivileges /usr/bin/tool 0 list |"));
    while (toolIsInTheTable()) ::sched_yield();  // taken by a thread, soon after its end
}

TEST_F(PrivilegedRunOnMac, StatusOfARefusedRunIsTheErrorsCode) {
    fail("AuthorizationExecuteWithPrivileges", -60006);
    std::optional<platform::Error> error;
    EXPECT_FALSE(
        OneLineTasksWithOutput::stringByLaunchingPath("/usr/bin/tool", {}, *this, nullptr, &error));
    EXPECT_EQ(error->code(), static_cast<std::int16_t>(-60006));
}

}  // namespace
}  // namespace quillmore::tests
