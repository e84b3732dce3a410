#include "UpdateTool/Packages/InputFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "UpdateTool/Disk/FileContents.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {
constexpr std::uint64_t kPieceSize = 64 * 1024;
}

InputFile::InputFile(platform::FileDescriptor file, std::string name, std::uint64_t maximum)
    : file_(std::move(file)), name_(std::move(name)) {
    struct stat status {};
    if (::fstat(file_.get(), &status) != 0)
        failWithSystemError(EX_NOINPUT, "cannot examine " + quoted(name_));
    if (!S_ISREG(status.st_mode))
        fail(EX_NOINPUT,
             quoted(name_) + " is not a regular file: put the file itself in its place");
    if (status.st_size <= 0) fail(EX_DATAERR, quoted(name_) + " is empty");
    size_ = static_cast<std::uint64_t>(status.st_size);
    if (size_ > maximum) fail(EX_DATAERR, quoted(name_) + " is too large");
}

void InputFile::readPieces(const TakePiece& take) const {
    rewind();
    Bytes piece(static_cast<std::size_t>(std::min(size_, kPieceSize)));
    for (std::uint64_t left = size_; left > 0;) {
        const auto count = static_cast<std::size_t>(std::min(left, kPieceSize));
        readNext({piece.data(), count});
        take({piece.data(), count});
        left -= count;
    }
}

Bytes InputFile::readWhole() const {
    rewind();
    Bytes bytes(static_cast<std::size_t>(size_));
    readNext(bytes);
    return bytes;
}

void InputFile::rewind() const {
    if (::lseek(file_.get(), 0, SEEK_SET) != 0)
        failWithSystemError(EX_IOERR, "cannot read " + quoted(name_));
}

void InputFile::readNext(std::span<std::uint8_t> piece) const {
    const auto count = readUpTo(file_.get(), piece.data(), piece.size());
    if (!count) failWithSystemError(EX_IOERR, "cannot read " + quoted(name_));
    if (*count < piece.size()) fail(EX_IOERR, quoted(name_) + " was shortened while it was read");
}

}  // namespace quillmore::updatetool
