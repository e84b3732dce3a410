#include "Common/utils/Applications.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "Common/utils/Errors.h"
#include "Common/utils/Logging.h"
#include "Platform/Ports/AppleEvents.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/Workspace.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Threads/Clock.h"
#include "Platform/Values/Format.h"

namespace quillmore {

namespace {

platform::Error clientError(std::int64_t code, const char* summary, std::string message) {
    return {ClientErrorDomain,
            code,
            {{platform::kLocalizedFailureReasonKey, summary},
             {platform::kLocalizedDescriptionKey, std::move(message)}}};
}

platform::Error quitError(std::int64_t code, std::string message) {
    return clientError(code, "quitApplication failed", std::move(message));
}

platform::Error loggedQuitError(std::int64_t code, std::string message) {
    logVerbose("%@", message);
    return quitError(code, std::move(message));
}

/// Deliberate: "wth" is the product's spelling.
std::optional<platform::Error> sendQuitEvent(const std::string& bundleIdentifier) {
    platform::AppleEvents& appleEvents = *platform::services().appleEvents;
    platform::AppleEventRequest request;
    request.eventClass = platform::fourCharCode("aevt");
    request.eventIdentifier = platform::fourCharCode("quit");
    request.addressType = platform::fourCharCode("bund");
    request.addressBytes = bundleIdentifier;
    std::unique_ptr<platform::AppleEvent> event;
    if (const auto status = appleEvents.build(request, event); status != 0) {
        return loggedQuitError(
            -1, platform::format("Request to quit app wth id \"%@\" failed (AEBuildAppleEvent "
                                 "failed with error %d)",
                                 bundleIdentifier, status));
    }
    const auto status =
        appleEvents.send(*event, platform::kAppleEventNoReply, platform::kAppleEventDefaultTimeOut);
    event.reset();
    if (status == 0) return std::nullopt;
    return loggedQuitError(
        -2, platform::format("Request to quit app wth id \"%@\" failed (AESendMessage failed with "
                             "error %d)",
                             bundleIdentifier, status));
}

bool didQuit(const std::string& bundleIdentifier) {
    if (isApplicationRunning(bundleIdentifier)) return false;
    logVerbose("App with id \"%@\" did quit", bundleIdentifier);
    return true;
}

/// True when the application went before `timeOut` nominal seconds were over.
bool waitUntilQuit(const std::string& bundleIdentifier, double timeOut) {
    if (didQuit(bundleIdentifier)) return true;
    double elapsed = 0;
    double interval = 0.25;
    for (;;) {
        // Deliberate: whole seconds only, so that the first looks come back to back.
        platform::services().clock->sleepFor(platform::Clock::Seconds(std::trunc(interval)));
        elapsed += interval;
        if (elapsed >= timeOut) return false;
        interval = std::min(interval * 1.5, 2.0);
        logVerbose("Waiting for app with id \"%@\" to quit", bundleIdentifier);
        if (didQuit(bundleIdentifier)) return true;
    }
}

}  // namespace

std::optional<platform::Dictionary> launchedApplication(const std::string& bundleIdentifier) {
    for (platform::Dictionary& record : platform::services().workspace->launchedApplications()) {
        if (platform::stringForKey(record, platform::kApplicationBundleIdentifier) ==
            bundleIdentifier) {
            return std::move(record);
        }
    }
    return std::nullopt;
}

std::optional<platform::Error> quitApplication(const std::string& bundleIdentifier, bool wait,
                                               double timeOut) {
    if (!isApplicationRunning(bundleIdentifier)) {
        logVerbose("Not requesting app with id \"%@\" to quit because it isn't running",
                   bundleIdentifier);
        return std::nullopt;
    }
    logVerbose("Requesting app with id \"%@\" to quit...", bundleIdentifier);
    if (auto error = sendQuitEvent(bundleIdentifier)) return error;
    logVerbose("Requested app with id \"%@\" to quit", bundleIdentifier);
    if (!wait || waitUntilQuit(bundleIdentifier, timeOut)) return std::nullopt;
    return quitError(-3,
                     platform::format("Timed out waiting for app with id \"%@\" to quit after %lds",
                                      bundleIdentifier, static_cast<long>(timeOut)));
}

bool isApplicationRunning(const std::string& bundleIdentifier) {
    return launchedApplication(bundleIdentifier).has_value();
}

std::optional<platform::Error> launchApplication(const std::string& bundleIdentifier) {
    const auto& bundles = platform::services().knownBundles;
    const auto found = std::find_if(bundles.begin(), bundles.end(), [&](const auto* bundle) {
        return bundle->bundleIdentifier() == bundleIdentifier;
    });
    if (found == bundles.end()) {
        return clientError(
            -1, "launchApplication failed",
            platform::format("bundleWithIdentifier \"%@\" failed", bundleIdentifier));
    }
    const std::string& path = (*found)->bundlePath();
    if (platform::services().workspace->launchApplication(path)) return std::nullopt;
    return launchApplicationError(path);
}

std::optional<std::string> pathsToApplication() {
    return std::nullopt;
}

platform::Error launchApplicationError(const std::string& path) {
    return clientError(-1, "launchApplication failed",
                       platform::format("launchApplication \"%@\" failed", path));
}

}  // namespace quillmore
