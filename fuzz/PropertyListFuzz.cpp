// Any bytes either give an error or a value that is written and read back as the same value.
// Another reader of binary lists finds the same one, or cannot read it.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "Platform/Formats/PropertyList.h"
#include "Platform/Values/TextEncoding.h"
#include "tests/Platform/Formats/PropertyListOracle.h"

namespace {

using namespace quillmore::platform;

/// Whether XML can say the value: no zero characters, no fractions of seconds, four-digit years,
/// and no number that is unequal to itself.
bool hasXmlForm(const Value& value) {
    if (const auto* text = value.string()) return text->find('\0') == std::string::npos;
    if (const auto* real = value.real()) return !std::isnan(*real);
    if (const auto* date = value.date()) {
        const double seconds = date->secondsSinceReferenceDate;
        return std::floor(seconds) == seconds && seconds > -63e9 && seconds < 252e9;
    }
    if (const auto* array = value.array()) {
        for (const Value& item : *array) {
            if (!hasXmlForm(item)) return false;
        }
    }
    if (const auto* dictionary = value.dictionary()) {
        for (const auto& [key, item] : *dictionary) {
            if (!hasXmlForm(key) || !hasXmlForm(item)) return false;
        }
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto list = parsePropertyList(bytes);
    if (!list) {
        if (!isUtf8(list.error().localizedDescription())) std::abort();
        return 0;
    }
    if (!isUtf8(list->description())) std::abort();
    if (bytes.starts_with("bplist") &&
        !quillmore::tests::PropertyListOracle::agrees(bytes, *list).value_or(true))
        std::abort();
    const auto copy = parsePropertyList(writePropertyList(*list));
    if (!copy) std::abort();
    if (hasXmlForm(*list) && !(*copy == *list)) std::abort();
    return 0;
}
