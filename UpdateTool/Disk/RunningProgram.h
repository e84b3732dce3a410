// Whether the program that runs is the one that is installed. A run that its caller stopped goes on
// much later, when an administrator may have installed another program, with another key.
#pragma once

#include <sys/stat.h>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

bool isRunningProgram(const Context& context, const struct stat& status);

/// Fails (EX_NOPERM) unless the running program still has its set-user-ID bit and a name, and is
/// the installed one where there is one, or what was installed meanwhile has the bit and the same
/// bytes. An administrator may run any. Call as root, with the lock held, under which alone a
/// program is installed.
void requireInstalledProgram(const Context& context, int productFolder);

}  // namespace quillmore::updatetool
