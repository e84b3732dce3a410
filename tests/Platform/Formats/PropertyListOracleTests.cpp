#include "tests/Platform/Formats/PropertyListOracle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

#include "Platform/Formats/PropertyList.h"
#include "tests/Platform/Formats/BinaryPropertyList.h"

namespace quillmore::tests {
namespace {

using namespace std::string_literals;
using platform::Date;
using platform::Dictionary;
using platform::parsePropertyList;
using platform::Value;

TEST(PropertyListOracle, ReadsWhatLibplistWrites) {
    const std::unique_ptr<void, void (*)(plist_t)> root(plist_new_dict(), plist_free);
    plist_dict_set_item(root.get(), "text", plist_new_string("ä€"));
    plist_dict_set_item(root.get(), "number", plist_new_uint(1'000'000));
    plist_dict_set_item(root.get(), "date", plist_new_date(86400, 0));
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root.get(), &bytes, &length);
    const std::unique_ptr<char, void (*)(char*)> owner(bytes, plist_to_bin_free);
    const auto list = parsePropertyList(std::string_view(bytes, length));
    ASSERT_TRUE(list.hasValue());
    EXPECT_EQ(*list,
              Value(Dictionary{{"text", "ä€"}, {"number", 1'000'000}, {"date", Date{86400}}}));
}

bool holdsEmptyText(const Value& value) {
    if (const auto* text = value.string()) return text->empty();
    if (const auto* array = value.array()) return std::ranges::any_of(*array, holdsEmptyText);
    if (value.dictionary() == nullptr) return false;
    return std::ranges::any_of(*value.dictionary(), [](const auto& entry) {
        return entry.first.empty() || holdsEmptyText(entry.second);
    });
}

TEST(PropertyListOracle, LibplistReadsTheSameInDamagedFiles) {
    const std::string sound[] = {
        BinaryFile{{"\xD3\1\2\3\4\5\6",
                    "\x51"
                    "a",
                    "\x51"
                    "b",
                    "\x62\0\xE4\x20\xAC"s, "\xA4\1\7\x08\5",
                    "\x23" + bigEndian(0xBFF8000000000000, 8),
                    "\x33" + bigEndian(0x41B3000000000000, 8), "\x43\1\0\2"s, "\xD1\1\2"}}
            .bytes(),
        BinaryFile{{"\xAA\1\2\3\4\5\6\7\x08\x09\x0A", "\x10\xFF", "\x11\1\2",
                    "\x12" + bigEndian(0xFFFFFFFF, 4), "\x13" + bigEndian(~0ULL, 8),
                    "\x14" + bigEndian(0, 8) + bigEndian(7, 8), "\x08", "\x09",
                    "\x22" + bigEndian(0x3FC00000, 4), "\x63\0\x41\xD8\x3C\xDF\x89"s, "\xA0"}}
            .bytes()};
    std::mt19937 random(1);
    std::size_t read = 0;
    for (int round = 0; round < 100'000; ++round) {
        std::string bytes = sound[random() % std::size(sound)];
        for (auto changes = random() % 4; changes > 0; --changes)
            bytes[8 + random() % (bytes.size() - 8)] ^= static_cast<char>(1 << random() % 8);
        const auto list = parsePropertyList(bytes);
        if (!list) continue;
        ++read;
        const auto theirs = PropertyListOracle::agrees(bytes, *list);
        ASSERT_TRUE(theirs.value_or(holdsEmptyText(*list))) << testing::PrintToString(bytes) << '\n'
                                                            << list->description();
    }
    EXPECT_GT(read, 30'000U);
}

}  // namespace
}  // namespace quillmore::tests
