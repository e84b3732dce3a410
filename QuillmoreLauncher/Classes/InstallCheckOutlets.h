// What the user-interface file "InstallCheck" lays out: the install-check window and the progress
// sheet over it. Main thread only.
#pragma once

#include "Common/QuillmoreHeaderView.h"
#include "Platform/Interface/Interface.h"

namespace quillmore {

struct InstallCheckOutlets {
    platform::Window checkWindow{"InstallCheck", "checkWindow"};
    QuillmoreHeaderView checkHeaderView{"checkHeaderView"};
    platform::TextField checkText{"checkText"};
    platform::Button checkInstall{"checkInstall"};
    platform::Button checkDontInstall{"checkDontInstall"};
    platform::Window repairProgressWindow{"InstallCheck", "repairProgressWindow"};
    platform::ProgressIndicator repairProgressIndicator{"repairProgressIndicator"};
    platform::TextField repairProgressText{"repairProgressText"};
};

}  // namespace quillmore
