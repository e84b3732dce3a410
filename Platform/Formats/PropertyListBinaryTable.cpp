#include "Platform/Formats/PropertyListBinaryTable.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <vector>

#include "Platform/Formats/PropertyList.h"
#include "Platform/Formats/PropertyListFormats.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore::platform {

namespace {

constexpr std::size_t kHeaderBytes = 8;
constexpr std::size_t kTrailerBytes = 32;
/// Text and data of all values together, counted as often as they occur.
constexpr std::uint64_t kMaximumContentBytes = 2 * kMaximumPropertyListBytes;

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
            // 8 and 9 are the booleans; null and fill have no place in a property list.
            if (marker == 0x08 || marker == 0x09) return BinaryKind::constant;
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

class TableChecker {
public:
    explicit TableChecker(const BinaryObjectTable& table) : table_(table) {}

    std::optional<std::string> check() {
        visit(table_.topObject());
        return std::move(fault_);
    }

private:
    bool fail(std::string fault) {
        fault_ = std::move(fault);
        return false;
    }

    bool visit(std::uint64_t number) {
        const auto object = table_.object(number);
        if (!object) return fail("an object outside the file or of an unknown kind");
        if (++values_ > kMaximumPropertyListValues) return fail("too many values");
        switch (object->kind) {
            case BinaryKind::array:
            case BinaryKind::dictionary:
                return visitContainer(number, *object);
            case BinaryKind::ascii:
            case BinaryKind::utf16:
                return countContent(*object) && checkText(*object);
            default:
                return countContent(*object);
        }
    }

    bool countContent(const BinaryObject& object) {
        contentBytes_ += object.content.size();
        return contentBytes_ <= kMaximumContentBytes || fail("too much text and data");
    }

    bool checkText(const BinaryObject& object) {
        const bool isSound = object.kind == BinaryKind::ascii
                                 ? isUtf8(object.content)
                                 : utf8FromUtf16(object.content, ByteOrder::bigEndian).has_value();
        return isSound || fail("text that is not Unicode");
    }

    bool visitContainer(std::uint64_t number, const BinaryObject& container) {
        if (std::find(path_.begin(), path_.end(), number) != path_.end()) {
            return fail("a container inside itself");
        }
        if (path_.size() >= std::size_t{kMaximumPropertyListDepth}) {
            return fail("too many nested containers");
        }
        path_.push_back(number);
        const bool isDictionary = container.kind == BinaryKind::dictionary;
        const std::uint64_t references = isDictionary ? container.count * 2 : container.count;
        for (std::uint64_t index = 0; index < references; ++index) {
            const std::uint64_t reference = table_.reference(container, index);
            if (isDictionary && index < container.count && !isKey(reference)) return false;
            if (!visit(reference)) return false;
        }
        path_.pop_back();
        return true;
    }

    /// libplist hands keys out as C strings: a zero character would cut one short.
    bool isKey(std::uint64_t number) {
        const auto object = table_.object(number);
        if (!object) return true;  // `visit` says what is wrong.
        if (object->kind == BinaryKind::ascii) {
            return object->content.find('\0') == std::string_view::npos ||
                   fail("a key with a zero character");
        }
        if (object->kind != BinaryKind::utf16) return fail("a key that is not text");
        for (std::size_t index = 0; index < object->content.size(); index += 2) {
            if (object->content[index] == 0 && object->content[index + 1] == 0) {
                return fail("a key with a zero character");
            }
        }
        return true;
    }

    const BinaryObjectTable& table_;
    std::vector<std::uint64_t> path_;
    std::size_t values_ = 0;
    std::uint64_t contentBytes_ = 0;
    std::optional<std::string> fault_;
};

}  // namespace

std::uint64_t bigEndianNumber(std::string_view bytes) {
    std::uint64_t number = 0;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        number = number << 8 | byteAt(bytes, index);
    }
    return number;
}

std::int64_t binaryInteger(std::string_view content) {
    const auto low = static_cast<std::int64_t>(bigEndianNumber(content));
    if (content.size() <= 8) return low;
    const auto high = static_cast<std::int64_t>(bigEndianNumber(content.substr(0, 8)));
    const bool fits = high == (low < 0 ? -1 : 0);
    if (fits) return low;
    return high < 0 ? std::numeric_limits<std::int64_t>::min()
                    : std::numeric_limits<std::int64_t>::max();
}

double binaryReal(std::string_view content) {
    const std::uint64_t bits = bigEndianNumber(content);
    if (content.size() == sizeof(float)) {
        return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    }
    return std::bit_cast<double>(bits);
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
    if (*kind == BinaryKind::constant) return object;
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

std::optional<std::string> faultOf(const BinaryObjectTable& table) {
    return TableChecker(table).check();
}

}  // namespace quillmore::platform
