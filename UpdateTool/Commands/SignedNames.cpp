#include "UpdateTool/Commands/SignedNames.h"

#include <algorithm>

#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {

void requireExactly(const std::string& name, const std::string& expected) {
    if (name != expected)
        fail(EX_USAGE, "the name is " + quoted(name) + ", not " + quoted(expected));
}

}  // namespace

SplitPath requireInstallPath(const std::string& path, const Target& target) {
    SplitPath split = splitPath(path);
    if (std::count(target.folders.begin(), target.folders.end(), split.folder) == 0)
        fail(EX_USAGE, "nothing may be installed at " + quoted(path));
    requirePlainName(split.name);
    requireUnreservedName(split.name);
    return split;
}

void requireUpdateToolsName(const std::string& name) {
    requireExactly(name, kUpdateToolName);
}

void requireOrdinaryToolsName(const std::string& name) {
    requireToolName(name);
    requireUnreservedName(name);
}

void requireZipItemsPath(const std::string& name) {
    requireInstallPath(name, targetOf("repairzipitem"));
}

void requireApplicationsPath(const std::string& name) {
    if (!name.ends_with(".app")) fail(EX_USAGE, quoted(name) + " is not an application");
    requireInstallPath(name, targetOf("applyfullupdate"));
}

void requireFixesName(const std::string& name) {
    requireExactly(name, kIntelFixesName);
}

void requireNoName(const std::string& name) {
    requireExactly(name, "");
}

}  // namespace quillmore::updatetool
