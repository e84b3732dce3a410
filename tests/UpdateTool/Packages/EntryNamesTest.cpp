#include "UpdateTool/Packages/EntryNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/UpdateTool/Refusal.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using updatetool::EntryNames;
using updatetool::TopLevel;

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;

/// What is said to a file of that path whose folders are all there.
std::string refusalOfFile(const std::string& path) {
    EntryNames names(TopLevel::anything);
    return refusalOf([&] {
        for (std::size_t at = path.find('/', 1); at != std::string::npos;
             at = path.find('/', at + 1))
            names.add(path.substr(0, at), true, 0);
        names.add(path, false, 0);
    });
}

std::string deepPath(int components) {
    std::string path = "d";
    while (--components > 0) path += "/d";
    return path;
}

TEST(EntryNames, PlainPathsAreTaken) {
    for (const char* path : {"a", "a/b", "A.app/Contents/Info.plist", "a/.hidden", "a/...", "a/..b",
                             "a/b..", "two words", "-option", "a:b", "~", "!"})
        EXPECT_EQ(refusalOfFile(path), "") << path;
}
TEST(EntryNames, PathsThatLeadElsewhereAreRefused) {
    for (const char* path :
         {"/", "/a", "a/", "a//b", ".", "..", "./a", "../a", "a/.", "a/..", "a/./b", "a/../b"})
        EXPECT_THAT(refusalOfFile(path), HasSubstr("leads out of the archive's folder")) << path;
    EXPECT_EQ(refusalOfFile(""), "65: the archive's entry \"\" has no name");
}
TEST(EntryNames, OnlyPrintableAsciiIsAllowedAndNoBackslash) {
    for (int code = 0; code < 256; ++code) {
        const std::string path = {'a', static_cast<char>(code), 'b'};
        const bool isForbidden = code < 0x20 || code >= 0x7f || code == '\\';
        EXPECT_EQ(refusalOfFile(path), isForbidden
                                           ? "65: the archive's entry " + updatetool::quoted(path) +
                                                 " has a forbidden character in its name"
                                           : "")
            << code;
    }
}
TEST(EntryNames, WholePathHas255BytesAtMost) {
    EXPECT_EQ(refusalOfFile(std::string(255, 'x')), "");
    EXPECT_EQ(refusalOfFile("d/" + std::string(253, 'x')), "");
    EXPECT_THAT(refusalOfFile(std::string(256, 'x')), HasSubstr("has too long a name"));
    EXPECT_THAT(refusalOfFile("d/" + std::string(254, 'x')), HasSubstr("has too long a name"));
}
TEST(EntryNames, PathHas32ComponentsAtMost) {
    EXPECT_EQ(refusalOfFile(deepPath(32)), "");
    EXPECT_THAT(refusalOfFile(deepPath(33)), HasSubstr("lies too deep"));
}
TEST(EntryNames, SameNameIsRefusedWhateverItsCapitals) {
    for (const char* second : {"name", "NAME", "Name"}) {
        EntryNames names(TopLevel::anything);
        names.add("name", false, 0);
        EXPECT_THAT(refusalOf([&] { names.add(second, false, 0); }), HasSubstr("is there twice"));
    }
}
TEST(EntryNames, CharactersThatAreNoLettersStayApart) {
    EntryNames names(TopLevel::anything);
    for (const char* name : {"@", "`", "[", "{", "^", "~"})
        EXPECT_EQ(refusalOf([&] { names.add(name, false, 0); }), "") << name;
}
TEST(EntryNames, FolderComesBeforeWhatIsInIt) {
    for (const char* before : {"other", "A", "a/b"}) {
        EntryNames names(TopLevel::anything);
        refusalOf([&] { names.add(before, true, 0); });
        EXPECT_THAT(refusalOf([&] { names.add("a/x", false, 0); }),
                    HasSubstr("has no entry for its folder before it"))
            << before;
    }
}
TEST(EntryNames, FileIsNoFolderForOthers) {
    EntryNames names(TopLevel::anything);
    names.add("a", false, 0);
    EXPECT_THAT(refusalOf([&] { names.add("a/x", false, 0); }), HasSubstr("has no entry for"));
}
TEST(EntryNames, HiddenNamesAreRefusedAtTheTopAlone) {
    for (const TopLevel topLevel : {TopLevel::oneFolder, TopLevel::anything}) {
        EntryNames names(topLevel);
        EXPECT_THAT(refusalOf([&] { names.add(".a", true, 0); }), HasSubstr("is hidden"));
        names.add("a", true, 0);
        EXPECT_EQ(refusalOf([&] { names.add("a/.b", false, 0); }), "");
    }
}
TEST(EntryNames, OneFolderMeansOneAndAFolder) {
    EntryNames names(TopLevel::oneFolder);
    EXPECT_THAT(refusalOf([&] { names.add("file", false, 0); }), HasSubstr("lies beside"));
    names.add("a", true, 0);
    EXPECT_THAT(refusalOf([&] { names.add("b", true, 0); }), HasSubstr("lies beside"));
    EXPECT_THAT(refusalOf([&] { names.add("file", false, 0); }), HasSubstr("lies beside"));
    EXPECT_THAT(names.top(), ElementsAre("a"));
}
TEST(EntryNames, AnythingMeansSeveralAndFiles) {
    EntryNames names(TopLevel::anything);
    names.add("b", false, 0);
    names.add("a", true, 0);
    names.add("a/deeper", false, 0);
    EXPECT_THAT(names.top(), ElementsAre("a", "b"));
}
TEST(EntryNames, ArchiveWithoutEntriesIsRefused) {
    const EntryNames names(TopLevel::anything);
    EXPECT_EQ(refusalOf([&] { names.top(); }), "65: the archive is empty");
}
TEST(EntryNames, RefusedEntryIsNotAtTheTop) {
    EntryNames names(TopLevel::anything);
    refusalOf([&] { names.add("a", false, 5 * kGiB); });
    EXPECT_EQ(refusalOf([&] { names.top(); }), "65: the archive is empty");
}
TEST(EntryNames, AllEntriesTogetherHold4GiBAtMost) {
    const std::vector<std::pair<std::vector<std::uint64_t>, bool>> table = {
        {{4 * kGiB}, true},           {{4 * kGiB + 1}, false},  {{4 * kGiB - 1, 1, 0}, true},
        {{kGiB, 3 * kGiB, 1}, false}, {{1, UINT64_MAX}, false}, {{4 * kGiB, UINT64_MAX}, false}};
    for (const auto& [sizes, isTaken] : table) {
        EntryNames names(TopLevel::anything);
        std::string refusal;
        for (std::size_t index = 0; index < sizes.size(); ++index)
            refusal = refusalOf([&] { names.add(std::to_string(index), false, sizes[index]); });
        EXPECT_EQ(refusal, isTaken ? "" : "65: the archive holds too much") << sizes.front();
    }
}
TEST(EntryNames, ArchiveHas50000EntriesAtMost) {
    EntryNames names(TopLevel::anything);
    for (int index = 0; index < 50'000; ++index) names.add(std::to_string(index), false, 0);
    EXPECT_EQ(refusalOf([&] { names.add("x", false, 0); }), "65: the archive has too many entries");
}
TEST(EntryNames, ArchiveMayGrow200TimesOnceItIsOver64MiB) {
    struct Row {
        std::uint64_t unpacked, packed;
        bool isHonest;
    };
    constexpr std::uint64_t kMiB = 1 << 20;
    for (const Row& row : {Row{64 * kMiB, 1, true}, Row{64 * kMiB + 1, 1, false},
                           Row{200 * kMiB, kMiB, true}, Row{200 * kMiB + 199, kMiB, true},
                           Row{200 * kMiB + 200, kMiB, false}, Row{200 * kMiB, kMiB - 1, false}}) {
        EntryNames names(TopLevel::anything);
        names.add("a", false, row.unpacked);
        const std::string refusal = refusalOf([&] { names.requireHonestRatio(row.packed); });
        EXPECT_EQ(refusal, row.isHonest ? "" : "65: the archive grows too much when it is unpacked")
            << row.unpacked << " from " << row.packed;
    }
}
TEST(EntryNames, RefusalNamesTheEntryAndCannotForgeALine) {
    EXPECT_THAT(refusalOfFile("a\nb"), StartsWith("65: the archive's entry \"a?b\" has"));
}

}  // namespace
}  // namespace quillmore::tests
