// The calls, types and constants of Carbon that are used here: AESend and the Open Scripting
// Architecture.
#pragma once

#include "../CoreServices/CoreServices.h"

extern "C" {

typedef SInt16 AESendPriority;
typedef Boolean (*AEIdleUPP)(struct EventRecord*, SInt32*, void*, void*);
typedef Boolean (*AEFilterUPP)(struct EventRecord*, SInt32, SInt32, const AppleEvent*);

enum { kAENormalPriority = 0x00000000 };

OSErr AESend(const AppleEvent* theAppleEvent, AppleEvent* reply, AESendMode sendMode,
             AESendPriority sendPriority, SInt32 timeOutInTicks, AEIdleUPP idleProc,
             AEFilterUPP filterProc);

typedef ComponentResult OSAError;
typedef UInt32 OSAID;

enum : OSType { kOSAComponentType = 'osa ', kAppleScriptSubtype = 'ascr' };
enum { kOSANullScript = 0, kOSAModeNull = 0 };
enum { errOSASystemError = -1750, errOSAScriptError = -1753, errOSACantOpenComponent = -1762 };

OSAError OSACompile(ComponentInstance scriptingComponent, const AEDesc* sourceData,
                    SInt32 modeFlags, OSAID* previousAndResultingScriptID);
OSAError OSAExecute(ComponentInstance scriptingComponent, OSAID compiledScriptID, OSAID contextID,
                    SInt32 modeFlags, OSAID* resultingScriptValueID);
OSAError OSACoerceToDesc(ComponentInstance scriptingComponent, OSAID scriptID, DescType desiredType,
                         SInt32 modeFlags, AEDesc* result);
OSAError OSADispose(ComponentInstance scriptingComponent, OSAID scriptID);

}  // extern "C"
