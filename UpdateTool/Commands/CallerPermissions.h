// Commands that give modes back to what is the caller's own as a rule.
#pragma once

#include <string>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// "repaircore PATH": the core application's folder is 0755 again.
void repairCore(const Context& context, const Arguments& arguments);
/// Whether root's own folder of that path may get its mode back for anybody who asks: NAME.app of
/// the Applications folder, and in it Contents/Resources/NAMECore.app. The path is an absolute one.
bool isCoreOfInstalledApplication(const std::string& path);
/// "fixmonokeypairs PATH": the caller's key pairs are the caller's alone.
void fixMonoKeypairs(const Context& context, const Arguments& arguments);

}  // namespace quillmore::updatetool
