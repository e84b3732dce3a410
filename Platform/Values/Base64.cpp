#include "Platform/Values/Base64.h"

#include <array>

#include "Platform/Values/Text.h"

namespace quillmore::platform {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::int8_t kForeign = -1;
constexpr std::int8_t kBlank = -2;
constexpr std::int8_t kPadding = -3;

constexpr std::array<std::int8_t, 256> makeMeanings() {
    std::array<std::int8_t, 256> meanings{};
    meanings.fill(kForeign);
    for (const char blank : kWhiteSpace) meanings[static_cast<std::uint8_t>(blank)] = kBlank;
    meanings['='] = kPadding;
    for (std::size_t index = 0; index < kAlphabet.size(); ++index) {
        meanings[static_cast<std::uint8_t>(kAlphabet[index])] = static_cast<std::int8_t>(index);
    }
    return meanings;
}

constexpr std::array<std::int8_t, 256> kMeanings = makeMeanings();

}  // namespace

std::string base64FromData(const Data& data) {
    std::string text;
    text.reserve((data.bytes.size() + 2) / 3 * 4);
    for (std::size_t index = 0; index < data.bytes.size(); index += 3) {
        const std::size_t count = std::min<std::size_t>(3, data.bytes.size() - index);
        std::uint32_t group = 0;
        for (std::size_t byte = 0; byte < 3; ++byte) {
            group = group << 8 | (byte < count ? data.bytes[index + byte] : 0U);
        }
        for (std::size_t digit = 0; digit < 4; ++digit) {
            text += digit <= count ? kAlphabet[group >> (18 - 6 * digit) & 0x3F] : '=';
        }
    }
    return text;
}

std::optional<Data> dataFromBase64(std::string_view text) {
    Data data;
    data.bytes.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t group = 0;
    std::size_t digits = 0;
    std::size_t paddings = 0;
    for (const char character : text) {
        const std::int8_t meaning = kMeanings[static_cast<std::uint8_t>(character)];
        if (meaning == kBlank) continue;
        if (meaning == kPadding) {
            ++paddings;
            continue;
        }
        if (meaning == kForeign || paddings > 0) return std::nullopt;
        // Old bits fall off at the top; only the last 14 count.
        group = group << 6 | static_cast<std::uint32_t>(meaning);
        const std::size_t bits = ++digits % 4 * 2;
        if (digits % 4 != 1)
            data.bytes.push_back(static_cast<std::uint8_t>(group >> (8 - bits) % 8));
    }
    if (digits % 4 == 1 || paddings > 2) return std::nullopt;
    return data;
}

}  // namespace quillmore::platform
