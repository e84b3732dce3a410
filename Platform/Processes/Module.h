// A shared library that is opened on first use, so that a start which does not need it never maps
// what it links. It is never closed: what such a library brings (a toolkit, GLib) cannot be
// unloaded. What passes the border is an agreement: a structure with a `version`, which the
// library's one entry point hands out and which lives for ever. Any thread.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

namespace quillmore::platform {

/// Opens the library at the path and looks the symbol up. Null when the library has no such symbol,
/// and when it cannot be opened: only then `problem` says why, in one line.
void* symbolOfLibrary(const std::string& path, const char* name, std::string& problem);

/// What is wrong with a library that is no module of this build.
std::string notOfThisVersion(const std::string& path);

template <class Agreement>
class Module {
public:
    /// `entryPoint` names a function without arguments that returns a `const Agreement*`.
    Module(std::string path, const char* entryPoint, std::uint32_t version)
        : path_(std::move(path)), entryPoint_(entryPoint), version_(version) {}

    /// Null when the library cannot be opened or is not of that version; `problem` then says why,
    /// in one line. A failure is tried again next time: the user may have mended it.
    const Agreement* open(std::string& problem) {
        const std::lock_guard lock(mutex_);
        if (agreement_ == nullptr) agreement_ = load(problem);
        return agreement_;
    }

private:
    const Agreement* load(std::string& problem) const {
        std::string cannotBeOpened;
        const auto entryPoint = reinterpret_cast<const Agreement* (*)()>(
            symbolOfLibrary(path_, entryPoint_, cannotBeOpened));
        const Agreement* const found = entryPoint != nullptr ? entryPoint() : nullptr;
        if (found != nullptr && found->version == version_) return found;
        problem = cannotBeOpened.empty() ? notOfThisVersion(path_) : cannotBeOpened;
        return nullptr;
    }

    const std::string path_;
    const char* const entryPoint_;
    const std::uint32_t version_;
    std::mutex mutex_;
    const Agreement* agreement_ = nullptr;
};

}  // namespace quillmore::platform
