#include "UpdateTool/Disk/FileDigests.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <vector>

#include "Common/Tools/Digests.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {

constexpr std::string_view kDigits = "0123456789abcdef";
constexpr std::size_t kTextSize = 64;
constexpr std::size_t kPieceSize = 65536;

std::string inHexadecimal(const std::vector<std::uint8_t>& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0xfU];
    }
    return text;
}

}  // namespace

std::string digestOfFile(int file, const std::string& name) {
    DigestMaker maker(DigestKind::sha256);
    std::vector<std::uint8_t> piece(kPieceSize);
    for (off_t at = 0;;) {
        const ssize_t count = ::pread(file, piece.data(), piece.size(), at);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) failWithSystemError(EX_IOERR, "cannot read " + quoted(name));
        if (count == 0) return inHexadecimal(maker.finish().bytes);
        maker.add({piece.data(), static_cast<std::size_t>(count)});
        at += count;
    }
}

bool isDigest(const std::string& text) {
    return text.size() == kTextSize && text.find_first_not_of(kDigits) == std::string::npos;
}

}  // namespace quillmore::updatetool
