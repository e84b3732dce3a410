#include "Common/Tools/UnzipManager.h"

#include <gtest/gtest.h>
#include <minizip/unzip.h>
#include <minizip/zip.h>

#include "tests/Common/Tools/integrity/UnzipFixture.h"
#include "tests/Platform/Files/OpenDescriptors.h"

#ifdef __SANITIZE_ADDRESS__
// What an archive that is never closed holds is no news to the leak check.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libminizip\n";
}
#endif

namespace quillmore::tests {
namespace {

/// The end records of an archive whose counts and places stand in the 64-bit one alone.
std::string emptyLargeArchive() {
    std::string record("PK\x06\x06", 4);
    record += static_cast<char>(44);  // the bytes that follow the record's size
    record.resize(12, '\0');
    record += std::string("\x2d\0\x2d\0", 4);  // versions
    record.resize(56, '\0');
    std::string locator("PK\x06\x07", 4);
    locator.resize(16, '\0');
    locator += std::string("\1\0\0\0", 4);  // disks
    std::string end("PK\x05\x06\0\0\0\0", 8);
    end += std::string(12, '\xff') + std::string(2, '\0');
    return record + locator + end;
}

TEST_F(Unzip, ArchiveWithoutEntriesGivesSuccessAndNothing) {
    EXPECT_EQ(extract(ZipBuilder()), 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
}
TEST_F(Unzip, EmptyArchiveMayHaveAComment) {
    std::string bytes = ZipBuilder().bytes();
    bytes[bytes.size() - 2] = 9;
    EXPECT_EQ(extract(bytes + "a comment"), 0);
    EXPECT_EQ(extract(bytes + "a commen"), UNZ_PARAMERROR);
}
TEST_F(Unzip, EmptyArchiveWhoseEndRecordIsCutIsNone) {
    const std::string bytes = ZipBuilder().bytes();
    ASSERT_EQ(bytes.size(), 22u);
    for (std::size_t size = 0; size < bytes.size(); ++size)
        EXPECT_EQ(extract(bytes.substr(0, size)), UNZ_PARAMERROR) << size;
}
TEST_F(Unzip, EmptyArchiveMayHaveBytesInFrontOfIt) {
    EXPECT_EQ(extract(std::string(70000, 'x') + ZipBuilder().bytes()), 0);
}
TEST_F(Unzip, ArchiveThatIsCutBeforeItsCountOfEntriesIsNotTakenForAnEmptyOne) {
    const std::string bytes = ZipBuilder().file("a", "1").bytes();
    for (std::size_t size = bytes.size() - 22; size <= bytes.size() - 12; ++size)
        EXPECT_EQ(extract(bytes.substr(0, size)), UNZ_PARAMERROR) << size;
    EXPECT_FALSE(fs::exists(at("a")));
}
TEST_F(Unzip, EmptyArchiveOfTheLargeFormIsOne) {
    EXPECT_EQ(extract(emptyLargeArchive()), 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
}
TEST_F(Unzip, EmptyArchiveOfTheLargeFormThatIsCutBeforeOrBehindItsCountsIsNone) {
    const std::string bytes = emptyLargeArchive();
    ASSERT_EQ(bytes.size(), 98u);
    // Between them the library reads a count that is not nothing, and finds no such entry.
    for (std::size_t size = 0; size < bytes.size(); size == 86 ? size = 89 : ++size)
        EXPECT_EQ(extract(bytes.substr(0, size)), UNZ_PARAMERROR) << size;
}
TEST_F(Unzip, EndRecordsThatSpeakOfEntriesOrOfNoOtherRecordAreNoEmptyArchive) {
    std::string large = emptyLargeArchive();
    large[24] = 1;  // entries
    EXPECT_EQ(extract(large), UNZ_PARAMERROR);
    large = emptyLargeArchive();
    large[56] = 'X';  // the locator's mark
    EXPECT_EQ(extract(large), UNZ_PARAMERROR);
    large = emptyLargeArchive();
    large[64] = 1;  // where the locator points
    EXPECT_EQ(extract(large), UNZ_PARAMERROR);
    std::string small = ZipBuilder().bytes();
    small[10] = 1;  // entries
    EXPECT_EQ(extract(small), UNZ_PARAMERROR);
}
TEST_F(Unzip, MissingArchiveGivesTheParameterError) {
    EXPECT_EQ(UnzipManager(at("none.zip")).extractAll(), UNZ_PARAMERROR);
}
TEST_F(Unzip, FileThatIsNoArchiveGivesTheParameterError) {
    EXPECT_EQ(extract(std::string("no archive")), -102);
}
TEST_F(Unzip, FileIsWrittenBesideTheArchive) {
    EXPECT_EQ(extract(ZipBuilder().file("b.txt", "text")), 0);
    EXPECT_EQ(read("b.txt"), "text");
}
TEST_F(Unzip, FolderEntryBecomesAFolderThatLaterFilesLieIn) {
    EXPECT_EQ(extract(ZipBuilder().folder("a").file("a/b.txt", "text")), 0);
    EXPECT_EQ(modeOf("a"), 0775u);
    EXPECT_EQ(read("a/b.txt"), "text");
}
TEST_F(Unzip, FolderThatIsThereAlreadyIsFilled) {
    fs::create_directory(at("a"));
    EXPECT_EQ(extract(ZipBuilder().folder("a").file("a/b.txt", "text")), 0);
    EXPECT_EQ(read("a/b.txt"), "text");
}
TEST_F(Unzip, FolderEntryWhoseParentIsMissingIsPassedOver) {
    EXPECT_EQ(extract(ZipBuilder().folder("a/b").file("c.txt", "text")), 0);
    EXPECT_FALSE(fs::exists(at("a")));
    EXPECT_EQ(read("c.txt"), "text");
}
TEST_F(Unzip, ModesAndDatesOfTheArchiveAreNotApplied) {
    EXPECT_EQ(extract(ZipBuilder().file("b", "text", 0104755)), 0);
    EXPECT_EQ(modeOf("b"), 0666u);
    const fs::file_time_type::duration apart =
        fs::last_write_time(at("b")) - fs::last_write_time(at("a.zip"));
    EXPECT_LT(std::chrono::abs(apart), std::chrono::hours(24 * 365));  // the entry says 1980
}
TEST_F(Unzip, FileWhoseFolderHasNoEntryBecomesAnEmptyFolder) {
    EXPECT_EQ(extract(ZipBuilder().file("a/b.txt", "text").file("c.txt", "more")), 0);
    EXPECT_TRUE(fs::is_directory(at("a/b.txt")));
    EXPECT_TRUE(fs::is_empty(at("a/b.txt")));
    EXPECT_EQ(read("c.txt"), "more");
}
TEST_F(Unzip, DeepFileWithoutFolderEntriesMakesAllFoldersAboveIt) {
    EXPECT_EQ(extract(ZipBuilder().file("a/b/c/d", "text")), 0);
    EXPECT_TRUE(fs::is_directory(at("a/b/c/d")));
}
TEST_F(Unzip, ExistingFileIsOverwritten) {
    std::ofstream(at("b.txt")) << "a text that was there before";
    EXPECT_EQ(extract(ZipBuilder().file("b.txt", "new")), 0);
    EXPECT_EQ(read("b.txt"), "new");
}
TEST_F(Unzip, BackslashStaysInTheName) {
    EXPECT_EQ(extract(ZipBuilder().file("a\\b.txt", "text")), 0);
    EXPECT_EQ(read("a\\b.txt"), "text");
}
TEST_F(Unzip, BackslashCountsAsTheEndOfAFolderWhenTheFileCannotBeMade) {
    fs::create_directory(at("a\\b.txt"));
    EXPECT_EQ(extract(ZipBuilder().file("a\\b.txt", "text").file("c.txt", "more")), 0);
    EXPECT_TRUE(fs::is_directory(at("a")));
    EXPECT_EQ(read("c.txt"), "more");
}
TEST_F(Unzip, NameThatEndsInABackslashIsAFolder) {
    EXPECT_EQ(extract(ZipBuilder().add({"a\\", "", 0})), 0);
    EXPECT_TRUE(fs::is_directory(at("a\\")));
}
TEST_F(Unzip, ParentComponentsAreNotFiltered) {
    fs::create_directory(at("in"));
    std::ofstream(at("in/a.zip"), std::ios::binary) << ZipBuilder().file("../up", "text").bytes();
    EXPECT_EQ(UnzipManager(at("in/a.zip")).extractAll(), 0);
    EXPECT_EQ(read("up"), "text");
}
TEST_F(Unzip, AbsoluteNamesAreNotFilteredAndLieBelowTheArchivesFolder) {
    EXPECT_EQ(extract(ZipBuilder().file("/top.txt", "text")), 0);
    EXPECT_EQ(read("top.txt"), "text");
}
TEST_F(Unzip, BytesOfANameAreKept) {
    EXPECT_EQ(extract(ZipBuilder().file("\xc3\xbc", "text")), 0);
    EXPECT_EQ(read("\xc3\xbc"), "text");
}
TEST_F(Unzip, FileThatCannotBeMadeIsSkipped) {
    fs::create_directory(at("taken"));
    EXPECT_EQ(extract(ZipBuilder().file("taken", "text").file("next", "more")), 0);
    EXPECT_TRUE(fs::is_directory(at("taken")));
    EXPECT_EQ(read("next"), "more");
}
TEST_F(Unzip, FileWithoutAFolderPartMakesNoFolder) {
    fs::create_directory(at("gone"));
    std::ofstream(at("gone/a.zip"), std::ios::binary) << ZipBuilder().file("b", "text").bytes();
    UnzipManager manager(at("gone/a.zip"));
    fs::remove_all(at("gone"));
    EXPECT_EQ(manager.extractAll(), 0);
    EXPECT_FALSE(fs::exists(at("gone")));
}
TEST_F(Unzip, DamagedDirectoryStopsTheExtractionWithSuccess) {
    std::string bytes = ZipBuilder().file("a", "1").file("b", "2").file("c", "3").bytes();
    const std::size_t second = bytes.find("PK\x01\x02", bytes.find("PK\x01\x02") + 1);
    bytes.replace(second, 4, "none");
    EXPECT_EQ(extract(bytes), 0);
    EXPECT_EQ(read("a"), "1");
    EXPECT_FALSE(fs::exists(at("b")) || fs::exists(at("c")));
}
TEST_F(Unzip, NothingIsLoggedWhateverFails) {
    CapturedOutput output;
    extract(std::string("no archive"));
    extract(ZipBuilder().add({"b", "2", 0100644, 0, 0, 1}));
    const CapturedOutput::Streams written = output.take();
    EXPECT_EQ(written.standardOutput + written.standardError, "");
}
TEST_F(Unzip, ArchiveStaysOpenWhenTheManagerGoes) {
    if (!canCountOpenDescriptors()) GTEST_SKIP() << "the system shows no open descriptors";
    const std::size_t before = openDescriptorCount();
    extract(ZipBuilder().file("b.txt", "text"));
    EXPECT_EQ(openDescriptorCount(), before + 1);
}
TEST_F(Unzip, WrongChecksumStopsTheExtractionWithSuccess) {
    ZipBuilder archive;
    archive.file("a", "1").add({"b", "2", 0100644, 0, 0, 1}).file("c", "3");
    EXPECT_EQ(extract(archive), 0);
    EXPECT_EQ(read("a"), "1");
    EXPECT_FALSE(fs::exists(at("c")));
}
TEST_F(Unzip, DamagedDataStopsTheExtractionWithSuccess) {
    ZipBuilder archive;
    archive.add({"bad", "this is no deflated data", 0100644, 0, Z_DEFLATED}).file("c", "3");
    EXPECT_EQ(extract(archive), 0);
    EXPECT_FALSE(fs::exists(at("c")));
}
TEST_F(Unzip, EntryThatCannotBeOpenedStopsTheExtractionWithSuccess) {
    ZipBuilder archive;
    archive.add({"odd", "text", 0100644, 0, 99}).file("c", "3");
    EXPECT_EQ(extract(archive), 0);
    EXPECT_FALSE(fs::exists(at("c")));
}
TEST_F(Unzip, DeviceThatIsFullStopsTheExtractionWithSuccess) {
    if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "the system has no device that is full";
    fs::create_symlink("/dev/full", at("full"));
    EXPECT_EQ(extract(ZipBuilder().file("full", std::string(100000, 'x')).file("c", "3")), 0);
    EXPECT_FALSE(fs::exists(at("c")));
}
TEST_F(Unzip, SmallFileOnADeviceThatIsFullStopsTheExtractionWithSuccess) {
    if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "the system has no device that is full";
    fs::create_symlink("/dev/full", at("full"));
    EXPECT_EQ(extract(ZipBuilder().file("full", "text").file("c", "3")), 0);
    EXPECT_FALSE(fs::exists(at("c")));
}
TEST_F(Unzip, NameOf300BytesIsCutTo256) {
    EXPECT_EQ(extract(ZipBuilder().folder("a").file("a/" + std::string(298, 'x'), "text")), 0);
    EXPECT_EQ(read("a/" + std::string(254, 'x')), "text");
}
TEST_F(Unzip, LargeDeflatedFileComesOutWhole) {
    const std::string text = [] {
        std::string made;
        for (int i = 0; i < 50000; ++i) made += std::to_string(i * 7919);
        return made;
    }();
    zipFile archive = zipOpen(at("a.zip").c_str(), APPEND_STATUS_CREATE);
    const zip_fileinfo info{};
    zipOpenNewFileInZip(archive, "big", &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED, 9);
    zipWriteInFileInZip(archive, text.data(), static_cast<unsigned>(text.size()));
    zipCloseFileInZip(archive);
    zipClose(archive, nullptr);
    EXPECT_EQ(UnzipManager(at("a.zip")).extractAll(), 0);
    EXPECT_EQ(read("big"), text);
}

}  // namespace
}  // namespace quillmore::tests
