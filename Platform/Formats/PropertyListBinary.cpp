#include <algorithm>
#include <bit>
#include <limits>
#include <optional>
#include <vector>

#include "Platform/Formats/PropertyList+Formats.h"
#include "Platform/Formats/PropertyList.h"
#include "Platform/Formats/PropertyListBinaryTable.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore::platform {

namespace {

/// Text and data of all values together, counted as often as they occur.
constexpr std::uint64_t kMaximumContentBytes = 2 * kMaximumPropertyListBytes;

Error damaged(std::string_view fault) {
    return Error::file("the binary property list is damaged: " + std::string(fault));
}

/// Up to eight bytes; the longest form (16 bytes) is signed and saturates. As in every reader of
/// the format the forms of 1, 2 and 4 bytes have no sign, that of 8 has one.
std::int64_t integerOf(std::string_view content) {
    const auto low = static_cast<std::int64_t>(bigEndianNumber(content));
    if (content.size() <= 8) return low;
    const auto high = static_cast<std::int64_t>(bigEndianNumber(content.substr(0, 8)));
    const bool fits = high == (low < 0 ? -1 : 0);
    if (fits) return low;
    return high < 0 ? std::numeric_limits<std::int64_t>::min()
                    : std::numeric_limits<std::int64_t>::max();
}

double realOf(std::string_view content) {
    const std::uint64_t bits = bigEndianNumber(content);
    if (content.size() == sizeof(float)) {
        return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    }
    return std::bit_cast<double>(bits);
}

std::optional<std::string> textOf(const BinaryObject& object) {
    if (object.kind == BinaryKind::utf16) {
        return utf8FromUtf16(object.content, ByteOrder::bigEndian);
    }
    if (!isUtf8(object.content)) return std::nullopt;
    return std::string(object.content);
}

/// Follows every reference from the top object and makes values of what it finds. An object that
/// several refer to is made, and counted, for each of them.
class BinaryReader {
public:
    explicit BinaryReader(const BinaryObjectTable& table) : table_(table) {}

    Result<Value> read() {
        Value value;
        if (readValue(table_.topObject(), value)) return value;
        return damaged(fault_);
    }

private:
    bool fail(std::string fault) {
        fault_ = std::move(fault);
        return false;
    }

    bool readValue(std::uint64_t number, Value& value) {
        const auto object = table_.object(number);
        if (!object) return fail("an object outside the file or of an unknown kind");
        if (++values_ > kMaximumPropertyListValues) return fail("too many values");
        if (object->kind == BinaryKind::array || object->kind == BinaryKind::dictionary) {
            return readContainer(number, *object, value);
        }
        contentBytes_ += object->content.size();
        if (contentBytes_ > kMaximumContentBytes) return fail("too much text and data");
        return readScalar(*object, value);
    }

    bool readScalar(const BinaryObject& object, Value& value) {
        switch (object.kind) {
            case BinaryKind::boolean:
                value = object.count != 0;
                return true;
            case BinaryKind::integer:
                value = integerOf(object.content);
                return true;
            case BinaryKind::real:
                value = realOf(object.content);
                return true;
            case BinaryKind::date:
                value = Date{realOf(object.content)};
                return true;
            case BinaryKind::data:
                value = Data{{object.content.begin(), object.content.end()}};
                return true;
            default:
                return readText(object, value);
        }
    }

    bool readText(const BinaryObject& object, Value& value) {
        auto text = textOf(object);
        if (!text) return fail("text that is not Unicode");
        value = *std::move(text);
        return true;
    }

    /// Recursion ends at the depth of the path, which also finds a container that holds itself.
    bool readContainer(std::uint64_t number, const BinaryObject& container, Value& value) {
        if (std::find(path_.begin(), path_.end(), number) != path_.end()) {
            return fail("a container inside itself");
        }
        if (path_.size() >= std::size_t{kMaximumPropertyListDepth}) {
            return fail("too many nested containers");
        }
        path_.push_back(number);
        const bool isRead = container.kind == BinaryKind::array ? readArray(container, value)
                                                                : readDictionary(container, value);
        path_.pop_back();
        return isRead;
    }

    bool readArray(const BinaryObject& container, Value& value) {
        Array array;
        for (std::uint64_t index = 0; index < container.count; ++index) {
            if (!readValue(table_.reference(container, index), array.emplace_back())) return false;
        }
        value = std::move(array);
        return true;
    }

    bool readDictionary(const BinaryObject& container, Value& value) {
        Dictionary dictionary;
        std::string key;
        for (std::uint64_t index = 0; index < container.count; ++index) {
            if (!readKey(table_.reference(container, index), key)) return false;
            // Of a key that occurs twice the last value holds.
            Value& entry = dictionary[key];
            if (!readValue(table_.reference(container, container.count + index), entry)) {
                return false;
            }
        }
        value = std::move(dictionary);
        return true;
    }

    bool readKey(std::uint64_t number, std::string& key) {
        const auto object = table_.object(number);
        if (object && object->kind != BinaryKind::ascii && object->kind != BinaryKind::utf16) {
            return fail("a key that is not text");
        }
        Value text;
        if (!readValue(number, text)) return false;
        key = *text.string();
        // Deliberate: readers that hold keys as C strings would take it for another one.
        return key.find('\0') == std::string::npos || fail("a key with a zero character");
    }

    const BinaryObjectTable& table_;
    std::vector<std::uint64_t> path_;  ///< Containers from the top one down to this.
    std::size_t values_ = 0;
    std::uint64_t contentBytes_ = 0;
    std::string fault_;
};

}  // namespace

Result<Value> parseBinaryPropertyList(std::string_view bytes) {
    const auto table = BinaryObjectTable::open(bytes);
    if (!table) return damaged("the trailer does not fit the file");
    if (!bytes.starts_with("bplist00")) return damaged("an unknown version of the format");
    return BinaryReader(*table).read();
}

}  // namespace quillmore::platform
