// Any bytes either give an error or a table that is written and read back as the same table.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "Platform/Formats/StringTable.h"
#include "Platform/Values/TextEncoding.h"

namespace {

using namespace quillmore::platform;

std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\') result += '\\';
        result += character;
    }
    return result + "\"";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto table = parseStringTable({reinterpret_cast<const char*>(data), size});
    if (!table) {
        if (!isUtf8(table.error().localizedDescription())) std::abort();
        return 0;
    }
    // The mark keeps a first key that begins with a zero character from looking like UTF-16.
    std::string written = "\xEF\xBB\xBF";
    for (const auto& [key, text] : *table) {
        if (!isUtf8(key) || !isUtf8(text)) std::abort();
        written += quoted(key) + " = " + quoted(text) + ";\n";
    }
    const auto copy = parseStringTable(written);
    if (!copy || *copy != *table) std::abort();
    return 0;
}
