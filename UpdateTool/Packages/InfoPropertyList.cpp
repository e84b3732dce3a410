#include "UpdateTool/Packages/InfoPropertyList.h"

#include <cstdint>
#include <optional>

#include "UpdateTool/Packages/Xml.h"

namespace quillmore::updatetool {

namespace {

using Strings = std::map<std::string, std::string>;

constexpr std::string_view kBinaryMark = "bplist00";
constexpr std::size_t kTrailerSize = 32;
/// A long one may be named by every reference of a list; no version and no key is one.
constexpr std::uint64_t kLongestString = 1024;

Strings stringsOfXml(std::string_view text) {
    Strings strings;
    const auto document = parseXml(text);
    const XmlElement* dictionary =
        document && document->name == "plist" ? document->child("dict") : nullptr;
    if (dictionary == nullptr) return strings;
    const auto& items = dictionary->children;
    for (std::size_t index = 0; index + 1 < items.size(); index += 2) {
        if (items[index].name != "key") return {};
        if (items[index + 1].name == "string") strings[items[index].text] = items[index + 1].text;
    }
    return strings;
}

/// A binary list: numbered objects, found through a table of offsets at its end.
class BinaryList {
public:
    explicit BinaryList(std::string_view bytes) : bytes_(bytes) {
        if (bytes_.size() < kBinaryMark.size() + kTrailerSize) return;
        const std::size_t trailer = bytes_.size() - kTrailerSize;
        offsetSize_ = number(trailer + 6, 1).value_or(0);
        referenceSize_ = number(trailer + 7, 1).value_or(0);
        count_ = number(trailer + 8, 8).value_or(0);
        top_ = number(trailer + 16, 8).value_or(0);
        table_ = number(trailer + 24, 8).value_or(0);
    }

    Strings strings() const {
        Strings result;
        const auto top = object(top_);
        if (!top || top->kind != 0xd) return result;
        for (std::uint64_t index = 0; index < top->size; ++index) {
            const auto key = reference(*top, index);
            const auto value = reference(*top, top->size + index);
            if (!key || !value) return {};
            const auto name = string(*key);
            const auto text = string(*value);
            if (name && text) result[*name] = *text;
        }
        return result;
    }

private:
    struct Object {
        std::uint64_t kind = 0;
        std::uint64_t size = 0;      ///< Of a string or dictionary, in elements.
        std::uint64_t contents = 0;  ///< Offset.
    };

    /// Big-endian; nothing when it does not lie within the bytes.
    std::optional<std::uint64_t> number(std::uint64_t offset, std::uint64_t size) const {
        if (size < 1 || size > 8 || offset > bytes_.size() || size > bytes_.size() - offset)
            return std::nullopt;
        std::uint64_t value = 0;
        for (std::uint64_t at = offset; at < offset + size; ++at)
            value = value << 8 | static_cast<unsigned char>(bytes_[at]);
        return value;
    }
    std::optional<Object> object(std::uint64_t index) const {
        if (index >= count_ || index > bytes_.size()) return std::nullopt;
        const auto offset = number(table_ + index * offsetSize_, offsetSize_);
        const auto marker = offset ? number(*offset, 1) : std::nullopt;
        if (!marker) return std::nullopt;
        Object result{*marker >> 4, *marker & 0xf, *offset + 1};
        if (result.size != 0xf) return result;
        // The size is an integer object of its own.
        const auto integer = number(result.contents, 1);
        if (!integer || *integer >> 4 != 1 || (*integer & 0xf) > 3) return std::nullopt;
        const std::uint64_t length = std::uint64_t{1} << (*integer & 0xf);
        const auto size = number(result.contents + 1, length);
        if (!size || *size > bytes_.size()) return std::nullopt;
        return Object{result.kind, *size, result.contents + 1 + length};
    }
    std::optional<std::uint64_t> reference(const Object& dictionary, std::uint64_t index) const {
        return number(dictionary.contents + index * referenceSize_, referenceSize_);
    }
    /// Short ASCII strings only: keys and versions are.
    std::optional<std::string> string(std::uint64_t index) const {
        const auto found = object(index);
        if (!found || found->kind != 5 || found->size > kLongestString ||
            found->contents > bytes_.size() || found->size > bytes_.size() - found->contents)
            return std::nullopt;
        return std::string(bytes_.substr(found->contents, found->size));
    }

    std::string_view bytes_;
    std::uint64_t offsetSize_ = 0, referenceSize_ = 0, count_ = 0, top_ = 0, table_ = 0;
};

}  // namespace

Strings stringsOfInfo(std::string_view propertyList) {
    return propertyList.starts_with(kBinaryMark) ? BinaryList(propertyList).strings()
                                                 : stringsOfXml(propertyList);
}

}  // namespace quillmore::updatetool
