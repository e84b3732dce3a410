#include <plist/plist.h>

#include <cstdlib>
#include <memory>

#include "Platform/Formats/PropertyListBinaryTable.h"
#include "Platform/Formats/PropertyListFormats.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore::platform {

namespace {

struct PlistDeleter {
    void operator()(void* tree) const { plist_free(tree); }
};
struct MemoryDeleter {
    void operator()(void* memory) const { std::free(memory); }
};
using Tree = std::unique_ptr<void, PlistDeleter>;
template <class T>
using Memory = std::unique_ptr<T, MemoryDeleter>;

Error damaged(std::string_view fault) {
    return Error::file("the binary property list is damaged: " + std::string(fault));
}

/// Turns libplist's tree into values. The object table goes along beside the tree, because libplist
/// gives dates out in 32 bits, the longest integers without their sign and text only up to a zero
/// character. Recursion is bounded: the check before has measured the depth.
class TreeReader {
public:
    explicit TreeReader(const BinaryObjectTable& table) : table_(table) {}

    /// `number` is the object which the node was made of.
    Value read(plist_t node, std::uint64_t number) const {
        switch (plist_get_node_type(node)) {
            case PLIST_BOOLEAN:
                return readBoolean(node);
            case PLIST_UINT:
                return binaryInteger(contentOf(number));
            case PLIST_REAL:
                return readReal(node);
            case PLIST_DATE:
                return Date{binaryReal(contentOf(number))};
            case PLIST_STRING:
                return readString(table_.object(number).value_or(BinaryObject{}));
            case PLIST_DATA:
                return readData(node);
            case PLIST_ARRAY:
                return readArray(node, number);
            case PLIST_DICT:
                return readDictionary(node, number);
            default:
                return {};
        }
    }

private:
    std::string_view contentOf(std::uint64_t number) const {
        return table_.object(number).value_or(BinaryObject{}).content;
    }

    static Value readBoolean(plist_t node) {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0;
    }

    static Value readReal(plist_t node) {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }

    static Value readString(const BinaryObject& object) {
        if (object.kind == BinaryKind::ascii) return object.content;
        return utf8FromUtf16(object.content, ByteOrder::bigEndian).value_or("");
    }

    static Value readData(plist_t node) {
        std::uint64_t length = 0;
        const char* bytes = plist_get_data_ptr(node, &length);
        if (bytes == nullptr) return Data{};
        return Data{{bytes, bytes + length}};
    }

    Value readArray(plist_t node, std::uint64_t number) const {
        const BinaryObject object = table_.object(number).value_or(BinaryObject{});
        plist_array_iter iterator = nullptr;
        plist_array_new_iter(node, &iterator);
        const Memory<void> owner(iterator);
        Array array;
        array.reserve(object.count);
        for (std::uint64_t index = 0; index < object.count; ++index) {
            plist_t item = nullptr;
            plist_array_next_item(node, iterator, &item);
            if (item == nullptr) break;
            array.push_back(read(item, table_.reference(object, index)));
        }
        return array;
    }

    Value readDictionary(plist_t node, std::uint64_t number) const {
        const BinaryObject object = table_.object(number).value_or(BinaryObject{});
        plist_dict_iter iterator = nullptr;
        plist_dict_new_iter(node, &iterator);
        const Memory<void> owner(iterator);
        Dictionary dictionary;
        for (std::uint64_t index = 0; index < object.count; ++index) {
            char* key = nullptr;
            plist_t item = nullptr;
            plist_dict_next_item(node, iterator, &key, &item);
            const Memory<char> keyOwner(key);
            if (key == nullptr || item == nullptr) break;
            dictionary.insert_or_assign(key,
                                        read(item, table_.reference(object, object.count + index)));
        }
        return dictionary;
    }

    const BinaryObjectTable& table_;
};

}  // namespace

Result<Value> parseBinaryPropertyList(std::string_view bytes) {
    const auto table = BinaryObjectTable::open(bytes);
    if (!table) return damaged("the trailer does not fit the file");
    if (const auto fault = faultOf(*table)) return damaged(*fault);
    plist_t root = nullptr;
    plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    const Tree tree(root);
    if (!tree) return damaged("libplist cannot read it");
    return TreeReader(*table).read(tree.get(), table->topObject());
}

}  // namespace quillmore::platform
