// Unpacks one zlib or gzip stream that lies in memory, a block at a time.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <span>
#include <string>

namespace quillmore::updatetool {

class Inflater {
public:
    /// The bytes must outlive it. Both kinds of header are understood.
    explicit Inflater(std::span<const std::uint8_t> packed);
    ~Inflater() { inflateEnd(&stream_); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    /// Up to `size` bytes; fewer at the end only. Fails (EX_DATAERR) when the stream is damaged,
    /// its checksum included, or cut short.
    std::string read(std::size_t size);

private:
    z_stream stream_{};
    bool ended_ = false;
};

}  // namespace quillmore::updatetool
