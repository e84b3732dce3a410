#include "Platform/Linux/LinuxScriptRunner.h"

namespace quillmore::platform {

std::unique_ptr<Script> LinuxScriptRunner::createScript(const std::string&) {
    return std::make_unique<Script>();
}

OSStatus LinuxScriptRunner::compile(Script&) {
    return kScriptingNotAvailable;
}

OSStatus LinuxScriptRunner::execute(Script&, std::optional<ScriptDescriptor>& result) {
    result.reset();
    return kScriptingNotAvailable;
}

}  // namespace quillmore::platform
