#include "Platform/Formats/StringTable.h"

#include "Platform/Files/FileManager.h"
#include "Platform/Formats/PropertyList.h"
#include "Platform/Formats/StringTableScanner.h"
#include "Platform/Values/Text.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore::platform {

namespace {

Result<StringTable> tableFromPropertyList(std::string_view bytes) {
    const auto list = parsePropertyList(bytes);
    if (!list) return list.error();
    const Dictionary* dictionary = list->dictionary();
    if (dictionary == nullptr) return Error::file("the string table is not a dictionary");
    StringTable table;
    for (const auto& [key, value] : *dictionary) {
        if (value.string() == nullptr) {
            return Error::file("the string table has no text for the key \"" +
                               std::string(utf8Prefix(key, 200)) + "\"");
        }
        table.emplace_hint(table.end(), key, *value.string());
    }
    return table;
}

Result<StringTable> tableFromText(std::string_view text) {
    StringTableScanner scanner(text);
    StringTable table;
    std::string key;
    std::string string;
    while (scanner.takePair(key, string)) {
        table.insert_or_assign(std::move(key), std::move(string));
    }
    if (!scanner.fault().empty()) {
        return Error::file("the string table is damaged in line " + std::to_string(scanner.line()) +
                           ": " + scanner.fault());
    }
    return table;
}

}  // namespace

Result<StringTable> parseStringTable(std::string_view bytes) {
    if (bytes.size() > kMaximumPropertyListBytes) {
        return Error::file("the string table is larger than " +
                           std::to_string(kMaximumPropertyListBytes) + " bytes");
    }
    if (bytes.starts_with("bplist")) return tableFromPropertyList(bytes);
    std::string storage;
    const auto text = textOfFile(bytes, storage);
    if (!text) return Error::file("the string table is neither UTF-8 nor UTF-16 text");
    const std::size_t first = text->find_first_not_of(kWhiteSpace);
    if (first != std::string_view::npos && (*text)[first] == '<') {
        return tableFromPropertyList(*text);
    }
    return tableFromText(*text);
}

Result<StringTable> readStringTable(const FileManager& fileManager, const std::string& path) {
    const auto bytes = fileManager.contents(path, kMaximumPropertyListBytes);
    if (!bytes) return bytes.error();
    return parseStringTable(*bytes);
}

}  // namespace quillmore::platform
