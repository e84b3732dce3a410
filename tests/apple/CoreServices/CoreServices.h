// The calls, types and constants of the Apple Event Manager, Gestalt and the Component Manager that
// are used here.
#pragma once

#include "../CoreFoundation/CoreFoundation.h"

extern "C" {

typedef FourCharCode DescType;
typedef FourCharCode AEKeyword;
typedef FourCharCode AEEventClass;
typedef FourCharCode AEEventID;
typedef SInt16 AEReturnID;
typedef SInt32 AETransactionID;
typedef SInt32 AESendMode;
typedef struct OpaqueAEDataStorageType** AEDataStorage;

typedef struct AEDesc {
    DescType descriptorType;
    AEDataStorage dataHandle;
} AEDesc;

typedef AEDesc AEAddressDesc;
typedef AEDesc AEDescList;
typedef AEDesc AppleEvent;
typedef struct AEBuildError AEBuildError;

enum {
    paramErr = -50,
    errAECoercionFail = -1700,
    kAutoGenerateReturnID = -1,
    kAnyTransactionID = 0,
    kAENoReply = 0x00000001,
    kAEDefaultTimeout = -1
};

enum : DescType {
    typeAEList = 'list',
    typeApplicationBundleID = 'bund',
    typeBoolean = 'bool',
    typeFalse = 'fals',
    typeNull = 'null',
    typeProcessSerialNumber = 'psn ',
    typeTrue = 'true',
    typeUTF8Text = 'utf8',
    typeUnicodeText = 'utxt',
    typeWildCard = '****'
};

OSErr AECreateDesc(DescType typeCode, const void* dataPtr, Size dataSize, AEDesc* result);
OSErr AEDisposeDesc(AEDesc* theAEDesc);
OSErr AECoercePtr(DescType typeCode, const void* dataPtr, Size dataSize, DescType toType,
                  AEDesc* result);
OSErr AECoerceDesc(const AEDesc* theAEDesc, DescType toType, AEDesc* result);
Size AEGetDescDataSize(const AEDesc* theAEDesc);
OSErr AEGetDescData(const AEDesc* theAEDesc, void* dataPtr, Size maximumSize);
OSErr AECountItems(const AEDescList* theAEDescList, long* theCount);
OSErr AEGetNthDesc(const AEDescList* theAEDescList, long index, DescType desiredType,
                   AEKeyword* theAEKeyword, AEDesc* result);

OSErr AECreateAppleEvent(AEEventClass theAEEventClass, AEEventID theAEEventID,
                         const AEAddressDesc* target, AEReturnID returnID,
                         AETransactionID transactionID, AppleEvent* result);
OSStatus AEBuildAppleEvent(AEEventClass theClass, AEEventID theID, DescType addressType,
                           const void* addressData, Size addressLength, SInt16 returnID,
                           SInt32 transactionID, AppleEvent* result, AEBuildError* error,
                           const char* paramsFmt, ...);
OSStatus AESendMessage(const AppleEvent* event, AppleEvent* reply, AESendMode sendMode,
                       long timeOutInTicks);

enum : OSType {
    gestaltSystemVersionMajor = 'sys1',
    gestaltSystemVersionMinor = 'sys2',
    gestaltSystemVersionBugFix = 'sys3',
    gestaltSysArchitecture = 'sysa'
};

OSErr Gestalt(OSType selector, SInt32* response);

typedef struct ComponentInstanceRecord* ComponentInstance;
typedef SInt32 ComponentResult;

ComponentInstance OpenDefaultComponent(OSType componentType, OSType componentSubType);
OSErr CloseComponent(ComponentInstance aComponentInstance);

}  // extern "C"
