// A module, or a library that is none in one way or another.
#include "tests/Platform/Processes/probe/TestModule.h"

#ifndef TEST_VERSION
#define TEST_VERSION quillmore::tests::kTestVersion
#endif

#ifndef TEST_NO_ENTRY_POINT
extern "C" const quillmore::tests::TestFunctions* quillmoreTestModule(void);
extern "C" const quillmore::tests::TestFunctions* quillmoreTestModule(void) {
#ifdef TEST_NO_TABLE
    return nullptr;
#else
    static quillmore::tests::TestFunctions table{TEST_VERSION, 0};
    ++table.timesAsked;
    return &table;
#endif
}
#endif
