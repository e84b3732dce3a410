#include "UpdateTool/Disk/Targets.h"

#include <algorithm>
#include <cstdlib>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

namespace {

const std::vector<Target>& targets() {
    static const std::vector<Target> table = {
        {"repair", {kProductFolder}, 04755},
        {"repairother", {kProductFolder}, 0755},
        {"repairotherroot", {kProductFolder}, 04755},
        {"repairzipitem",
         {"/Library/Contextual Menu Items", kProductFolder,
          "/Library/Application Support/SIMBL/Plugins"},
         0644,
         Executables::inMacOSFolders},
        {"repairintel10_5", {kProductFolder}, 0644, Executables::inMacOSFolders},
        {"applyfullupdate", {kApplicationsFolder}, 0644, Executables::asPacked},
        {"repairpackage",
         {"/Library/Filesystems", "/Library/Frameworks"},
         0644,
         Executables::asPacked},
    };
    return table;
}

}  // namespace

const Target& targetOf(const std::string& command) {
    for (const Target& target : targets())
        if (command == target.command) return target;
    std::abort();
}

bool isTargetFolder(const std::string& folder) {
    return std::any_of(targets().begin(), targets().end(), [&](const Target& target) {
        return std::count(target.folders.begin(), target.folders.end(), folder) != 0;
    });
}

}  // namespace quillmore::updatetool
