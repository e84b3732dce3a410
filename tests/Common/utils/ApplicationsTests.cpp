#include "Common/utils/Applications.h"

#include "Common/utils/Errors.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kFinder = "com.apple.finder";

class Applications : public LogTest {
protected:
    Applications() { configureTerminal("error"); }
    void runFinder() { services.workspace.addRunning(kFinder, 77); }
    /// The application is gone from the given listing on; the first has number 0.
    void finderGoesAtListing(int number) {
        services.workspace.beforeListing = [this, number](int listing) {
            if (listing == number) services.workspace.running.clear();
        };
    }
    /// The messages that an act logs at the verbose level.
    template <class Act>
    static std::vector<std::string> verboseMessages(Act act) {
        CapturedOutput captured;
        configureTerminal("verbose");
        captured.take();
        act();
        return messages(captured.take().standardOutput);
    }
    std::vector<double> sleeps() const { return services.clock.sleeps(); }
};

void expectError(const std::optional<platform::Error>& error, std::int64_t code,
                 const std::string& summary, const std::string& message) {
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->domain(), ClientErrorDomain);
    EXPECT_EQ(error->code(), code);
    EXPECT_EQ(error->localizedFailureReason(), summary);
    EXPECT_EQ(error->localizedDescription(), message);
}

TEST_F(Applications, QuittingWhatDoesNotRunSendsNothing) {
    const auto logged =
        verboseMessages([] { EXPECT_EQ(quitApplication(kFinder, true, 4.0), std::nullopt); });
    EXPECT_THAT(services.appleEvents.built, IsEmpty());
    EXPECT_THAT(logged, ElementsAre("Not requesting app with id \"com.apple.finder\" to quit "
                                    "because it isn't running"));
}

TEST_F(Applications, QuitEventIsAddressedByBundleIdentifier) {
    runFinder();
    quitApplication(kFinder, false, 4.0);
    ASSERT_EQ(services.appleEvents.built.size(), 1U);
    const platform::AppleEventRequest& request = services.appleEvents.built[0];
    EXPECT_EQ(request.eventClass, platform::fourCharCode("aevt"));
    EXPECT_EQ(request.eventIdentifier, platform::fourCharCode("quit"));
    EXPECT_EQ(request.addressType, platform::fourCharCode("bund"));
    EXPECT_EQ(request.addressBytes, kFinder);
    EXPECT_EQ(request.returnIdentifier, -1);
    EXPECT_EQ(request.transactionIdentifier, 0);
}

TEST_F(Applications, QuitEventIsSentWithoutReplyAndWithTheDefaultTimeOut) {
    runFinder();
    quitApplication(kFinder, false, 4.0);
    ASSERT_EQ(services.appleEvents.sent.size(), 1U);
    EXPECT_EQ(services.appleEvents.sent[0].sendMode, 1);
    EXPECT_EQ(services.appleEvents.sent[0].timeOut, -1);
    EXPECT_EQ(services.appleEvents.alive, 0);
}

TEST_F(Applications, EventThatCannotBeBuiltIsErrorMinusOneAndLogged) {
    runFinder();
    services.appleEvents.buildStatus = -1701;
    const std::string text =
        "Request to quit app wth id \"com.apple.finder\" failed (AEBuildAppleEvent failed with "
        "error -1701)";
    const auto logged = verboseMessages([&] {
        expectError(quitApplication(kFinder, true, 4.0), -1, "quitApplication failed", text);
    });
    EXPECT_THAT(logged,
                ElementsAre("Requesting app with id \"com.apple.finder\" to quit...", text));
    EXPECT_THAT(services.appleEvents.sent, IsEmpty());
}

TEST_F(Applications, EventThatCannotBeSentIsErrorMinusTwoAndLogged) {
    runFinder();
    services.appleEvents.sendStatus = -600;
    const std::string text =
        "Request to quit app wth id \"com.apple.finder\" failed (AESendMessage failed with error "
        "-600)";
    const auto logged = verboseMessages([&] {
        expectError(quitApplication(kFinder, true, 4.0), -2, "quitApplication failed", text);
    });
    EXPECT_THAT(logged,
                ElementsAre("Requesting app with id \"com.apple.finder\" to quit...", text));
    EXPECT_EQ(services.appleEvents.alive, 0);
    EXPECT_THAT(sleeps(), IsEmpty());
}

TEST_F(Applications, WithoutWaitingSuccessIsAtOnceThoughTheApplicationStaysOn) {
    runFinder();
    const auto logged =
        verboseMessages([] { EXPECT_EQ(quitApplication(kFinder, false, 4.0), std::nullopt); });
    EXPECT_THAT(logged, ElementsAre("Requesting app with id \"com.apple.finder\" to quit...",
                                    "Requested app with id \"com.apple.finder\" to quit"));
    EXPECT_EQ(services.workspace.listings, 1);
}

TEST_F(Applications, ApplicationThatGoesAtOnceIsNotWaitedFor) {
    runFinder();
    finderGoesAtListing(1);
    const auto logged =
        verboseMessages([] { EXPECT_EQ(quitApplication(kFinder, true, 4.0), std::nullopt); });
    EXPECT_THAT(logged, ElementsAre("Requesting app with id \"com.apple.finder\" to quit...",
                                    "Requested app with id \"com.apple.finder\" to quit",
                                    "App with id \"com.apple.finder\" did quit"));
    EXPECT_THAT(sleeps(), IsEmpty());
}

