// The calls, types and constants of Authorization Services that are used here.
#pragma once

#include <stddef.h>
#include <stdio.h>

#include "../MacTypes.h"

extern "C" {

typedef const struct AuthorizationOpaqueRef* AuthorizationRef;
typedef UInt32 AuthorizationFlags;
typedef const char* AuthorizationString;

typedef struct {
    AuthorizationString name;
    size_t valueLength;
    void* value;
    UInt32 flags;
} AuthorizationItem;

typedef struct {
    UInt32 count;
    AuthorizationItem* items;
} AuthorizationItemSet;

typedef AuthorizationItemSet AuthorizationRights;
typedef AuthorizationItemSet AuthorizationEnvironment;

#define kAuthorizationEmptyEnvironment NULL

enum {
    errAuthorizationSuccess = 0,
    errAuthorizationInvalidRef = -60002,
    errAuthorizationDenied = -60005,
    errAuthorizationCanceled = -60006,
    errAuthorizationInteractionNotAllowed = -60007,
    errAuthorizationInternal = -60008,
    errAuthorizationToolExecuteFailure = -60031
};

enum {
    kAuthorizationFlagDefaults = 0,
    kAuthorizationFlagInteractionAllowed = 1 << 0,
    kAuthorizationFlagExtendRights = 1 << 1,
    kAuthorizationFlagPreAuthorize = 1 << 4
};

OSStatus AuthorizationCreate(const AuthorizationRights* rights,
                             const AuthorizationEnvironment* environment, AuthorizationFlags flags,
                             AuthorizationRef* authorization);
OSStatus AuthorizationCopyRights(AuthorizationRef authorization, const AuthorizationRights* rights,
                                 const AuthorizationEnvironment* environment,
                                 AuthorizationFlags flags, AuthorizationRights** authorizedRights);
OSStatus AuthorizationExecuteWithPrivileges(AuthorizationRef authorization, const char* pathToTool,
                                            AuthorizationFlags options, char* const* arguments,
                                            FILE** communicationsPipe);
OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags);

}  // extern "C"
