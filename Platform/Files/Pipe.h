// What tasks, queues and run loops need from raw descriptors: a new pipe, and the bytes of a
// stream.
#pragma once

#include <cstddef>
#include <string>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::platform {

struct PipeEnds {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

/// Both ends are close-on-exec. Raises an Exception when no pipe can be had.
PipeEnds makePipe();

/// Blocks until the end of the stream. A read error counts as the end.
std::string readToEndOfStream(int descriptor);

/// What is there, at most `limit` bytes; blocks only while nothing is. Empty at the end of the
/// stream. A read error counts as the end.
std::string readAvailableData(int descriptor, std::size_t limit = 64 * 1024);

}  // namespace quillmore::platform
