#include "tests/apple/doubles/WorkspaceDouble.h"

#include <objc/runtime.h>

#include <map>
#include <memory>
#include <vector>

#include "tests/apple/doubles/CoreFoundationDouble.h"
#include "tests/apple/doubles/Ledger.h"

using namespace quillmore::apple;

struct objc_object {
    Class isa;
};

struct objc_class : objc_object {
    std::map<std::string, IMP> methods;
};

namespace {

struct Pool final : objc_object {
    std::vector<CFTypeRef> objects;
};

std::vector<Pool*> pools;

id autorelease(CFTypeRef object) {
    if (pools.empty())
        ledger().problems.emplace_back("autoreleased without a pool");
    else
        pools.back()->objects.push_back(object);
    return static_cast<id>(const_cast<void*>(object));
}

template <class Method>
IMP implementation(Method method) {
    return reinterpret_cast<IMP>(method);
}

id sharedWorkspace(id, SEL);

id launchedApplications(id, SEL) {
    ledger().enter("launchedApplications");
    const auto& make = workspaceDouble().launchedApplications;
    return make ? autorelease(make()) : nullptr;
}

BOOL launchApplication(id, SEL, id path) {
    ledger().enter("launchApplication:", {describe(path)});
    return workspaceDouble().launchSucceeds ? 1 : 0;
}

BOOL performFileOperation(id, SEL, id operation, id source, id destination, id files, long* tag) {
    ledger().enter("performFileOperation:",
                   {describe(operation), "source:", describe(source),
                    "destination:", describe(destination), "files:", describeList(files)});
    if (tag == nullptr) ledger().problems.emplace_back("no place for the tag");
    return workspaceDouble().recycleSucceeds ? 1 : 0;
}

id allocPool(id, SEL);

id initPool(id self, SEL) {
    pools.push_back(static_cast<Pool*>(self));
    return self;
}

void drainPool(id self, SEL) {
    const std::unique_ptr<Pool> pool(static_cast<Pool*>(self));
    if (pools.empty() || pools.back() != pool.get())
        ledger().problems.emplace_back("pools drained out of order");
    else
        pools.pop_back();
    ledger().takeBack(pool.get(), "pool");
    for (CFTypeRef object : pool->objects) CFRelease(object);
}

/// A class: `isa` has the methods of the class itself, `methods` those of its instances.
struct Classes {
    Classes() {
        workspaceMeta.methods = {{"sharedWorkspace", implementation(sharedWorkspace)}};
        workspace.isa = &workspaceMeta;
        workspace.methods = {{"launchedApplications", implementation(launchedApplications)},
                             {"launchApplication:", implementation(launchApplication)},
                             {"performFileOperation:source:destination:files:tag:",
                              implementation(performFileOperation)}};
        poolMeta.methods = {{"alloc", implementation(allocPool)}};
        pool.isa = &poolMeta;
        pool.methods = {{"init", implementation(initPool)}, {"drain", implementation(drainPool)}};
        shared.isa = &workspace;
    }
    objc_class workspaceMeta{}, workspace{}, poolMeta{}, pool{};
    objc_object shared{};
};

Classes& classes() {
    static Classes instance;
    return instance;
}

id sharedWorkspace(id, SEL) {
    return &classes().shared;
}

id allocPool(id, SEL) {
    auto* pool = new Pool;
    pool->isa = &classes().pool;
    ledger().handOut(pool, "pool");
    return pool;
}

const std::string& nameOf(SEL selector) {
    return *reinterpret_cast<const std::string*>(selector);
}

}  // namespace

namespace quillmore::apple {

WorkspaceDouble& workspaceDouble() {
    static WorkspaceDouble instance;
    return instance;
}

void resetWorkspaceDouble() {
    workspaceDouble() = WorkspaceDouble();
}

}  // namespace quillmore::apple

Class objc_getClass(const char* name) {
    if (workspaceDouble().unknownClasses.contains(name)) return nullptr;
    if (name == std::string("NSWorkspace")) return &classes().workspace;
    if (name == std::string("NSAutoreleasePool")) return &classes().pool;
    return nullptr;
}

SEL sel_registerName(const char* str) {
    static std::set<std::string> names;
    return reinterpret_cast<SEL>(const_cast<std::string*>(&*names.emplace(str).first));
}

Class object_getClass(id obj) {
    return obj == nullptr ? nullptr : obj->isa;
}

BOOL class_respondsToSelector(Class cls, SEL sel) {
    const bool known = cls->methods.contains(nameOf(sel)) &&
                       !workspaceDouble().unknownMessages.contains(nameOf(sel));
    return known ? 1 : 0;
}

IMP class_getMethodImplementation(Class cls, SEL name) {
    return cls->methods.at(nameOf(name));
}
