// The C calls of the Objective-C runtime that are used here.
#pragma once

#include "objc.h"

extern "C" {

Class objc_getClass(const char* name);
SEL sel_registerName(const char* str);
Class object_getClass(id obj);
BOOL class_respondsToSelector(Class cls, SEL sel);
IMP class_getMethodImplementation(Class cls, SEL name);

}  // extern "C"
