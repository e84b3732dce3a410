#include "Platform/Files/FileDescriptor.h"

#include <cerrno>

namespace quillmore::platform {

namespace {
// What a pipe of Linux holds: one read empties a full one.
constexpr std::size_t kChunkSize = 64 * 1024;
}  // namespace

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

int writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return 0;
}

}  // namespace quillmore::platform
