#include "Common/FinderScripts.h"

#include <array>

#include "Platform/Values/Format.h"

namespace quillmore {

namespace {

constexpr std::array kSelectionLines = {
    "tell application \"Finder\"",
    "set alist to selection as alias list",
    "set plist to {}",
    "repeat with afile in alist",
    "set end of plist to (POSIX path of (afile as text))",
    "end repeat",
    "end tell",
    "return plist",
};

constexpr std::array kActivationLines = {
    "tell application \"%@Core\"", "activate", "end tell",
    "tell application \"Finder\"", "activate",
};

/// Lines parted, not ended, by line feeds.
void appendLine(std::string& script, const char* indentation, const char* line) {
    if (!script.empty()) script += '\n';
    script += indentation;
    script += line;
}

}  // namespace

std::string selectionScript() {
    std::string script;
    for (const char* line : kSelectionLines) appendLine(script, "\t\t\t ", line);
    return script;
}

std::string retrySelectionScript(const std::string& productName) {
    constexpr const char* indentation = "\t\t\t\t\t\t\t\t\t  ";
    std::string script;
    for (const char* line : kActivationLines) appendLine(script, indentation, line);
    // The Finder is being told already.
    for (std::size_t index = 1; index < kSelectionLines.size(); ++index)
        appendLine(script, indentation, kSelectionLines.at(index));
    return platform::format(script, productName);
}

std::string showConnectedServersScript() {
    return "on run argv\ntell application \"Finder\"\n"
           "return desktop shows connected servers of Finder preferences\n"
           "end tell\nend run\n";
}

std::string setShowConnectedServersScript(bool show) {
    return platform::format(
        "on run argv\ntell application \"Finder\"\n"
        "set desktop shows connected servers of Finder preferences to %@\n"
        "end tell\nend run\n",
        show ? "true" : "false");
}

std::string updateFileScript(const std::string& path) {
    return platform::format(
        "tell application \"Finder\"\nset fileAlias to POSIX file \"%@\"\n"
        "update fileAlias\nend tell",
        path);
}

}  // namespace quillmore
