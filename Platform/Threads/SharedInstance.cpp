#include "Platform/Threads/SharedInstance.h"

namespace quillmore::platform {

namespace {
// Shared instances are static objects: they enter the list before main and never leave it.
SharedInstanceBase* first = nullptr;
}  // namespace

SharedInstanceBase::SharedInstanceBase() : next_(first) {
    first = this;
}

void SharedInstanceBase::forgetAll() {
    for (SharedInstanceBase* shared = first; shared != nullptr; shared = shared->next_)
        shared->forget();
}

}  // namespace quillmore::platform
