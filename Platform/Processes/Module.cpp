#include "Platform/Processes/Module.h"

#include <dlfcn.h>

namespace quillmore::platform {

void* symbolOfLibrary(const std::string& path, const char* name, std::string& problem) {
    void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library != nullptr) return ::dlsym(library, name);
    const char* const reason = ::dlerror();
    problem = reason != nullptr ? reason : path + ": cannot be opened";
    return nullptr;
}

std::string notOfThisVersion(const std::string& path) {
    return path + ": is not of this version";
}

}  // namespace quillmore::platform