TEST_F(Applications, ApplicationThatGoesLaterIsWaitedFor) {
    runFinder();
    finderGoesAtListing(3);
    const auto logged =
        verboseMessages([] { EXPECT_EQ(quitApplication(kFinder, true, 4.0), std::nullopt); });
    EXPECT_THAT(logged, ElementsAre("Requesting app with id \"com.apple.finder\" to quit...",
                                    "Requested app with id \"com.apple.finder\" to quit",
                                    "Waiting for app with id \"com.apple.finder\" to quit",
                                    "Waiting for app with id \"com.apple.finder\" to quit",
                                    "App with id \"com.apple.finder\" did quit"));
    EXPECT_THAT(sleeps(), ElementsAre(0, 0));
}

TEST_F(Applications, ApplicationThatStaysIsErrorMinusThreeAfterTheTimeOut) {
    runFinder();
    expectError(quitApplication(kFinder, true, 4.0), -3, "quitApplication failed",
                "Timed out waiting for app with id \"com.apple.finder\" to quit after 4s");
}

TEST_F(Applications, TimeOutOfFourSecondsSleepsTwoInSixRoundsAndChecksFiveTimes) {
    runFinder();
    quitApplication(kFinder, true, 4.0);
    EXPECT_THAT(sleeps(), ElementsAre(0, 0, 0, 0, 1, 1));
    EXPECT_EQ(services.workspace.listings, 2 + 5);
}

TEST_F(Applications, TimingOutIsNotLogged) {
    runFinder();
    const auto logged = verboseMessages([] { quitApplication(kFinder, true, 0.3); });
    EXPECT_THAT(logged, ElementsAre("Requesting app with id \"com.apple.finder\" to quit...",
                                    "Requested app with id \"com.apple.finder\" to quit",
                                    "Waiting for app with id \"com.apple.finder\" to quit"));
}

TEST_F(Applications, TimeOutOfZeroSleepsOnceForZeroSeconds) {
    runFinder();
    expectError(quitApplication(kFinder, true, 0), -3, "quitApplication failed",
                "Timed out waiting for app with id \"com.apple.finder\" to quit after 0s");
    EXPECT_THAT(sleeps(), ElementsAre(0));
    EXPECT_EQ(services.workspace.listings, 2);
}

TEST_F(Applications, TimeOutReachedExactlyEndsTheWait) {
    runFinder();
    EXPECT_TRUE(quitApplication(kFinder, true, 0.25).has_value());
    EXPECT_THAT(sleeps(), ElementsAre(0));
}

TEST_F(Applications, TimeOutInTheMessageIsCutToWholeSeconds) {
    runFinder();
    expectError(quitApplication(kFinder, true, 1.9), -3, "quitApplication failed",
                "Timed out waiting for app with id \"com.apple.finder\" to quit after 1s");
}

TEST_F(Applications, RoundsNeverGrowBeyondTwoSeconds) {
    runFinder();
    quitApplication(kFinder, true, 12.0);
    EXPECT_THAT(sleeps(), ElementsAre(0, 0, 0, 0, 1, 1, 2, 2, 2, 2));
}

TEST_F(Applications, NothingOfAllThisIsLoggedAtTheNormalLevel) {
    CapturedOutput captured;
    configureTerminal("normal");
    captured.take();
    quitApplication(kFinder, true, 4.0);
    runFinder();
    quitApplication(kFinder, true, 4.0);
    services.appleEvents.buildStatus = -1701;
    quitApplication(kFinder, true, 4.0);
    services.appleEvents.buildStatus = 0;
    services.appleEvents.sendStatus = -600;
    quitApplication(kFinder, true, 4.0);
    services.appleEvents.sendStatus = 0;
    finderGoesAtListing(services.workspace.listings + 1);
    EXPECT_EQ(quitApplication(kFinder, true, 4.0), std::nullopt);
    const CapturedOutput::Streams streams = captured.take();
    EXPECT_EQ(streams.standardOutput + streams.standardError, "");
}

TEST_F(Applications, ApplicationRunsWhenALaunchedOneHasTheSameIdentifier) {
    services.workspace.addRunning("com.apple.finder2", 1);
    services.workspace.running.push_back({{platform::kApplicationProcessIdentifier, 2}});
    EXPECT_FALSE(isApplicationRunning(kFinder));
    EXPECT_FALSE(isApplicationRunning(""));
    runFinder();
    EXPECT_TRUE(isApplicationRunning(kFinder));
    EXPECT_FALSE(isApplicationRunning("com.apple.Finder"));
}

TEST_F(Applications, LaunchingAnUnknownBundleIsAnError) {
    expectError(launchApplication("com.example.none"), -1, "launchApplication failed",
                "bundleWithIdentifier \"com.example.none\" failed");
    EXPECT_THAT(services.workspace.launched, IsEmpty());
}

class KnownApplications : public Applications {
protected:
    KnownApplications() {
        services.makePropertyList(std::string(kTestBundlePath) + "/Contents/Info.plist",
                                  platform::Dictionary{{"CFBundleIdentifier", "com.example.me"}});
    }
};

TEST_F(KnownApplications, LaunchingAKnownBundleStartsItsPath) {
    EXPECT_EQ(launchApplication("com.example.me"), std::nullopt);
    EXPECT_THAT(services.workspace.launched,
                ElementsAre(std::optional<std::string>(kTestBundlePath)));
}

TEST_F(KnownApplications, LaunchThatFailsIsAnErrorWithThePath) {
    services.workspace.launchSucceeds = false;
    expectError(launchApplication("com.example.me"), -1, "launchApplication failed",
                "launchApplication \"/Applications/Quillmore.app\" failed");
}

TEST_F(Applications, LaunchErrorNamesThePath) {
    expectError(launchApplicationError("/x.app"), -1, "launchApplication failed",
                "launchApplication \"/x.app\" failed");
}

TEST_F(Applications, PathsToApplicationAreAlwaysAbsent) {
    EXPECT_EQ(pathsToApplication(), std::nullopt);
}

}  // namespace
}  // namespace quillmore::tests
