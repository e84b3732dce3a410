// Packed streams for the package readers' tests.
#pragma once

#include <zlib.h>

#include <string>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::tests {

enum class Packing { zlib, gzip };

inline std::string packed(std::string text, Packing packing) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, packing == Packing::gzip ? 15 + 16 : 15, 8,
                 Z_DEFAULT_STRATEGY);
    std::string bytes(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(text.data());
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    deflate(&stream, Z_FINISH);
    bytes.resize(stream.total_out);
    deflateEnd(&stream);
    return bytes;
}

inline updatetool::Bytes bytesIn(const std::string& text) {
    return {text.begin(), text.end()};
}

}  // namespace quillmore::tests
