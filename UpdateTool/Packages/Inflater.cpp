#include "UpdateTool/Packages/Inflater.h"

#include <limits>

#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {
constexpr int kZlibOrGzip = 15 + 32;
}

Inflater::Inflater(std::span<const std::uint8_t> packed) {
    if (packed.size() > std::numeric_limits<uInt>::max())
        fail(EX_DATAERR, "the package is too large");
    stream_.next_in = const_cast<Bytef*>(packed.data());
    stream_.avail_in = static_cast<uInt>(packed.size());
    if (inflateInit2(&stream_, kZlibOrGzip) != Z_OK) fail(EX_OSERR, "no memory for the package");
}

std::string Inflater::read(std::size_t size) {
    std::string bytes(ended_ ? 0 : size, '\0');
    stream_.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream_.avail_out = static_cast<uInt>(bytes.size());
    while (!ended_ && stream_.avail_out > 0) {
        const int result = inflate(&stream_, Z_NO_FLUSH);
        if (result == Z_STREAM_END) {
            ended_ = true;
        } else if (result != Z_OK) {
            fail(EX_DATAERR, "the package is damaged");
        }
    }
    bytes.resize(bytes.size() - stream_.avail_out);
    return bytes;
}

}  // namespace quillmore::updatetool
