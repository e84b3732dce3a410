// Commands that change modes and owners only.
#pragma once

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// "repairpermissions": the installed updateqm is root's again, 04755.
void repairPermissions(const Context& context, const Arguments& arguments);
/// "repairpermissionsother NAME": the installed tool is root's again, 0755.
void repairPermissionsOther(const Context& context, const Arguments& arguments);
/// "repairpermissionsotherroot NAME": the installed root tool is 04755 again.
void repairPermissionsOtherRoot(const Context& context, const Arguments& arguments);
/// "repaircore PATH": the core application's folder is 0755 again.
void repairCore(const Context& context, const Arguments& arguments);
/// "fixmonokeypairs PATH": the caller's key pairs are the caller's alone.
void fixMonoKeypairs(const Context& context, const Arguments& arguments);

}  // namespace quillmore::updatetool
