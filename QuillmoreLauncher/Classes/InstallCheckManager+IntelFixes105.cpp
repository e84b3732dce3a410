// Fixes for Intel machines that run system 10.5: an archive applied at the end of a repair run.
#include "Platform/Files/Paths.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/SystemInformation.h"
#include "Platform/Settings/Bundle.h"
#include "QuillmoreLauncher/Classes/InstallCheckManager+Version.h"
#include "QuillmoreLauncher/Classes/InstallCheckManager.h"
#include "QuillmoreLauncher/Classes/UpdateToolManager.h"

namespace quillmore {

namespace {
constexpr std::int32_t kIntelArchitecture = 10;
}

bool InstallCheckManager::areIntel_10_5FixesRequired() const {
    const auto system = getMacOSXVersion();
    if (!system || system->major != 10 || system->minor != 5) return false;
    return platform::services().systemInformation->gestalt(platform::fourCharCode("sysa")) ==
           kIntelArchitecture;
}

bool InstallCheckManager::installIntel_10_5_Fixes() {
    const std::string folder = platform::services().mainBundle->resourcePath();
    return UpdateToolManager::sharedManager().repairIntel10_5(
               platform::pathByAppending(folder, "Fixes10_5.zip"),
               platform::pathByAppending(folder, "Fixes10_5.plist")) == UpdateToolStatusOK;
}

}  // namespace quillmore
