// Every piece of memory that this test binary asks for by `new` passes through here, so that one
// can be refused at each step of a run.
#pragma once

namespace quillmore::tests {

/// The piece of that number cannot be had, once; counted from 1 and from the next call on that
/// SystemCalls.h counts, which changes a file. 0 for none.
void whenMemoryIs(int number);
int memoryAskedForSoFar();

}  // namespace quillmore::tests
