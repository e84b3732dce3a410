// The types and statuses of Keychain Services that are used here.
#pragma once

#include "../MacTypes.h"

extern "C" {

typedef struct OpaqueSecKeychainItemRef* SecKeychainItemRef;
typedef struct SecKeychainAttributeList SecKeychainAttributeList;
typedef struct SecKeychainAttributeInfo SecKeychainAttributeInfo;

enum {
    errSecSuccess = 0,
    errSecParam = -50,
    errSecNotAvailable = -25291,
    errSecDuplicateItem = -25299,
    errSecItemNotFound = -25300,
    errSecInvalidItemRef = -25304,
    errSecInteractionNotAllowed = -25308
};

}  // extern "C"
