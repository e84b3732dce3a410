#include "UpdateTool/Packages/CpioPayloads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <vector>

#include "tests/UpdateTool/Packages/PackedBytes.h"
#include "tests/UpdateTool/Refusal.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using updatetool::ArchiveEntry;

const std::string kDamaged = "65: the package's Payload is damaged";

struct CpioEntry {
    std::string name;
    std::string contents = {};
    unsigned mode = 0100644;
    unsigned links = 1;
    std::size_t sizeError = 0;  ///< Added to the size of the contents.
};
const CpioEntry kTop{"./A.fs", "", 040755};
const CpioEntry kTrailer{"TRAILER!!!"};

/// Every archiver writes the NUL at the end of a name; a test may write more of it.
std::string octal(const CpioEntry& entry, const std::string& end = std::string(1, '\0')) {
    char header[77];
    std::snprintf(header, sizeof header, "070707%06o%06o%06o%06o%06o%06o%06o%011o%06zo%011zo", 0, 0,
                  entry.mode, 0, 0, entry.links, 0, 0, entry.name.size() + end.size(),
                  entry.contents.size() + entry.sizeError);
    return header + entry.name + end + entry.contents;
}

std::string padded(std::string text) {
    text.resize((text.size() + 3) / 4 * 4);
    return text;
}

std::string hexadecimal(const CpioEntry& entry, const std::string& mark = "070701") {
    char header[111];
    std::snprintf(header, sizeof header, "%s%08x%08X%08x%08x%08x%08x%08zx%08x%08x%08x%08x%08zx%08x",
                  mark.c_str(), 0, entry.mode, 0, 0, entry.links, 0,
                  entry.contents.size() + entry.sizeError, 0, 0, 0, 0, entry.name.size() + 1, 0);
    return padded(header + entry.name + '\0') + padded(entry.contents);
}

/// Each entry as a line: "folder a", "file* a/b: bytes" when it is executable, "link a/c: target".
std::vector<std::string> linesOf(const std::string& archive) {
    std::vector<std::string> lines;
    updatetool::readPayload(bytesIn(packed(archive, Packing::gzip)),
                            [&](const ArchiveEntry& entry, const updatetool::ReadBlock& read) {
                                std::string bytes;
                                for (std::string block = read(); !block.empty(); block = read())
                                    bytes += block;
                                const char* kinds[] = {"folder", "file", "link"};
                                lines.push_back(kinds[static_cast<int>(entry.kind)] +
                                                std::string(entry.executable ? "* " : " ") +
                                                entry.path + ":" + entry.linkTarget + bytes);
                            });
    return lines;
}
std::string refusalOfArchive(const std::string& archive) {
    return refusalOf([&] { linesOf(archive); });
}
std::string refusalOfEntry(const CpioEntry& entry) {
    return refusalOfArchive(octal(kTop) + octal(entry) + octal(kTrailer));
}

