// Workspace double: a list of running applications to fill, and a record of launches and of what
// was recycled.
#pragma once

#include <functional>

#include "Platform/Ports/Workspace.h"

namespace quillmore::tests {

class FakeWorkspace final : public platform::Workspace {
public:
    std::vector<platform::Dictionary> running;
    /// Called before each listing, with the number of listings so far: lets an application go away.
    std::function<void(int)> beforeListing;
    int listings = 0;
    bool launchSucceeds = true;
    std::vector<std::optional<std::string>> launched;
    /// Called at each launch.
    std::function<void()> onLaunch;

    std::vector<platform::Dictionary> launchedApplications() override {
        if (beforeListing) beforeListing(listings);
        ++listings;
        return running;
    }
    bool launchApplication(const std::optional<std::string>& path) override {
        launched.push_back(path);
        if (onLaunch) onLaunch();
        return launchSucceeds && path.has_value();
    }
    /// Paths recycled or meant to be, in order.
    std::vector<std::string> recycled;
    /// Takes the item away and answers; without one every item counts as recycled.
    std::function<bool(const std::string& path)> onRecycle;
    bool recycleFile(const std::string& folder, const std::string& name) override {
        const std::string path = (folder == "/" ? "" : folder) + "/" + name;
        recycled.push_back(path);
        return onRecycle ? onRecycle(path) : true;
    }
    void addRunning(const std::string& identifier, std::int64_t process) {
        running.push_back({{platform::kApplicationBundleIdentifier, identifier},
                           {platform::kApplicationProcessIdentifier, process}});
    }
};

}  // namespace quillmore::tests
