// Other running applications: asking one to quit, testing for one, launching one. Synchronous, any
// thread.
#pragma once

#include <optional>
#include <string>

#include "Platform/Values/Error.h"
#include "Platform/Values/Value.h"

namespace quillmore {

/// Nothing on success or when it does not run. `timeOut` in seconds. Errors are of
/// ClientErrorDomain: -1 the event could not be built, -2 not sent, -3 the application still runs
/// after the time-out.
std::optional<platform::Error> quitApplication(const std::string& bundleIdentifier, bool wait,
                                               double timeOut);
/// The workspace's first record with that bundle identifier; nothing when it does not run.
std::optional<platform::Dictionary> launchedApplication(const std::string& bundleIdentifier);
bool isApplicationRunning(const std::string& bundleIdentifier);
/// Error -1 of ClientErrorDomain when no such bundle is known or it could not be launched.
std::optional<platform::Error> launchApplication(const std::string& bundleIdentifier);
/// Always absent; kept for the common interface.
std::optional<std::string> pathsToApplication();
/// The error that a failed launch of a path gives: "launchApplication \"PATH\" failed", code -1.
platform::Error launchApplicationError(const std::string& path);

}  // namespace quillmore
