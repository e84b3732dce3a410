#include "Platform/Files/Pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "Platform/Values/Exception.h"

namespace quillmore::platform {

namespace {
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

Pipe::Pipe() {
    int ends[2] = {-1, -1};
    if (openPipe(ends) != 0) {
        throw Exception(kGenericException,
                        "Couldn't create a pipe (" + std::generic_category().message(errno) + ")");
    }
    readEnd_ = FileDescriptor(ends[0]);
    writeEnd_ = FileDescriptor(ends[1]);
}

}  // namespace quillmore::platform
