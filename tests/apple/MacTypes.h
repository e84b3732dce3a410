// The types of <MacTypes.h> that are used here, as on 64-bit machines.
#pragma once

#include <stdint.h>

extern "C" {

typedef uint8_t UInt8;
typedef unsigned char Boolean;
typedef int16_t SInt16;
typedef uint16_t UInt16;
typedef int32_t SInt32;
typedef uint32_t UInt32;
typedef long Size;
typedef SInt16 OSErr;
typedef SInt32 OSStatus;
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;

enum { noErr = 0 };

}  // extern "C"
