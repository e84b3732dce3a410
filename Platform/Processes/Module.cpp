#include "Platform/Processes/Module.h"

#include <dlfcn.h>

namespace quillmore::platform {

Result<void*> symbolOfLibrary(const std::string& path, const char* name) {
    void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library != nullptr) return ::dlsym(library, name);
    const char* const reason = ::dlerror();
    return Error::file(reason != nullptr ? reason : path + ": cannot be opened");
}

Error notOfThisVersion(const std::string& path) {
    return Error::file(path + ": is not of this version");
}

}  // namespace quillmore::platform
