#include "Platform/Formats/PropertyListBinaryTable.h"

namespace quillmore::platform {

namespace {

constexpr std::size_t kHeaderBytes = 8;
constexpr std::uint8_t kFalse = 0x08;
constexpr std::uint8_t kTrue = 0x09;
constexpr std::size_t kTrailerBytes = 32;

std::uint8_t byteAt(std::string_view bytes, std::size_t index) {
    return static_cast<std::uint8_t>(bytes[index]);
}

/// Bytes of an integer, real or date; 0 when there is no such width.
std::size_t numberBytes(BinaryKind kind, unsigned exponent) {
    const std::size_t bytes = std::size_t{1} << exponent;
    if (kind == BinaryKind::integer) return bytes <= 16 ? bytes : 0;
    if (kind == BinaryKind::date) return bytes == 8 ? bytes : 0;
    return bytes == 4 || bytes == 8 ? bytes : 0;
}

std::optional<BinaryKind> kindOf(std::uint8_t marker) {
    switch (marker >> 4) {
        case 0x0:
            // Null and fill have no place in a property list.
            if (marker == kFalse || marker == kTrue) return BinaryKind::boolean;
            return std::nullopt;
        case 0x1:
            return BinaryKind::integer;
        case 0x2:
            return BinaryKind::real;
        case 0x3:
            return BinaryKind::date;
        case 0x4:
            return BinaryKind::data;
        case 0x5:
            return BinaryKind::ascii;
        case 0x6:
            return BinaryKind::utf16;
        case 0xA:
            return BinaryKind::array;
        case 0xD:
            return BinaryKind::dictionary;
        default:
            return std::nullopt;
    }
}

}  // namespace

std::uint64_t bigEndianNumber(std::string_view bytes) {
    std::uint64_t number = 0;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        number = number << 8 | byteAt(bytes, index);
    }
    return number;
}

std::optional<BinaryObjectTable> BinaryObjectTable::open(std::string_view bytes) {
    if (bytes.size() < kHeaderBytes + kTrailerBytes) return std::nullopt;
    const std::string_view trailer = bytes.substr(bytes.size() - kTrailerBytes);
    BinaryObjectTable table;
    table.offsetSize_ = byteAt(trailer, 6);
    table.referenceSize_ = byteAt(trailer, 7);
    const std::uint64_t count = bigEndianNumber(trailer.substr(8, 8));
    table.topObject_ = bigEndianNumber(trailer.substr(16, 8));
    const std::uint64_t start = bigEndianNumber(trailer.substr(24, 8));
    const std::size_t end = bytes.size() - kTrailerBytes;
    if (table.offsetSize_ < 1 || table.offsetSize_ > 8) return std::nullopt;
    if (table.referenceSize_ < 1 || table.referenceSize_ > 8) return std::nullopt;
    if (start < kHeaderBytes || start > end) return std::nullopt;
    if (table.topObject_ >= count || count > (end - start) / table.offsetSize_) return std::nullopt;
    table.objects_ = bytes.substr(0, start);
    table.offsets_ = bytes.substr(start, count * table.offsetSize_);
    return table;
}

bool BinaryObjectTable::takeCount(std::string_view& rest, std::uint64_t& count) const {
    if (rest.empty() || byteAt(rest, 0) >> 4 != 0x1) return false;
    const std::size_t bytes = std::size_t{1} << (byteAt(rest, 0) & 0x0F);
    if (bytes > 8 || bytes >= rest.size()) return false;
    count = bigEndianNumber(rest.substr(1, bytes));
    rest.remove_prefix(1 + bytes);
    return true;
}

std::optional<BinaryObject> BinaryObjectTable::object(std::uint64_t number) const {
    if (number >= offsets_.size() / offsetSize_) return std::nullopt;
    const std::uint64_t offset =
        bigEndianNumber(offsets_.substr(number * offsetSize_, offsetSize_));
    if (offset < kHeaderBytes || offset >= objects_.size()) return std::nullopt;
    std::string_view rest = objects_.substr(offset);
    const std::uint8_t marker = byteAt(rest, 0);
    rest.remove_prefix(1);
    const auto kind = kindOf(marker);
    if (!kind) return std::nullopt;
    BinaryObject object{*kind, marker & 0x0FU, {}};
    if (*kind == BinaryKind::boolean) return BinaryObject{*kind, marker == kTrue, {}};
    std::uint64_t unit = 1;
    if (*kind == BinaryKind::integer || *kind == BinaryKind::real || *kind == BinaryKind::date) {
        object.count = numberBytes(*kind, marker & 0x0FU);
        if (object.count == 0) return std::nullopt;
    } else {
        if (object.count == 0x0F && !takeCount(rest, object.count)) return std::nullopt;
        if (*kind == BinaryKind::utf16) unit = 2;
        if (*kind == BinaryKind::array) unit = referenceSize_;
        if (*kind == BinaryKind::dictionary) unit = 2 * referenceSize_;
    }
    if (object.count > rest.size() / unit) return std::nullopt;
    object.content = rest.substr(0, object.count * unit);
    return object;
}

std::uint64_t BinaryObjectTable::reference(const BinaryObject& container,
                                           std::uint64_t index) const {
    return bigEndianNumber(container.content.substr(index * referenceSize_, referenceSize_));
}

}  // namespace quillmore::platform
