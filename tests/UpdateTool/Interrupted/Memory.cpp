#include "tests/UpdateTool/Interrupted/Memory.h"

#include <cstdlib>
#include <new>

#include "tests/fakes/SystemCalls.h"

namespace quillmore::tests {

namespace {
int asked = 0;
int chosen = 0;
}  // namespace

void whenMemoryIs(int number) {
    whenCallIs(0, Step::passes);
    asked = 0;
    chosen = number;
}

int memoryAskedForSoFar() {
    return asked;
}

static bool isRefused() {
    return chosen != 0 && callsSoFar() > 0 && ++asked == chosen;
}

}  // namespace quillmore::tests

void* operator new(std::size_t size) {
    void* memory = quillmore::tests::isRefused() ? nullptr : std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
