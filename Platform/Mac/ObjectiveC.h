// Messages to Objective-C objects through the runtime's C interface: the workspace has no other.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <objc/runtime.h>

namespace quillmore::platform {

/// Sends a message whose method has exactly these argument and result types. A nil receiver, and
/// one that does not know the message (a later system dropped it), answer zero. Not for results
/// that are structures.
template <class Result, class... Arguments>
Result send(id receiver, const char* message, Arguments... arguments) {
    const SEL selector = ::sel_registerName(message);
    const Class type = ::object_getClass(receiver);
    if (type == nullptr || !::class_respondsToSelector(type, selector)) return Result();
    using Method = Result (*)(id, SEL, Arguments...);
    const auto method = reinterpret_cast<Method>(::class_getMethodImplementation(type, selector));
    return method(receiver, selector, arguments...);
}

/// The class as an object to send messages to; nil when no loaded library has it.
inline id classNamed(const char* name) {
    return reinterpret_cast<id>(::objc_getClass(name));
}

// Strings, numbers, arrays and dictionaries are the same objects in both worlds.
inline id bridged(CFTypeRef object) {
    return static_cast<id>(const_cast<void*>(object));
}

/// Objects that nobody owns live until its end. Nested in the order of scopes.
class AutoreleasePool {
public:
    AutoreleasePool()
        : pool_(send<id>(send<id>(classNamed("NSAutoreleasePool"), "alloc"), "init")) {}
    ~AutoreleasePool() { send<void>(pool_, "drain"); }
    AutoreleasePool(const AutoreleasePool&) = delete;
    AutoreleasePool& operator=(const AutoreleasePool&) = delete;

private:
    id pool_;
};

}  // namespace quillmore::platform
