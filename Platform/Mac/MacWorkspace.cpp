#include "Platform/Mac/MacWorkspace.h"

#include "Platform/Mac/CoreFoundationObject.h"
#include "Platform/Mac/ObjectiveC.h"

namespace quillmore::platform {

namespace {

using Tag = long;  // NSInteger

id sharedWorkspace() {
    return send<id>(classNamed("NSWorkspace"), "sharedWorkspace");
}

Dictionary recordOf(CFDictionaryRef application) {
    Dictionary record;
    const auto identifierKey = stringFromText(kApplicationBundleIdentifier);
    const auto processKey = stringFromText(kApplicationProcessIdentifier);
    if (auto identifier = textOf(::CFDictionaryGetValue(application, identifierKey.get())))
        record.emplace(kApplicationBundleIdentifier, std::move(*identifier));
    if (const auto process = integerOf(::CFDictionaryGetValue(application, processKey.get())))
        record.emplace(kApplicationProcessIdentifier, *process);
    return record;
}

template <class Ref>
Ref typed(const void* object, CFTypeID type) {
    if (object == nullptr || ::CFGetTypeID(object) != type) return nullptr;
    return static_cast<Ref>(object);
}

}  // namespace

std::vector<Dictionary> MacWorkspace::launchedApplications() {
    const AutoreleasePool pool;
    std::vector<Dictionary> records;
    const auto applications = typed<CFArrayRef>(send<id>(sharedWorkspace(), "launchedApplications"),
                                                ::CFArrayGetTypeID());
    if (applications == nullptr) return records;
    const CFIndex count = ::CFArrayGetCount(applications);
    for (CFIndex i = 0; i < count; ++i) {
        const auto application = typed<CFDictionaryRef>(::CFArrayGetValueAtIndex(applications, i),
                                                        ::CFDictionaryGetTypeID());
        if (application != nullptr) records.push_back(recordOf(application));
    }
    return records;
}

bool MacWorkspace::launchApplication(const std::optional<std::string>& path) {
    const auto name = path ? stringFromText(*path) : nullptr;
    if (!name) return false;
    const AutoreleasePool pool;
    return send<BOOL>(sharedWorkspace(), "launchApplication:", bridged(name.get())) != 0;
}

bool MacWorkspace::recycleFile(const std::string& folder, const std::string& name) {
    if (name.empty() || name.find('/') != std::string::npos) return false;
    const auto operation = stringFromText("recycle");
    const auto destination = stringFromText("");
    const auto source = stringFromText(folder);
    const auto file = stringFromText(name);
    if (!source || !file) return false;
    const void* names[] = {file.get()};
    const CoreFoundationObject<CFArrayRef> files(
        ::CFArrayCreate(nullptr, names, 1, &kCFTypeArrayCallBacks));
    const AutoreleasePool pool;
    Tag tag = 0;
    return send<BOOL>(sharedWorkspace(), "performFileOperation:source:destination:files:tag:",
                      bridged(operation.get()), bridged(source.get()), bridged(destination.get()),
                      bridged(files.get()), &tag) != 0;
}

}  // namespace quillmore::platform
