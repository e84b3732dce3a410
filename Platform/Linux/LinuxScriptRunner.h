// There is no scripting of applications on this system: nothing compiles, nothing runs, and every
// attempt says so. Safe on any thread.
#pragma once

#include "Platform/Ports/ScriptRunner.h"

namespace quillmore::platform {

/// The general error of a scripting system.
inline constexpr OSStatus kScriptingNotAvailable = -1750;

class LinuxScriptRunner final : public ScriptRunner {
public:
    std::unique_ptr<Script> createScript(const std::string& source) override;
    /// Always -1750.
    OSStatus compile(Script& script) override;
    /// Always -1750 and no result.
    OSStatus execute(Script& script, std::optional<ScriptDescriptor>& result) override;
};

}  // namespace quillmore::platform
