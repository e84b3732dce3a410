// A shared library that is opened on first use, so that a start which does not need it never maps
// what it links. It is never closed: what such a library brings (a toolkit, GLib) cannot be
// unloaded. What passes the border is a table of functions: a structure with a `version`,
// which the library's one entry point hands out and which lives for ever. Any thread.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "Platform/Values/Result.h"

namespace quillmore::platform {

/// Opens the library at the path and looks the symbol up: null when it has none of that name. An
/// error says in one line why the library cannot be opened.
Result<void*> symbolOfLibrary(const std::string& path, const char* name);

/// What is wrong with a library that is no module of this build.
Error notOfThisVersion(const std::string& path);

template <class FunctionTable>
class Module {
public:
    /// `entryPoint` names a function without arguments that returns a `const FunctionTable*`.
    Module(std::string path, const char* entryPoint, std::uint32_t version)
        : path_(std::move(path)), entryPoint_(entryPoint), version_(version) {}

    /// Never null. An error says in one line that the library cannot be opened or is not of that
    /// version. A failure is tried again next time: the user may have mended it.
    Result<const FunctionTable*> open() {
        const std::lock_guard lock(mutex_);
        if (functions_ != nullptr) return functions_;
        const Result<const FunctionTable*> loaded = load();
        if (loaded) functions_ = *loaded;
        return loaded;
    }

private:
    Result<const FunctionTable*> load() const {
        const Result<void*> symbol = symbolOfLibrary(path_, entryPoint_);
        if (!symbol) return symbol.error();
        const auto entryPoint = reinterpret_cast<const FunctionTable* (*)()>(*symbol);
        const FunctionTable* const found = entryPoint != nullptr ? entryPoint() : nullptr;
        if (found == nullptr || found->version != version_) return notOfThisVersion(path_);
        return found;
    }

    const std::string path_;
    const char* const entryPoint_;
    const std::uint32_t version_;
    std::mutex mutex_;
    const FunctionTable* functions_ = nullptr;
};

}  // namespace quillmore::platform
