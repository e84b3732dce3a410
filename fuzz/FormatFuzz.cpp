// Any format with arguments of every kind gives valid text of bounded length, and the text doubled
// in its percent signs formats back to itself.
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>

#include "Platform/Values/Format.h"
#include "Platform/Values/TextEncoding.h"

namespace {

using namespace quillmore::platform;

std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        if (character == '%') result += '%';
        result += character;
    }
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string printed =
        format(text, "täxt", -1, std::numeric_limits<std::int64_t>::min(),
               std::numeric_limits<std::uint64_t>::max(), 1.5e300, nullptr, true,
               Value(Array{1, "a"}), static_cast<const void*>(&data), -0.0,
               std::numeric_limits<double>::infinity(), std::int8_t{-3}, 7U, std::string(50, 'x'));
    if (printed.size() > size * 400 + (std::size_t{1} << 20) + 100'000) std::abort();
    if (isUtf8(text) && !isUtf8(printed)) std::abort();
    if (format(escaped(text)) != text) std::abort();
    return 0;
}
