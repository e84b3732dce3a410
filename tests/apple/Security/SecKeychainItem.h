// The calls of Keychain Services for items that are used here.
#pragma once

#include "SecBase.h"

extern "C" {

typedef FourCharCode SecItemClass;

OSStatus SecKeychainItemModifyContent(SecKeychainItemRef itemRef,
                                      const SecKeychainAttributeList* attrList, UInt32 length,
                                      const void* data);
OSStatus SecKeychainItemCopyAttributesAndData(SecKeychainItemRef itemRef,
                                              SecKeychainAttributeInfo* info,
                                              SecItemClass* itemClass,
                                              SecKeychainAttributeList** attrList, UInt32* length,
                                              void** outData);
OSStatus SecKeychainItemFreeAttributesAndData(SecKeychainAttributeList* attrList, void* data);
OSStatus SecKeychainItemDelete(SecKeychainItemRef itemRef);

}  // extern "C"
