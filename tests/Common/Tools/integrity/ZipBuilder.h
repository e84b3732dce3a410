// Makes ZIP archives byte by byte, so that a test can say things in one that no archiver would.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <string>
#include <vector>

namespace quillmore::tests {

struct ZipEntry {
    std::string name;
    std::string contents;
    std::uint32_t mode = 0;  ///< Unix mode with its type bits; 0 for an archive that has none.
    std::uint16_t flags = 0;
    std::uint16_t method = 0;  ///< The contents are stored as they are, whatever is said here.
    std::uint32_t checksumError = 0;  ///< Added to the checksum.
    std::int32_t sizeError = 0;       ///< Added to the unpacked size.
};

class ZipBuilder {
public:
    ZipBuilder& add(ZipEntry entry) {
        entries_.push_back(std::move(entry));
        return *this;
    }
    ZipBuilder& folder(const std::string& name) { return add({name + "/", "", 040755}); }
    ZipBuilder& file(const std::string& name, const std::string& contents,
                     std::uint32_t mode = 0100644) {
        return add({name, contents, mode});
    }

    std::string bytes() const {
        std::string data, directory;
        for (const ZipEntry& entry : entries_) {
            const auto offset = static_cast<std::uint32_t>(data.size());
            data += "PK\x03\x04" + number(20, 2) + common(entry) + number(0, 2) + entry.name +
                    entry.contents;
            directory += "PK\x01\x02" + number(0x0314, 2) + number(20, 2) + common(entry) +
                         number(0, 8) + number(entry.mode << 16, 4) + number(offset, 4) +
                         entry.name;
        }
        const auto count = static_cast<std::uint32_t>(entries_.size());
        return data + directory + "PK\x05\x06" + number(0, 4) + number(count, 2) +
               number(count, 2) + number(directory.size(), 4) + number(data.size(), 4) +
               number(0, 2);
    }

private:
    static std::string number(std::uint64_t value, int size) {
        std::string text;
        for (int at = 0; at < size; ++at) text += static_cast<char>(value >> (8 * at) & 0xff);
        return text;
    }
    /// Flags, method, time, date, checksum, sizes, name length: the same in both headers.
    static std::string common(const ZipEntry& entry) {
        const auto size = static_cast<std::uint32_t>(entry.contents.size());
        const auto checksum = static_cast<std::uint32_t>(
            crc32(0, reinterpret_cast<const Bytef*>(entry.contents.data()), size));
        const std::uint32_t unpacked = size + static_cast<std::uint32_t>(entry.sizeError);
        return number(entry.flags, 2) + number(entry.method, 2) + number(0x21000000 >> 8, 4) +
               number(checksum + entry.checksumError, 4) + number(size, 4) + number(unpacked, 4) +
               number(entry.name.size(), 2);
    }
    std::vector<ZipEntry> entries_;
};

}  // namespace quillmore::tests
