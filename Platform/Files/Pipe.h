// A new pipe. Both ends are close-on-exec.
#pragma once

#include <string>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::platform {

class Pipe {
public:
    /// Raises an Exception when no pipe can be had.
    Pipe();
    FileDescriptor& readEnd() { return readEnd_; }
    FileDescriptor& writeEnd() { return writeEnd_; }
    /// Reads until the end of the stream. Close one's own write end first.
    std::string readToEnd() const { return readToEndOfStream(readEnd_.get()); }

private:
    FileDescriptor readEnd_;
    FileDescriptor writeEnd_;
};

}  // namespace quillmore::platform
