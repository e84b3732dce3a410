// Commands that give the installed tools their owners and modes back.
#pragma once

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// "repairpermissions": the installed updateqm is root's again, 04755.
void repairPermissions(const Context& context, const Arguments& arguments);
/// "repairpermissionsother NAME": the installed tool is root's again, 0755.
void repairPermissionsOther(const Context& context, const Arguments& arguments);
/// "repairpermissionsotherroot NAME": the installed root tool is 04755 again.
void repairPermissionsOtherRoot(const Context& context, const Arguments& arguments);

}  // namespace quillmore::updatetool
