// Another reader's opinion of a binary property list: libplist's. It reads the same files in its
// own way, and gives less of them out: dates in 32 bits, the longest integers without their sign,
// text up to a zero character.
#pragma once

#include <plist/plist.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Values/Value.h"

namespace quillmore::tests {

class PropertyListOracle {
public:
    /// Whether libplist finds the same value in the bytes; nothing when it cannot read them.
    static std::optional<bool> agrees(std::string_view bytes, const platform::Value& value) {
        plist_t root = nullptr;
        plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
        if (root == nullptr) return std::nullopt;
        const std::unique_ptr<void, void (*)(plist_t)> owner(root, plist_free);
        return isSame(root, value);
    }

private:
    static bool isSame(plist_t node, const platform::Value& value) {
        switch (plist_get_node_type(node)) {
            case PLIST_BOOLEAN:
                return value.boolean() != nullptr && isSame(node, *value.boolean());
            case PLIST_UINT:
                return value.integer() != nullptr && isSame(node, *value.integer());
            case PLIST_REAL:
                return value.real() != nullptr && isSame(node, *value.real());
            case PLIST_DATE:
                return value.date() != nullptr && isSame(node, *value.date());
            case PLIST_STRING:
                return value.string() != nullptr &&
                       value.string()->c_str() == std::string(plist_get_string_ptr(node, nullptr));
            case PLIST_DATA:
                return value.data() != nullptr && isSame(node, *value.data());
            case PLIST_ARRAY:
                return value.array() != nullptr && isSame(node, *value.array());
            case PLIST_DICT:
                return value.dictionary() != nullptr && isSame(node, *value.dictionary());
            default:
                return false;
        }
    }

    static bool isSame(plist_t node, bool boolean) {
        std::uint8_t theirs = 0;
        plist_get_bool_val(node, &theirs);
        return (theirs != 0) == boolean;
    }

    static bool isSame(plist_t node, std::int64_t integer) {
        std::uint64_t theirs = 0;
        plist_get_uint_val(node, &theirs);
        const bool saturated = integer == std::numeric_limits<std::int64_t>::max() ||
                               integer == std::numeric_limits<std::int64_t>::min();
        return saturated || static_cast<std::int64_t>(theirs) == integer;
    }

    static bool isSame(plist_t node, double real) {
        double theirs = 0;
        plist_get_real_val(node, &theirs);
        return theirs == real || (std::isnan(theirs) && std::isnan(real));
    }

    static bool isSame(plist_t node, const platform::Date& date) {
        const double seconds = date.secondsSinceReferenceDate;
        if (!(std::abs(seconds) < 2e9)) return true;
        std::int32_t whole = 0;
        std::int32_t millionths = 0;
        plist_get_date_val(node, &whole, &millionths);
        return std::abs(whole + millionths / 1e6 - seconds) < 2;
    }

    static bool isSame(plist_t node, const platform::Data& data) {
        std::uint64_t length = 0;
        const char* const theirs = plist_get_data_ptr(node, &length);
        return std::string_view(theirs, length) ==
               std::string_view(reinterpret_cast<const char*>(data.bytes.data()),
                                data.bytes.size());
    }

    static bool isSame(plist_t node, const platform::Array& array) {
        if (plist_array_get_size(node) != array.size()) return false;
        plist_array_iter iterator = nullptr;
        plist_array_new_iter(node, &iterator);
        const std::unique_ptr<void, void (*)(void*)> owner(iterator, std::free);
        for (const platform::Value& item : array) {
            plist_t theirs = nullptr;
            plist_array_next_item(node, iterator, &theirs);
            if (theirs == nullptr || !isSame(theirs, item)) return false;
        }
        return true;
    }

    static bool isSame(plist_t node, const platform::Dictionary& dictionary) {
        plist_dict_iter iterator = nullptr;
        plist_dict_new_iter(node, &iterator);
        const std::unique_ptr<void, void (*)(void*)> owner(iterator, std::free);
        std::map<std::string, plist_t> theirs;  // it keeps all entries of a key: the last holds
        for (std::uint32_t left = plist_dict_get_size(node); left > 0; --left) {
            char* key = nullptr;
            plist_t item = nullptr;
            plist_dict_next_item(node, iterator, &key, &item);
            const std::unique_ptr<char, void (*)(void*)> keyOwner(key, std::free);
            if (key == nullptr || item == nullptr) return false;
            theirs.insert_or_assign(key, item);
        }
        if (theirs.size() != dictionary.size()) return false;
        for (const auto& [key, value] : dictionary) {
            const auto found = theirs.find(key);
            if (found == theirs.end() || !isSame(found->second, value)) return false;
        }
        return true;
    }
};

}  // namespace quillmore::tests
