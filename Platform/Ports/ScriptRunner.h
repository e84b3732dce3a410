// Port: scripts for other applications, compiled from their source at run time. Objects and calls
// are those of the platform's script objects. Test double: FakeScriptRunner.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Ports/Authorization.h"
#include "Platform/Ports/SystemInformation.h"

namespace quillmore::platform {

inline constexpr FourCharCode kScriptTypeNull = fourCharCode("null");
inline constexpr FourCharCode kScriptTypeList = fourCharCode("list");

/// What a script handed back.
struct ScriptDescriptor {
    FourCharCode type = kScriptTypeNull;
    std::vector<std::string> items;  ///< The string values of a list's items, in order.
    bool booleanValue = false;       ///< False for what cannot be made a boolean.
};

/// A script object; each body derives its own. Releasing it is its destruction.
class Script {
public:
    virtual ~Script() = default;
};

class ScriptRunner {
public:
    virtual ~ScriptRunner() = default;
    /// A script object for a source text, not compiled yet; never null.
    virtual std::unique_ptr<Script> createScript(const std::string& source) = 0;
    /// 0, or the status of what is wrong with the source or with scripting itself.
    virtual OSStatus compile(Script& script) = 0;
    /// Compiles first when that was not done; blocks until the script has ended. With a status
    /// other than 0 there is no result.
    virtual OSStatus execute(Script& script, std::optional<ScriptDescriptor>& result) = 0;
};

}  // namespace quillmore::platform
