#include "UpdateTool/Packages/ZipArchives.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/Common/Tools/integrity/ZipBuilder.h"
#include "tests/UpdateTool/Packages/PackedBytes.h"
#include "tests/UpdateTool/Refusal.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using updatetool::ArchiveEntry;
using updatetool::TopLevel;

/// Each entry as a line: "folder a", "file* a/b: bytes" when it is executable.
std::vector<std::string> linesOf(const std::string& archive,
                                 TopLevel topLevel = TopLevel::anything) {
    std::vector<std::string> lines;
    updatetool::readZipArchive(
        bytesIn(archive), topLevel,
        [&](const ArchiveEntry& entry, const updatetool::ReadBlock& read) {
            std::string bytes;
            for (std::string block = read(); !block.empty(); block = read()) bytes += block;
            lines.push_back((entry.kind == ArchiveEntry::Kind::folder ? "folder" : "file") +
                            std::string(entry.executable ? "* " : " ") + entry.path + ":" + bytes);
        });
    return lines;
}
std::string refusalOfArchive(const std::string& archive) {
    return refusalOf([&] { linesOf(archive); });
}
std::string refusalOfEntry(const ZipEntry& entry) {
    return refusalOfArchive(ZipBuilder().add(entry).bytes());
}

TEST(ZipItem, EntriesAreReadInTheirOrder) {
    EXPECT_THAT(linesOf(ZipBuilder()
                            .folder("b")
                            .file("b/tool", "code", 0100755)
                            .file("a", "", 0100644)
                            .add({"none", "x", 0})
                            .bytes()),
                ElementsAre("folder* b:", "file* b/tool:code", "file a:", "file none:x"));
}
TEST(ZipItem, BlocksOfAnyLengthComeWhole) {
    for (const std::size_t size : {0u, 1u, 65535u, 65536u, 65537u, 200000u}) {
        const std::string bytes(size, 'x');
        EXPECT_THAT(linesOf(ZipBuilder().file("a", bytes).bytes()), ElementsAre("file a:" + bytes));
    }
}
TEST(ZipItem, OwnerAloneDecidesWhetherAFileIsExecutable) {
    EXPECT_THAT(linesOf(ZipBuilder()
                            .file("a", "", 0100100)
                            .file("b", "", 0100611)
                            .file("c", "", 0100000)
                            .bytes()),
                ElementsAre("file* a:", "file b:", "file c:"));
}
TEST(ZipItem, TopLevelIsReturned) {
    const auto top = updatetool::readZipArchive(
        bytesIn(ZipBuilder().folder("b").file("b/x", "x").file("a", "x").bytes()),
        TopLevel::anything, [](const ArchiveEntry&, const updatetool::ReadBlock&) {});
    EXPECT_THAT(top, ElementsAre("a", "b"));
    EXPECT_THAT(refusalOf([] {
                    linesOf(ZipBuilder().folder("a").folder("b").bytes(), TopLevel::oneFolder);
                }),
                HasSubstr("lies beside"));
}
TEST(ZipItem, NothingIsHandedOutOfAnArchiveWithABadEntry) {
    for (const ZipEntry& bad : {ZipEntry{"..", "x"}, ZipEntry{"x", "x", 0, 0, 0, 1}}) {
        int taken = 0;
        EXPECT_NE(refusalOf([&] {
                      updatetool::readZipArchive(
                          bytesIn(ZipBuilder().file("a", "x").add(bad).bytes()), TopLevel::anything,
                          [&](const ArchiveEntry&, const updatetool::ReadBlock&) { ++taken; });
                  }),
                  "");
        EXPECT_EQ(taken, 0);
    }
}
TEST(ZipItem, KindsOtherThanFilesAndFoldersAreRefused) {
    for (const std::uint32_t kind : {0010000u, 0020000u, 0040000u, 0060000u, 0120000u, 0140000u})
        EXPECT_THAT(refusalOfEntry({"a", "x", kind | 0644}),
                    HasSubstr("is neither a folder nor a plain file"))
            << kind;
    for (const std::uint32_t kind : {0010000u, 0100000u, 0120000u})
        EXPECT_THAT(refusalOfEntry({"a/", "", kind | 0755}),
                    HasSubstr("is neither a folder nor a plain file"))
            << kind;
    EXPECT_EQ(refusalOfEntry({"a", "x", 0644}), "");
    EXPECT_EQ(refusalOfEntry({"a/", "", 0755}), "");
}
TEST(ZipItem, OnlyStoredAndDeflatedEntriesAreKnown) {
    for (const std::uint16_t method : std::initializer_list<std::uint16_t>{1, 6, 7, 9, 12, 14, 99})
        EXPECT_THAT(refusalOfEntry({"a", "x", 0, 0, method}),
                    HasSubstr("is compressed in a way that is not known here"))
            << method;
}
TEST(ZipItem, EncryptedEntryIsRefusedWhateverElseItsFlagsSay) {
    for (const std::uint16_t flags : std::initializer_list<std::uint16_t>{0x0001, 0x0801, 0x0041})
        EXPECT_THAT(refusalOfEntry({"a", "x", 0, flags}), HasSubstr("is encrypted")) << flags;
    EXPECT_EQ(refusalOfEntry({"a", "x", 0, 0x0800}), "");
}
TEST(ZipItem, FolderHasNoContents) {
    EXPECT_THAT(refusalOfEntry({"a/", "x"}), HasSubstr("has contents of its own"));
}
TEST(ZipItem, ContentsAreWhatTheDirectorySays) {
    for (const std::int32_t error : {-1, 1}) {
        ZipEntry entry{"a", "bytes"};
        entry.sizeError = error;
        EXPECT_THAT(refusalOfEntry(entry), HasSubstr("is damaged")) << error;
    }
    EXPECT_THAT(refusalOfEntry({"a", "bytes", 0, 0, 0, 1}), HasSubstr("is damaged"));
}
TEST(ZipItem, ArchiveThatGrowsTooMuchIsRefused) {
    ZipEntry huge{"a", "x", 0, 0, 8};
    huge.sizeError = (64 << 20) - 1;
    EXPECT_THAT(refusalOfEntry(huge), HasSubstr("is damaged"));
    ++huge.sizeError;
    EXPECT_EQ(refusalOfEntry(huge), "65: the archive grows too much when it is unpacked");
}
TEST(ZipItem, NameHas255BytesAtMostAndIsReadWhole) {
    EXPECT_EQ(refusalOfEntry({std::string(255, 'x'), "x"}), "");
    EXPECT_THAT(refusalOfEntry({std::string(256, 'x'), "x"}), HasSubstr("a name"));
    EXPECT_THAT(refusalOfEntry({std::string(257, 'x'), "x"}), HasSubstr("has an invalid name"));
    EXPECT_THAT(refusalOfEntry({std::string("a\0b", 3), "x"}), HasSubstr("has an invalid name"));
    EXPECT_THAT(refusalOfEntry({std::string("a\0", 2), "x"}), HasSubstr("has an invalid name"));
    EXPECT_THAT(refusalOfEntry({"/", ""}), HasSubstr("leads out"));
}
TEST(ZipItem, EmptyArchiveIsRefused) {
    EXPECT_EQ(refusalOfArchive(ZipBuilder().bytes()), "65: the file is not a ZIP archive");
}
TEST(ZipItem, ArchiveThatEndsBeforeItsEndRecordIsRefused) {
    constexpr std::size_t kEndRecordSize = 22;
    const std::string whole = ZipBuilder().folder("a").file("a/b", "bytes").bytes();
    for (std::size_t size = 0; size <= whole.size() - kEndRecordSize; ++size)
        EXPECT_NE(refusalOfArchive(whole.substr(0, size)), "") << size;
}
TEST(ZipItem, DirectoryWithFewerEntriesThanItSaysIsRefused) {
    std::string archive = ZipBuilder().file("a", "x").file("b", "x").bytes();
    archive[archive.size() - 14] = archive[archive.size() - 12] = '\3';
    EXPECT_EQ(refusalOfArchive(archive), "65: the archive's directory is damaged");
}
TEST(ZipItem, ArchiveHas50000EntriesAtMost) {
    ZipBuilder archive;
    for (int index = 0; index < 50'000; ++index) archive.file(std::to_string(index), "");
    EXPECT_EQ(refusalOfArchive(archive.bytes()), "");
    archive.file("x", "");
    EXPECT_EQ(refusalOfArchive(archive.bytes()), "65: the archive has too many entries");
}

}  // namespace
}  // namespace quillmore::tests
