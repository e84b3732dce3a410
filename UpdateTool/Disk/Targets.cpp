#include "UpdateTool/Disk/Targets.h"

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

std::set<std::string> targetFolders() {
    std::set<std::string> folders;
    for (const Target& target : targets())
        folders.insert(target.folders.begin(), target.folders.end());
    return folders;
}

bool isTargetFolder(const std::string& folder) {
    return targetFolders().count(folder) != 0;
}

}  // namespace quillmore::updatetool
