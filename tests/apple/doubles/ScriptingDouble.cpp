#include <cstdint>

#include "tests/apple/doubles/EventsDouble.h"
#include "tests/apple/doubles/Ledger.h"

using namespace quillmore::apple;

namespace quillmore::apple {

namespace {

/// Compiled scripts and values by their identifiers, which are never used twice.
std::map<OSAID, std::string> sources;
std::map<OSAID, ScriptValue> results;
OSAID lastIdentifier = 0;
char theComponent = 0;

const void* keyOf(OSAID identifier) {
    return reinterpret_cast<const void*>(std::uintptr_t{identifier});
}

OSAID newIdentifier() {
    ledger().handOut(keyOf(++lastIdentifier), "script");
    return lastIdentifier;
}

bool isComponent(ComponentInstance instance) {
    return reinterpret_cast<char*>(instance) == &theComponent;
}

}  // namespace

EventsDouble& eventsDouble() {
    static EventsDouble instance;
    return instance;
}

void resetEventsDouble() {
    eventsDouble() = EventsDouble();
}

}  // namespace quillmore::apple

ComponentInstance OpenDefaultComponent(OSType componentType, OSType componentSubType) {
    ledger().enter("OpenDefaultComponent",
                   {fourCharacters(componentType), fourCharacters(componentSubType)});
    if (!eventsDouble().hasAppleScript) return nullptr;
    ledger().handOut(&theComponent, "component");
    return reinterpret_cast<ComponentInstance>(&theComponent);
}

OSErr CloseComponent(ComponentInstance aComponentInstance) {
    ledger().takeBack(aComponentInstance, "component");
    return noErr;
}

OSAError OSACompile(ComponentInstance scriptingComponent, const AEDesc* sourceData,
                    SInt32 modeFlags, OSAID* previousAndResultingScriptID) {
    const std::string source = sourceData->descriptorType == typeUnicodeText
                                   ? utf8FromUtf16(contentOf(sourceData).bytes)
                                   : "not Unicode text";
    const int status = ledger().enter("OSACompile", {source, std::to_string(modeFlags)});
    if (!isComponent(scriptingComponent) || *previousAndResultingScriptID != kOSANullScript)
        ledger().problems.emplace_back("OSACompile with a stale identifier or component");
    if (status != 0) return status;
    *previousAndResultingScriptID = newIdentifier();
    sources[*previousAndResultingScriptID] = source;
    return noErr;
}

OSAError OSAExecute(ComponentInstance scriptingComponent, OSAID compiledScriptID, OSAID contextID,
                    SInt32 modeFlags, OSAID* resultingScriptValueID) {
    const std::string& source = sources.at(compiledScriptID);
    const int status = ledger().enter(
        "OSAExecute", {source, std::to_string(contextID), std::to_string(modeFlags)});
    if (!isComponent(scriptingComponent) || !ledger().isAlive(keyOf(compiledScriptID)))
        ledger().problems.emplace_back("OSAExecute of what is not alive");
    *resultingScriptValueID = kOSANullScript;
    if (eventsDouble().onExecute) eventsDouble().onExecute();
    if (status != 0) return status;
    const auto value = eventsDouble().values.find(source);
    if (value == eventsDouble().values.end()) return noErr;
    *resultingScriptValueID = newIdentifier();
    results[*resultingScriptValueID] = value->second;
    return noErr;
}

OSAError OSACoerceToDesc(ComponentInstance, OSAID scriptID, DescType desiredType, SInt32 modeFlags,
                         AEDesc* result) {
    const int status =
        ledger().enter("OSACoerceToDesc", {fourCharacters(desiredType), std::to_string(modeFlags)});
    if (status != 0) return status;
    *result = makeDescriptor(results.at(scriptID));
    return noErr;
}

OSAError OSADispose(ComponentInstance scriptingComponent, OSAID scriptID) {
    if (!isComponent(scriptingComponent))
        ledger().problems.emplace_back("OSADispose without the component");
    ledger().takeBack(keyOf(scriptID), "script");
    return noErr;
}
