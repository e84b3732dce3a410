// A library that is no module of this version, in one way or another.
#include "Platform/Interface/UserInterfaceModule.h"

#ifndef FAKE_VERSION
#define FAKE_VERSION quillmore::platform::kUserInterfaceModuleVersion
#endif
#ifndef FAKE_BUILD
#define FAKE_BUILD ""
#endif

#ifndef FAKE_NO_ENTRY
extern "C" const quillmore::platform::UserInterfaceModule* quillmoreUserInterfaceModule(void);
extern "C" const quillmore::platform::UserInterfaceModule* quillmoreUserInterfaceModule(void) {
    static const quillmore::platform::UserInterfaceModule module{FAKE_VERSION, FAKE_BUILD, nullptr};
    return &module;
}
#endif
