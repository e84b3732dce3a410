#include "Common/Tools/ZipEndRecord.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string_view>

namespace quillmore {

namespace {

// The records in the order of the file; the first two are there in the large form only.
constexpr std::string_view kLargeRecordMark("PK\x06\x06");
constexpr std::size_t kLargeRecordSize = 56;
constexpr std::string_view kLocatorMark("PK\x06\x07");
constexpr std::size_t kLocatorSize = 20;
constexpr std::string_view kRecordMark("PK\x05\x06");
constexpr std::size_t kRecordSize = 22;
constexpr std::size_t kLongestComment = 0xffff;
/// The count that stands for "see the large record".
constexpr std::uint64_t kSeeLargeRecord = 0xffff;

/// The last bytes of a file and where they begin.
struct Tail {
    std::string bytes;
    std::uint64_t start = 0;

    std::uint64_t number(std::size_t at, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t index = size; index-- > 0;)
            value = value << 8 | static_cast<unsigned char>(bytes[at + index]);
        return value;
    }
    bool has(std::string_view mark, std::size_t at) const {
        return bytes.compare(at, mark.size(), mark) == 0;
    }
};

Tail tailOf(const std::string& path) {
    constexpr std::size_t kLongest =
        kLargeRecordSize + kLocatorSize + kRecordSize + kLongestComment;
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = file.tellg();
    if (!file || size <= 0) return {};
    Tail tail;
    tail.bytes.resize(std::min(kLongest, static_cast<std::size_t>(size)));
    tail.start = static_cast<std::uint64_t>(size) - tail.bytes.size();
    file.seekg(static_cast<std::streamoff>(tail.start));
    file.read(tail.bytes.data(), static_cast<std::streamsize>(tail.bytes.size()));
    return file ? tail : Tail();
}

/// By way of the locator in front of the record at `end`.
bool largeRecordHasNoEntries(const Tail& tail, std::size_t end) {
    if (end < kLargeRecordSize + kLocatorSize) return false;
    const std::size_t locator = end - kLocatorSize;
    if (!tail.has(kLocatorMark, locator)) return false;
    const std::uint64_t place = tail.number(locator + 8, 8);
    const std::size_t last = locator - kLargeRecordSize;
    if (place < tail.start || place - tail.start > last) return false;
    const auto record = static_cast<std::size_t>(place - tail.start);
    return tail.has(kLargeRecordMark, record) && tail.number(record + 24, 8) == 0 &&
           tail.number(record + 32, 8) == 0;
}

}  // namespace

bool isArchiveWithoutEntries(const std::string& path) {
    const Tail tail = tailOf(path);
    const std::size_t end = tail.bytes.rfind(kRecordMark);
    if (end == std::string::npos || tail.bytes.size() - end < kRecordSize) return false;
    if (tail.bytes.size() - end - kRecordSize < tail.number(end + 20, 2)) return false;
    const std::uint64_t here = tail.number(end + 8, 2), inAll = tail.number(end + 10, 2);
    if (here == kSeeLargeRecord && inAll == kSeeLargeRecord)
        return largeRecordHasNoEntries(tail, end);
    return here == 0 && inAll == 0;
}

}  // namespace quillmore
