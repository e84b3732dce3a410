// Any bytes either give nothing or a record whose values are valid UTF-8, and which is written to a
// text that reads back as the same record where it can be said in it.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "Platform/Values/TextEncoding.h"
#include "QuillmoreCore/Classes/Utilities/JSONEncoder.h"

namespace {

using namespace quillmore;
using namespace quillmore::platform;

/// A double comes back as the same one when it is a short fraction: a whole number is written like
/// an integer, and of many digits the last may differ.
bool comesBack(double number) {
    const double quarters = number * 4;
    return std::floor(quarters) == quarters && std::floor(number) != number &&
           std::abs(number) < 1e6;
}

/// Keys are written as they stand.
bool comesBack(const Dictionary& record) {
    for (const auto& [key, value] : record) {
        if (key.empty() || key.find_first_of("\"\\") != std::string::npos) return false;
        if (value.isDouble() && !comesBack(*value.real())) return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (JSONEncoder::stringByReplacingJSONEscape(JSONEncoder::stringByAddingJSONEscape(text))
            .size() > size)
        std::abort();
    const auto record = JSONEncoder::createObjFromJSONStr(text);
    if (!record) return 0;
    for (const auto& [key, value] : *record)
        if (!isUtf8(key) || !isUtf8(value.description())) std::abort();
    const auto copy =
        JSONEncoder::createObjFromJSONStr(JSONEncoder::createJSONStrFromDict(*record));
    if (comesBack(*record) && copy != record) std::abort();
    return 0;
}
