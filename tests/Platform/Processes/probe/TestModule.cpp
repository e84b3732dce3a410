// A module, or a library that is none in one way or another.
#include "tests/Platform/Processes/probe/TestModule.h"

#ifndef TEST_VERSION
#define TEST_VERSION quillmore::tests::kTestVersion
#endif

#ifndef TEST_NO_ENTRY_POINT
extern "C" const quillmore::tests::TestAgreement* quillmoreTestModule(void);
extern "C" const quillmore::tests::TestAgreement* quillmoreTestModule(void) {
#ifdef TEST_NO_AGREEMENT
    return nullptr;
#else
    static quillmore::tests::TestAgreement agreement{TEST_VERSION, 0};
    ++agreement.timesAsked;
    return &agreement;
#endif
}
#endif
