// The calls of Keychain Services for generic passwords that are used here.
#pragma once

#include "../CoreFoundation/CoreFoundation.h"
#include "SecBase.h"

extern "C" {

OSStatus SecKeychainFindGenericPassword(CFTypeRef keychainOrArray, UInt32 serviceNameLength,
                                        const char* serviceName, UInt32 accountNameLength,
                                        const char* accountName, UInt32* passwordLength,
                                        void** passwordData, SecKeychainItemRef* itemRef);
OSStatus SecKeychainAddGenericPassword(struct OpaqueSecKeychainRef* keychain,
                                       UInt32 serviceNameLength, const char* serviceName,
                                       UInt32 accountNameLength, const char* accountName,
                                       UInt32 passwordLength, const void* passwordData,
                                       SecKeychainItemRef* itemRef);

}  // extern "C"
