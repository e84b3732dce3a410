// What the launcher does when the application has come up: configure, refuse to run beside a
// running core, offer to move into the Applications folder, check the installation, start the core
// and end. Main thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Common/BrandSource.h"
#include "Platform/Interface/Application.h"
#include "Platform/Values/Value.h"

namespace quillmore {

/// The bundle identifier of an installed copy of the client.
inline constexpr const char* ClientAppBundleIdentifier = "com.quillmore.client";

class Quillmore_LauncherAppDelegate final : public platform::ApplicationDelegate,
                                            public BrandSource {
public:
    using Paths = std::optional<std::vector<std::string>>;

    /// Returns only when the install-check window has been shown. Raises what the configuration of
    /// the log and the start of an installed tool raise.
    void applicationDidFinishLaunching() override;
    /// Ends the process when the core runs already, after telling the user.
    void ensureCoreNotRunning() const;
    /// `pathsForIdent:fromPath:foundPaths:`: adds the application bundles with the identifier below
    /// a folder to the array, which is made when there is none yet. Bundles are not searched
    /// inside. Null: the search is made for nothing. Folders that cannot be read count as empty;
    /// loops of links, and trees beyond any real one, are cut.
    void pathsForIdent(const std::string& ident, const std::string& fromPath,
                       Paths* foundPaths) const;
    /// Where older copies of the client lie: those found in the user's and the machine's
    /// Applications folders, then every path of `fixedPathsOfOlderCopies`.
    std::vector<std::string> pathsOfOlderCopies() const;
    /// Places that copies were installed at, there or not, with the "~" not expanded.
    std::vector<std::string> fixedPathsOfOlderCopies() const;
    /// Starts the core and ends the process, without waiting for the core. Does not return.
    void launchCore() const;
    std::int32_t brandId() const override;

private:
    /// The resource "Config.plist"; absent when it is missing or unreadable.
    std::optional<platform::Dictionary> config;
    std::string logFilePath;
};

}  // namespace quillmore
