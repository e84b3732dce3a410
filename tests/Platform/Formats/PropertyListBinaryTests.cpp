#include <gtest/gtest.h>

#include <limits>

#include "Platform/Formats/PropertyList.h"
#include "tests/Platform/Formats/BinaryPropertyList.h"

namespace quillmore::tests {
namespace {

using namespace std::string_literals;
using platform::Array;
using platform::Data;
using platform::Date;
using platform::Dictionary;
using platform::parsePropertyList;
using platform::Value;

Value valueOf(const BinaryFile& file) {
    const auto list = parsePropertyList(file.bytes());
    EXPECT_TRUE(list.hasValue()) << list.error().localizedDescription();
    return list ? *list : Value();
}

std::string faultIn(const std::string& bytes) {
    const auto list = parsePropertyList(bytes);
    EXPECT_FALSE(list.hasValue());
    if (list) return "";
    const std::string text = list.error().localizedDescription();
    const std::string opening = "the binary property list is damaged: ";
    EXPECT_TRUE(text.starts_with(opening)) << text;
    return text.substr(std::min(opening.size(), text.size()));
}

std::string faultIn(const BinaryFile& file) {
    return faultIn(file.bytes());
}

TEST(PropertyListBinary, ReadsIntegersOfEveryWidth) {
    EXPECT_EQ(valueOf({{"\x10\xFF"}}), Value(255));
    EXPECT_EQ(valueOf({{"\x11\x01\x02"}}), Value(258));
    EXPECT_EQ(valueOf({{"\x12" + bigEndian(0xFFFFFFFF, 4)}}), Value(std::int64_t{0xFFFFFFFF}));
    EXPECT_EQ(valueOf({{"\x13" + bigEndian(5'000'000'000, 8)}}),
              Value(std::int64_t{5'000'000'000}));
    EXPECT_EQ(valueOf({{"\x13" + bigEndian(~0ULL, 8)}}), Value(-1));
}

TEST(PropertyListBinary, TheWidestIntegersAreSignedAndSaturate) {
    const auto wide = [](std::uint64_t high, std::uint64_t low) {
        return valueOf({{"\x14" + bigEndian(high, 8) + bigEndian(low, 8)}});
    };
    EXPECT_EQ(wide(0, 7), Value(7));
    EXPECT_EQ(wide(~0ULL, ~0ULL), Value(-1));
    EXPECT_EQ(wide(0, ~0ULL), Value(std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(wide(~0ULL, 7), Value(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(wide(1, 7), Value(std::numeric_limits<std::int64_t>::max()));
}

TEST(PropertyListBinary, ReadsBooleansRealsAndDates) {
    EXPECT_EQ(valueOf({{"\x08"}}), Value(false));
    EXPECT_EQ(valueOf({{"\x09"}}), Value(true));
    EXPECT_EQ(valueOf({{"\x22" + bigEndian(0x3FC00000, 4)}}), Value(1.5));
    EXPECT_EQ(valueOf({{"\x23" + bigEndian(0xBFF8000000000000, 8)}}), Value(-1.5));
    EXPECT_EQ(valueOf({{"\x33" + bigEndian(0x3FF8000000000000, 8)}}), Value(Date{1.5}));
}

TEST(PropertyListBinary, DatesBeyond32BitsKeepTheirValue) {
    EXPECT_EQ(valueOf({{"\x33" + bigEndian(0x422D63C37F000000, 8)}}), Value(Date{63113904000}));
}

TEST(PropertyListBinary, ReadsTextInBothForms) {
    EXPECT_EQ(valueOf({{"\x53"
                        "abc"}}),
              Value("abc"));
    EXPECT_EQ(valueOf({{"\x50"}}), Value(""));
    EXPECT_EQ(valueOf({{"\x63\0\xE4\xD8\x3C\xDF\x89"s}}), Value("ä🎉"));
    EXPECT_EQ(valueOf({{"\x53"
                        "a\0c"s}}),
              Value("a\0c"s));
    const std::string text(300, 'x');
    EXPECT_EQ(valueOf({{"\x5F\x11" + bigEndian(300, 2) + text}}), Value(text));
}

TEST(PropertyListBinary, ReadsDataWithZeroBytes) {
    EXPECT_EQ(valueOf({{"\x43\x01\0\xFF"s}}), Value(Data{{1, 0, 255}}));
    EXPECT_EQ(valueOf({{"\x40"}}), Value(Data{}));
}

TEST(PropertyListBinary, ReadsContainersAndSharedObjects) {
    EXPECT_EQ(valueOf({{"\xA3\1\2\1",
                        "\x51"
                        "a",
                        "\x10\5"}}),
              Value(Array{"a", 5, "a"}));
    EXPECT_EQ(valueOf({{"\xD2\1\2\3\1",
                        "\x51"
                        "a",
                        "\x51"
                        "b",
                        "\x09"}}),
              Value(Dictionary{{"a", true}, {"b", "a"}}));
    EXPECT_EQ(valueOf({{"\xA0"}}), Value(Array{}));
    EXPECT_EQ(valueOf({{"\xD0"}}), Value(Dictionary{}));
}

TEST(PropertyListBinary, WideReferencesAndAnotherTopObjectAreRead) {
    const BinaryFile file{{"\x10\5", "\xA1\0\0\0\0"s}, 4, 8, 1, {}, {}};
    EXPECT_EQ(valueOf(file), Value(Array{5}));
}

TEST(PropertyListBinary, OfAKeyThatOccursTwiceTheLastValueHolds) {
    EXPECT_EQ(valueOf({{"\xD2\1\1\2\3",
                        "\x51"
                        "a",
                        "\x08", "\x09"}}),
              Value(Dictionary{{"a", true}}));
}

TEST(PropertyListBinary, TrailersThatDoNotFitAreRefused) {
    const std::string fault = "the trailer does not fit the file";
    EXPECT_EQ(faultIn("bplist00"s), fault);
    EXPECT_EQ(faultIn(BinaryFile{{"\x09"}, 0, 1, 0, {}, {}}), fault);
    EXPECT_EQ(faultIn(BinaryFile{{"\x09"}, 9, 1, 0, {}, {}}), fault);
    EXPECT_EQ(faultIn(BinaryFile{{"\x09"}, 1, 0, 0, {}, {}}), fault);
    EXPECT_EQ(faultIn(BinaryFile{{"\x09"}, 1, 1, 1, {}, {}}), fault);
    EXPECT_EQ(faultIn(BinaryFile{{"\x09"}, 1, 1, 0, 0, {}}), fault);
    EXPECT_EQ(faultIn(BinaryFile{{"\x09"}, 1, 1, 0, 2, {}}), fault);
    EXPECT_EQ(faultIn(BinaryFile{{"\x09"}, 1, 8, 0, ~0ULL / 8 + 2, {}}), fault);
    EXPECT_EQ(faultIn(BinaryFile{{"\x09"}, 1, 1, 0, {}, 7}), fault);
    EXPECT_EQ(faultIn(BinaryFile{{"\x09"}, 1, 1, 0, {}, 1000}), fault);
    EXPECT_EQ(faultIn(BinaryFile{{"\x09"}, 1, 1, 0, {}, ~0ULL}), fault);
}

TEST(PropertyListBinary, EveryTruncationIsAnError) {
    const std::string whole = BinaryFile{
        {"\xA2\1\2",
         "\x53"
         "abc",
         "\x10\5"}}.bytes();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(parsePropertyList(whole.substr(0, length)).hasValue()) << length;
    }
}

TEST(PropertyListBinary, ObjectsOutsideTheFileOrOfUnknownKindsAreRefused) {
    const std::string fault = "an object outside the file or of an unknown kind";
    EXPECT_EQ(faultIn(BinaryFile{{"\xA1\7"}}), fault);
    for (const std::string& object : {"\x00"s,
                                      "\x0F"s,
                                      "\x0A"s,
                                      "\x15"s,
                                      "\x21\0\0"s,
                                      "\x32\0\0\0\0"s,
                                      "\x70"s,
                                      "\x80\1"s,
                                      "\xB0"s,
                                      "\xC0"s,
                                      "\xE0"s,
                                      "\xF0"s,
                                      "\x13\0"s,
                                      "\x58"s,
                                      "\x62\0\x41"s,
                                      "\xA2\0"s,
                                      "\xD1\0"s,
                                      "\x4F"s,
                                      "\x4F\x50"s,
                                      "\x4F\x14"s,
                                      "\x4F\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s,
                                      "\x6F\x13\x80\0\0\0\0\0\0\1"s,
                                      "\xDF\x13\x80\0\0\0\0\0\0\0"s}) {
        EXPECT_EQ(faultIn(BinaryFile{{object}}), fault) << testing::PrintToString(object);
    }
}

TEST(PropertyListBinary, OffsetsOutsideTheObjectsAreRefused) {
    std::string bytes = BinaryFile{{"\x09"}, 1, 1, 0, {}, {}}.bytes();
    for (const char offset : {'\0', '\7', '\x09', '\xFF'}) {
        bytes[9] = offset;
        EXPECT_EQ(faultIn(bytes), "an object outside the file or of an unknown kind");
    }
}

TEST(PropertyListBinary, KeysMustBeTextWithoutZeroCharacters) {
    EXPECT_EQ(faultIn(BinaryFile{{"\xD1\1\1", "\x10\5"}}), "a key that is not text");
    EXPECT_EQ(faultIn(BinaryFile{{"\xD1\1\1",
                                  "\x53"
                                  "a\0b"s}}),
              "a key with a zero character");
    EXPECT_EQ(faultIn(BinaryFile{{"\xD1\1\1", "\x61\0\0"s}}), "a key with a zero character");
}

TEST(PropertyListBinary, TextMustBeUnicode) {
    EXPECT_EQ(faultIn(BinaryFile{{"\x51\xE4"}}), "text that is not Unicode");
    EXPECT_EQ(faultIn(BinaryFile{{"\x61\xD8\x3C"}}), "text that is not Unicode");
}

TEST(PropertyListBinary, CyclesAreRefused) {
    EXPECT_EQ(faultIn(BinaryFile{{"\xA1\0"s}}), "a container inside itself");
    EXPECT_EQ(faultIn(BinaryFile{{"\xA1\1", "\xD1\2\0"s,
                                  "\x51"
                                  "a"}}),
              "a container inside itself");
}

/// Arrays of which each holds the next one `times` times.
BinaryFile chain(std::size_t length, std::size_t times) {
    BinaryFile file{{}, 4, 4, 0, {}, {}};
    for (std::size_t index = 1; index <= length; ++index) {
        std::string array(1, static_cast<char>(0xA0 + times));
        for (std::size_t item = 0; item < times; ++item) array += bigEndian(index, 4);
        file.objects.push_back(array);
    }
    file.objects.push_back("\x09");
    return file;
}

TEST(PropertyListBinary, ContainersMayNestToTheLimitOnly) {
    EXPECT_TRUE(
        parsePropertyList(chain(platform::kMaximumPropertyListDepth, 1).bytes()).hasValue());
    EXPECT_EQ(faultIn(chain(platform::kMaximumPropertyListDepth + 1, 1)),
              "too many nested containers");
    EXPECT_EQ(faultIn(chain(100'000, 1)), "too many nested containers");
}

TEST(PropertyListBinary, SharedContainersThatMultiplyAreRefused) {
    EXPECT_TRUE(parsePropertyList(chain(4, 10).bytes()).hasValue());
    EXPECT_EQ(faultIn(chain(100, 10)), "too many values");
    EXPECT_EQ(faultIn(chain(100, 2)), "too many values");
}

TEST(PropertyListBinary, SharedTextThatMultipliesIsRefused) {
    BinaryFile file;
    file.objects = {"\xAE" + std::string(14, '\1'),
                    "\x5F\x12" + bigEndian(8'000'000, 4) + std::string(8'000'000, 'x')};
    EXPECT_EQ(faultIn(file), "too much text and data");
}

TEST(PropertyListBinary, EmptyTextOfTheWideFormSpoilsNothing) {
    EXPECT_EQ(valueOf({{"\x60"}}), Value(""));
    EXPECT_EQ(valueOf({{"\xD2\1\2\3\1", "\x60",
                        "\x51"
                        "a",
                        "\x10\5"}}),
              Value(Dictionary{{"", 5}, {"a", ""}}));
}

TEST(PropertyListBinary, OtherVersionsOfTheFormatAreRefused) {
    std::string bytes = BinaryFile{{"\x09"}}.bytes();
    bytes[7] = '1';
    EXPECT_EQ(faultIn(bytes), "an unknown version of the format");
}

}  // namespace
}  // namespace quillmore::tests
