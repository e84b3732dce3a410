// The types of the Objective-C runtime that are used here.
#pragma once

extern "C" {

typedef struct objc_class* Class;
typedef struct objc_object* id;
typedef struct objc_selector* SEL;
typedef void (*IMP)(void);
typedef signed char BOOL;

}  // extern "C"
