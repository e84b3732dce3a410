#include "Platform/Files/Pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "Platform/Values/Exception.h"

namespace quillmore::platform {

namespace {
// What a pipe of Linux holds: one read empties a full one.
constexpr std::size_t kChunkSize = 64 * 1024;

int openPipe(int (&ends)[2]) {
#ifdef __linux__
    return ::pipe2(ends, O_CLOEXEC);
#else
    // Another thread may start a child between the calls; the spawner closes strays by itself.
    if (::pipe(ends) != 0) return -1;
    for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
    return 0;
#endif
}
}  // namespace

PipeEnds makePipe() {
    int ends[2] = {-1, -1};
    if (openPipe(ends) != 0) {
        throw Exception(kGenericException,
                        "Couldn't create a pipe (" + std::generic_category().message(errno) + ")");
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

std::string readToEndOfStream(int descriptor) {
    std::string bytes;
    std::size_t filled = 0;
    for (;;) {
        if (bytes.size() - filled < kChunkSize) bytes.resize(2 * filled + kChunkSize);
        const ssize_t count = ::read(descriptor, bytes.data() + filled, bytes.size() - filled);
        if (count > 0)
            filled += static_cast<std::size_t>(count);
        else if (count == 0 || errno != EINTR)
            break;
    }
    bytes.resize(filled);
    return bytes;
}

std::string readAvailableData(int descriptor, std::size_t limit) {
    std::string bytes(limit, '\0');
    ssize_t count = 0;
    do {
        count = ::read(descriptor, bytes.data(), bytes.size());
    } while (count < 0 && errno == EINTR);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
}

}  // namespace quillmore::platform