TEST(CpioPayload, BothFormsAreRead) {
    const std::vector<CpioEntry> entries = {{".", "", 040755},
                                            kTop,
                                            {"./A.fs/file", "bytes"},
                                            {"A.fs/tool", "code", 0100755},
                                            {"././A.fs/link", "file", 0120777},
                                            kTrailer};
    std::string octals, hexadecimals, sums;
    for (const CpioEntry& entry : entries) {
        octals += octal(entry);
        hexadecimals += hexadecimal(entry);
        sums += hexadecimal(entry, "070702");
    }
    for (const std::string& archive : {octals, hexadecimals, sums, octals + "after the end"})
        EXPECT_THAT(linesOf(archive), ElementsAre("folder* A.fs:", "file A.fs/file:bytes",
                                                  "file* A.fs/tool:code", "link* A.fs/link:file"));
}
TEST(CpioPayload, BlocksOfAnyLengthComeWhole) {
    for (const std::size_t size : {0u, 1u, 65535u, 65536u, 65537u, 200000u}) {
        const std::string bytes(size, 'x');
        EXPECT_THAT(linesOf(octal(kTop) + octal({"A.fs/a", bytes}) + octal(kTrailer)),
                    ElementsAre("folder* A.fs:", "file A.fs/a:" + bytes));
        EXPECT_THAT(
            linesOf(hexadecimal(kTop) + hexadecimal({"A.fs/a", bytes}) + hexadecimal(kTrailer)),
            ElementsAre("folder* A.fs:", "file A.fs/a:" + bytes));
    }
}
TEST(CpioPayload, OwnerAloneDecidesWhetherAFileIsExecutable) {
    EXPECT_THAT(linesOf(octal(kTop) + octal({"A.fs/a", "", 0100100}) +
                        octal({"A.fs/b", "", 0100611}) + octal(kTrailer)),
                ElementsAre("folder* A.fs:", "file* A.fs/a:", "file A.fs/b:"));
}
TEST(CpioPayload, FileIsNoFolderForOthers) {
    EXPECT_THAT(refusalOfArchive(octal(kTop) + octal({"A.fs/a", "x"}) + octal({"A.fs/a/b", "x"}) +
                                 octal(kTrailer)),
                HasSubstr("has no entry for its folder before it"));
}
TEST(CpioPayload, NameOfTheTopIsReturned) {
    EXPECT_EQ(updatetool::readPayload(bytesIn(packed(octal(kTop) + octal(kTrailer), Packing::zlib)),
                                      [](const ArchiveEntry&, const updatetool::ReadBlock&) {}),
              "A.fs");
}
TEST(CpioPayload, NothingIsHandedOutOfAnArchiveWithABadEntry) {
    int taken = 0;
    const std::string archive = octal(kTop) + octal({"A.fs/..", "x"}) + octal(kTrailer);
    EXPECT_NE(refusalOf([&] {
                  updatetool::readPayload(
                      bytesIn(packed(archive, Packing::gzip)),
                      [&](const ArchiveEntry&, const updatetool::ReadBlock&) { ++taken; });
              }),
              "");
    EXPECT_EQ(taken, 0);
}
TEST(CpioPayload, FilesHaveOneNameAtMost) {
    EXPECT_EQ(refusalOfEntry({"A.fs/a", "x", 0100644, 0}), "");
    EXPECT_EQ(refusalOfEntry({"A.fs/a", "x", 0100644, 1}), "");
    EXPECT_EQ(refusalOfEntry({"A.fs/a", "x", 0100644, 2}),
              "65: the package's entry \"A.fs/a\" is no folder, plain file or link inside the "
              "package");
    EXPECT_EQ(refusalOfEntry({"A.fs/a", "", 040755, 2}), "");
}
TEST(CpioPayload, OtherKindsOfEntriesAreRefused) {
    for (const unsigned kind : {0010000u, 0020000u, 0060000u, 0140000u, 0160000u, 0u})
        EXPECT_THAT(refusalOfEntry({"A.fs/a", "", kind | 0644}), HasSubstr("is no folder")) << kind;
}
TEST(CpioPayload, FolderHasNoContents) {
    EXPECT_THAT(refusalOfEntry({"A.fs/a", "x", 040755}), HasSubstr("is no folder"));
}
TEST(CpioPayload, LinksStayInsideAndHaveShortTargets) {
    const CpioEntry folder{"A.fs/a", "", 0120777};
    for (const std::string& target : {std::string("b"), std::string("b/c"), std::string("..b"),
                                      std::string("./b"), std::string(1023, 'x')}) {
        CpioEntry link = folder;
        link.contents = target;
        EXPECT_EQ(refusalOfEntry(link), "") << target;
    }
    for (const std::string& target :
         {std::string(), std::string("/b"), std::string(".."), std::string("../b"),
          std::string("b/../c"), std::string("b/.."), std::string("b//c"), std::string("b/"),
          std::string("b\0c", 3), std::string("b/c\0", 4), std::string(1024, 'x')}) {
        CpioEntry link = folder;
        link.contents = target;
        EXPECT_THAT(refusalOfEntry(link), HasSubstr("link inside the package")) << target;
    }
}
TEST(CpioPayload, TopIsItsOneFolderAlone) {
    EXPECT_THAT(refusalOfArchive(octal({".", "", 0100644}) + octal(kTop) + octal(kTrailer)),
                HasSubstr("leads out"));
    EXPECT_THAT(refusalOfEntry({"./B.fs", "", 040755}), HasSubstr("lies beside"));
    EXPECT_EQ(refusalOfArchive(octal({".", "", 040755}) + octal(kTrailer)),
              "65: the archive is empty");
}
TEST(CpioPayload, NameEndsWithItsOnlyNul) {
    const auto withName = [](const std::string& name, const std::string& end) {
        return refusalOfArchive(octal(kTop) + octal({name, "x"}, end) + octal(kTrailer));
    };
    EXPECT_EQ(withName("A.fs/a", std::string(1, '\0')), "");
    EXPECT_EQ(withName("A.fs/a", std::string(2, '\0')), kDamaged);
    EXPECT_EQ(withName("A.fs/a", "b"), kDamaged);
    EXPECT_EQ(withName(std::string("A.fs/a\0b", 8), std::string(1, '\0')), kDamaged);
    EXPECT_EQ(withName("", ""), kDamaged);
}
TEST(CpioPayload, NameHas1024BytesWithItsNulAtMost) {
    EXPECT_THAT(refusalOfEntry({std::string(1023, 'x'), "x"}), HasSubstr("has too long a name"));
    EXPECT_EQ(refusalOfEntry({std::string(1024, 'x'), "x"}), kDamaged);
}
TEST(CpioPayload, ArchiveThatEndsTooEarlyIsDamaged) {
    const std::string whole = octal(kTop) + octal({"A.fs/a", "bytes"}) + octal(kTrailer);
    ASSERT_EQ(refusalOfArchive(whole), "");
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_NE(refusalOfArchive(whole.substr(0, size)), "") << size;
    EXPECT_EQ(refusalOfArchive(octal(kTop) + octal({"A.fs/a", "bytes", 0100644, 1, 1})), kDamaged);
}
TEST(CpioPayload, NumbersAreWholeFieldsOfDigits) {
    const std::string whole = octal(kTop) + octal(kTrailer);
    // Mode, links, name and contents of the first entry, each at its end.
    for (const std::size_t at : {23u, 41u, 64u, 75u})
        for (const char digit : {'8', '9', 'a', ' ', '-', '\0'}) {
            std::string archive = whole;
            archive[at] = digit;
            EXPECT_EQ(refusalOfArchive(archive), kDamaged) << at << digit;
        }
    std::string archive = hexadecimal(kTop) + hexadecimal(kTrailer);
    archive[21] = 'g';
    EXPECT_EQ(refusalOfArchive(archive), kDamaged);
}
TEST(CpioPayload, OtherMarksAreNoCpio) {
    for (const char* mark : {"070700", "070703", "070708", "070777", "PK\x03\x04xx", "ustar "}) {
        std::string archive = octal(kTop) + octal(kTrailer);
        archive.replace(0, 6, mark);
        EXPECT_EQ(refusalOfArchive(archive), "65: the package's Payload is not a cpio archive")
            << mark;
    }
}
TEST(CpioPayload, DamagedPackingIsRefused) {
    std::string bytes = packed(octal(kTop) + octal(kTrailer), Packing::gzip);
    const auto refusal = [](const std::string& payload) {
        return refusalOf([&] {
            updatetool::readPayload(bytesIn(payload),
                                    [](const ArchiveEntry&, const updatetool::ReadBlock&) {});
        });
    };
    EXPECT_EQ(refusal(bytes.substr(0, bytes.size() / 2)), "65: the package is damaged");
    EXPECT_EQ(refusal("no gzip"), "65: the package is damaged");
    EXPECT_EQ(refusal(""), "65: the package is damaged");
}
TEST(CpioPayload, PayloadThatGrowsTooMuchIsRefused) {
    const CpioEntry zeros{"A.fs/a", std::string((64 << 20) + 1, '\0')};
    EXPECT_EQ(refusalOfEntry(zeros), "65: the archive grows too much when it is unpacked");
}

}  // namespace
}  // namespace quillmore::tests
