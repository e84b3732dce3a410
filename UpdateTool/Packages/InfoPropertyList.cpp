#include "UpdateTool/Packages/InfoPropertyList.h"

#include <cstdint>
#include <optional>

#include "Platform/Formats/PropertyListBinaryTable.h"
#include "UpdateTool/Packages/Xml.h"

namespace quillmore::updatetool {

namespace {

using Strings = std::map<std::string, std::string>;

constexpr std::string_view kBinaryMark = "bplist00";
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

/// Short ASCII strings only: keys and versions are.
std::optional<std::string> shortString(const platform::BinaryObjectTable& table,
                                       std::uint64_t number) {
    const auto object = table.object(number);
    if (!object || object->kind != platform::BinaryKind::ascii || object->count > kLongestString)
        return std::nullopt;
    return std::string(object->content);
}

Strings stringsOfBinary(std::string_view bytes) {
    Strings strings;
    const auto table = platform::BinaryObjectTable::open(bytes);
    const auto top = table ? table->object(table->topObject()) : std::nullopt;
    if (!top || top->kind != platform::BinaryKind::dictionary) return strings;
    for (std::uint64_t index = 0; index < top->count; ++index) {
        const auto key = shortString(*table, table->reference(*top, index));
        const auto text = shortString(*table, table->reference(*top, top->count + index));
        if (key && text) strings[*key] = *text;
    }
    return strings;
}

}  // namespace

Strings stringsOfInfo(std::string_view propertyList) {
    return propertyList.starts_with(kBinaryMark) ? stringsOfBinary(propertyList)
                                                 : stringsOfXml(propertyList);
}

}  // namespace quillmore::updatetool
