// Port: the desktop's view of running applications. Test double: FakeWorkspace.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Values/Value.h"

namespace quillmore::platform {

inline constexpr const char* kApplicationBundleIdentifier = "NSApplicationBundleIdentifier";
inline constexpr const char* kApplicationProcessIdentifier = "NSApplicationProcessIdentifier";

class Workspace {
public:
    virtual ~Workspace() = default;
    /// One record a running application, oldest first, with at least the two keys above (a string
    /// and an integer; the identifier is missing when the bundle has none).
    virtual std::vector<Dictionary> launchedApplications() = 0;
    /// Starts the application at a path: an application bundle, or the executable inside one. It
    /// runs on its own and outlives the caller. False when it could not be started; a nil path does
    /// nothing.
    virtual bool launchApplication(const std::optional<std::string>& path) = 0;
    /// Moves the item of that name in the folder to the user's Trash; a link itself, not what it
    /// leads to. False when there is no Trash for it or the move fails: then the item is where it
    /// was.
    virtual bool recycleFile(const std::string& folder, const std::string& name) = 0;
};

}  // namespace quillmore::platform
