// The calls, types and constants of Core Foundation that are used here.
#pragma once

#include "../MacTypes.h"

extern "C" {

typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFArray* CFArrayRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef const struct __CFNumber* CFNumberRef;
typedef const struct __CFString* CFStringRef;
typedef unsigned long CFTypeID;
typedef long CFIndex;
typedef CFIndex CFNumberType;
typedef UInt32 CFStringEncoding;
typedef struct {
    CFIndex location;
    CFIndex length;
} CFRange;
typedef struct {
    CFIndex version;
} CFArrayCallBacks;

enum { kCFStringEncodingUTF8 = 0x08000100 };
enum { kCFNumberSInt64Type = 4 };

extern const CFArrayCallBacks kCFTypeArrayCallBacks;

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);

CFTypeID CFStringGetTypeID(void);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFIndex CFStringGetLength(CFStringRef string);
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen);

CFTypeID CFNumberGetTypeID(void);
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr);

CFTypeID CFArrayGetTypeID(void);
CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex numValues,
                         const CFArrayCallBacks* callBacks);
CFIndex CFArrayGetCount(CFArrayRef array);
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

CFTypeID CFDictionaryGetTypeID(void);
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);

}  // extern "C"
