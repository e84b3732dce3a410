// Double of the Apple Event Manager and of the Open Scripting Architecture. In the ledger:
// "descriptor", "component" and "script" (compiled scripts and values alike).
#pragma once

#include <Carbon/Carbon.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace quillmore::apple {

/// A value that a script gives.
struct ScriptValue {
    DescType type = typeNull;
    std::string bytes;
    std::vector<ScriptValue> items;
};

struct EventsDouble {
    bool hasAppleScript = true;
    /// By source; a source that is not here gives no value.
    std::map<std::string, ScriptValue> values;
    /// What happens while a script runs.
    std::function<void()> onExecute;
};

EventsDouble& eventsDouble();
void resetEventsDouble();

/// Text as the system hands it out.
ScriptValue unicodeText(const std::string& utf8);
ScriptValue listOf(std::vector<ScriptValue> items);
/// Readable: "type:bytes".
std::string describe(const AEDesc* descriptor);
std::string fourCharacters(FourCharCode code);
std::string utf16FromUtf8(const std::string& text);
std::string utf8FromUtf16(const std::string& bytes);
/// A descriptor of its own with that content.
AEDesc makeDescriptor(const ScriptValue& value);
const ScriptValue& contentOf(const AEDesc* descriptor);

}  // namespace quillmore::apple
