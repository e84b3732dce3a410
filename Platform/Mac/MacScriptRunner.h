// AppleScript through the Open Scripting Architecture. Any thread: scripts run one at a time.
#pragma once

#include "Platform/Ports/ScriptRunner.h"

namespace quillmore::platform {

class ScriptingComponent;

class MacScriptRunner final : public ScriptRunner {
public:
    MacScriptRunner();
    ~MacScriptRunner() override;
    /// Scripts may outlive the runner.
    std::unique_ptr<Script> createScript(const std::string& source) override;
    /// A script that was compiled stays as it is. -1762 when AppleScript cannot be had, -1753 for a
    /// source that does not compile.
    OSStatus compile(Script& script) override;
    /// -1753 when the script stopped with an error. Items of a list that have no string value are
    /// left out.
    OSStatus execute(Script& script, std::optional<ScriptDescriptor>& result) override;

private:
    std::shared_ptr<ScriptingComponent> component_;  // connected to on first use
};

}  // namespace quillmore::platform
