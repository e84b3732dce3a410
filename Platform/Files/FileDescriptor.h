// An owned file descriptor, closed when it goes, and the bytes of whatever stream one stands for.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace quillmore::platform {

class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~FileDescriptor() { reset(); }

    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }
    int release() { return std::exchange(descriptor_, -1); }
    void reset() {
        if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
    }

private:
    int descriptor_ = -1;
};

/// Blocks until the end of the stream. A read error counts as the end.
std::string readToEndOfStream(int descriptor);

/// What is there, at most `limit` bytes; blocks only while nothing is. Empty at the end of the
/// stream. A read error counts as the end.
std::string readAvailableData(int descriptor, std::size_t limit = 64 * 1024);
/// Blocks until all is written: 0, or an error number.
int writeAll(int descriptor, std::string_view bytes);

}  // namespace quillmore::platform
