#include "tests/fakes/SystemCalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace quillmore::tests {

namespace {
int calls = 0;
// Of fixed size: nothing here asks for memory, whose lack is tested too.
std::array<const char*, 1000> names;
int chosenCall = 0;
Step chosenStep = Step::passes;
bool exchangeIsSupported = true;
}  // namespace

void supportExchange(bool supported) {
    exchangeIsSupported = supported;
}

void whenCallIs(int number, Step step) {
    calls = 0;
    chosenCall = number;
    chosenStep = step;
}

std::vector<std::string> namesOfCalls() {
    const auto known = std::min(static_cast<std::size_t>(calls), names.size());
    return {names.begin(), names.begin() + known};
}

int callsSoFar() {
    return calls;
}

/// True for a call that is to fail, as it does on a full disk.
static bool countCall(const char* name) {
    if (static_cast<std::size_t>(calls) < names.size())
        names[static_cast<std::size_t>(calls)] = name;
    if (++calls != chosenCall || chosenStep == Step::passes) return false;
    if (chosenStep == Step::killsTheProcess) ::_exit(kKilledStatus);
    errno = ENOSPC;
    return true;
}

}  // namespace quillmore::tests

// Names that the linker gives to the calls and to the real functions.
#define QUILLMORE_COUNTED(result, name, parameters, arguments)                    \
    result __real_##name parameters;                                              \
    result __wrap_##name parameters;                                              \
    result __wrap_##name parameters {                                             \
        return quillmore::tests::countCall(#name) ? -1 : __real_##name arguments; \
    }

extern "C" {
QUILLMORE_COUNTED(int, mkdirat, (int folder, const char* name, mode_t mode), (folder, name, mode))
QUILLMORE_COUNTED(int, mkdir, (const char* path, mode_t mode), (path, mode))
QUILLMORE_COUNTED(int, unlink, (const char* path), (path))
QUILLMORE_COUNTED(int, rename, (const char* path, const char* newPath), (path, newPath))
QUILLMORE_COUNTED(int, unlinkat, (int folder, const char* name, int flags), (folder, name, flags))
QUILLMORE_COUNTED(int, renameat, (int from, const char* name, int to, const char* newName),
                  (from, name, to, newName))
QUILLMORE_COUNTED(int, symlinkat, (const char* target, int folder, const char* name),
                  (target, folder, name))
QUILLMORE_COUNTED(int, fchown, (int file, uid_t user, gid_t group), (file, user, group))
QUILLMORE_COUNTED(int, fchownat, (int folder, const char* name, uid_t user, gid_t group, int flags),
                  (folder, name, user, group, flags))
QUILLMORE_COUNTED(int, fchmod, (int file, mode_t mode), (file, mode))
QUILLMORE_COUNTED(int, fchmodat, (int folder, const char* name, mode_t mode, int flags),
                  (folder, name, mode, flags))
QUILLMORE_COUNTED(ssize_t, write, (int file, const void* bytes, size_t size), (file, bytes, size))

int __real_renameat2(int from, const char* name, int to, const char* newName, unsigned flags);
int __wrap_renameat2(int from, const char* name, int to, const char* newName, unsigned flags);
int __wrap_renameat2(int from, const char* name, int to, const char* newName, unsigned flags) {
    if (quillmore::tests::countCall("renameat2")) return -1;
    if (!quillmore::tests::exchangeIsSupported) {
        errno = EINVAL;
        return -1;
    }
    return __real_renameat2(from, name, to, newName, flags);
}

// Nothing here outlives the test: only that it is asked for matters, and that it may fail.
int __wrap_fsync(int file);
int __wrap_fsync(int) {
    return quillmore::tests::countCall("fsync") ? -1 : 0;
}
int __wrap_syncfs(int file);
int __wrap_syncfs(int) {
    return quillmore::tests::countCall("syncfs") ? -1 : 0;
}

int __real_open(const char* path, int flags, mode_t mode);
int __wrap_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if ((flags & O_CREAT) != 0 && quillmore::tests::countCall("open")) return -1;
    return __real_open(path, flags, mode);
}

int __real_openat(int folder, const char* name, int flags, mode_t mode);
int __wrap_openat(int folder, const char* name, int flags, ...);
int __wrap_openat(int folder, const char* name, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if ((flags & O_CREAT) != 0 && quillmore::tests::countCall("openat")) return -1;
    return __real_openat(folder, name, flags, mode);
}
}
