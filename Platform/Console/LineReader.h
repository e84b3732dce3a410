// Lines from a descriptor, waiting for work of the main queue at the same time. Not thread-safe.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace quillmore::platform {

class LineReader {
public:
    explicit LineReader(int descriptor) : descriptor_(descriptor) {}

    enum class Event { line, endOfInput, otherDescriptor, timeOut };
    /// Waits for whichever comes first: a whole line, the end of input, `otherDescriptor` (-1 for
    /// none) becoming readable, or the time-out (negative: never). Input counts only when
    /// `wantsInput`.
    Event wait(bool wantsInput, int otherDescriptor, std::chrono::milliseconds timeOut);
    /// The line that wait() announced, without its line end.
    std::string takeLine();

private:
    bool takeFromBuffer();
    void fillBuffer();

    int descriptor_;
    bool ended_ = false;
    std::string buffer_;
    std::string line_;
};

}  // namespace quillmore::platform
