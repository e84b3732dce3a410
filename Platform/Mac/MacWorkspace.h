// The desktop by NSWorkspace. Keeps no state.
#pragma once

#include "Platform/Ports/Workspace.h"

namespace quillmore::platform {

class MacWorkspace final : public Workspace {
public:
    /// The two keys of the port, in the workspace's own order.
    std::vector<Dictionary> launchedApplications() override;
    bool launchApplication(const std::optional<std::string>& path) override;
    /// The workspace's "recycle" operation.
    bool recycleFile(const std::string& folder, const std::string& name) override;
};

}  // namespace quillmore::platform
