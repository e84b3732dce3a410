#include "Platform/Threads/Thread.h"

#include <pthread.h>
#include <unistd.h>

#include <system_error>
#include <thread>

#include "Platform/Values/Exception.h"

namespace quillmore::platform {

namespace {
thread_local std::optional<std::string> nameOfThisThread;

#ifdef __linux__
// The kernel keeps 15 bytes of a name; a character is not cut in two.
std::string nameForKernel(const std::string& name) {
    std::size_t length = 15;
    if (name.size() <= length) return name;
    while (length > 0 && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80) --length;
    return name.substr(0, length);
}
#endif

// So that debuggers and ps show it.
void tellKernel(const std::string& name) {
#ifdef __linux__
    // The main thread's name is the process's, by which others find the program.
    if (::gettid() != ::getpid())
        ::pthread_setname_np(::pthread_self(), nameForKernel(name).c_str());
#else
    ::pthread_setname_np(name.c_str());
#endif
}
}  // namespace

std::optional<std::string> currentThreadName() {
    return nameOfThisThread;
}

void setCurrentThreadName(std::optional<std::string> name) {
    if (name && !name->empty()) tellKernel(*name);
    nameOfThisThread = std::move(name);
}

void detachNewThread(std::function<void()> body) {
    try {
        std::thread(std::move(body)).detach();
    } catch (const std::system_error& error) {
        throw Exception(kGenericException,
                        std::string("Couldn't start a thread (") + error.code().message() + ")");
    }
}

}  // namespace quillmore::platform
