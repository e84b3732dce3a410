// A file that somebody hands in, opened once and held. It may change while it is read: what counts
// is what was read last.
#pragma once

#include <fcntl.h>

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// Non-blocking, or a FIFO would hold the tool for ever.
inline constexpr int kInputFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
/// No package is larger.
inline constexpr std::uint64_t kMaximumPackageSize = std::uint64_t{1} << 30;

class InputFile {
public:
    /// Fails unless it is a regular file (EX_NOINPUT) of one to `maximum` bytes (EX_DATAERR).
    /// `name` is for the messages.
    InputFile(platform::FileDescriptor file, std::string name, std::uint64_t maximum);

    const std::string& name() const { return name_; }

    using TakePiece = std::function<void(std::span<const std::uint8_t>)>;
    /// From the beginning, as many bytes as there were at first, never more than a small piece in
    /// memory. Fails (EX_IOERR) when there are fewer.
    void readPieces(const TakePiece& take) const;
    /// The same bytes in one piece.
    Bytes readWhole() const;

private:
    void rewind() const;
    void readNext(std::span<std::uint8_t> piece) const;

    platform::FileDescriptor file_;
    std::string name_;
    std::uint64_t size_ = 0;
};

}  // namespace quillmore::updatetool
