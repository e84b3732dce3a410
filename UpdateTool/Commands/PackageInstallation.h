// "repairpackage PACKAGE": a flat installer package whose signature lies beside it as PACKAGE.sig.
#pragma once

#include <string>

#include "UpdateTool/Disk/Staging.h"
#include "UpdateTool/Ground/Context.h"
#include "UpdateTool/Packages/Packages.h"

namespace quillmore::updatetool {

void repairPackage(const Context& context, const Arguments& arguments);

/// The last step, when the package was checked and its item is staged under its name. Where the
/// system has an installer of its own for such packages it gets a copy that only root can change;
/// elsewhere the staged item is put in place.
void installStagedPackage(const Context& context, const Bytes& package, Staging& staging,
                          const std::string& name);

}  // namespace quillmore::updatetool
