#include "Common/Tools/UnzipManager.h"

#include <gtest/gtest.h>
#include <minizip/unzip.h>
#include <minizip/zip.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/fakes/TestServices.h"
#include "tests/integrity/ZipBuilder.h"

namespace quillmore::tests {
namespace {

namespace fs = std::filesystem;

class Unzip : public testing::Test {
protected:
    TemporaryFolder folder;
    const mode_t umask_ = ::umask(0);

    ~Unzip() override { ::umask(umask_); }

    std::string at(const std::string& name) const { return folder.path() + "/" + name; }
    int extract(const std::string& bytes) const {
        std::ofstream(at("a.zip"), std::ios::binary) << bytes;
        return UnzipManager(at("a.zip")).extractAll();
    }
    int extract(const ZipBuilder& archive) const { return extract(archive.bytes()); }
    std::string read(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(at(name), std::ios::binary).rdbuf();
        return text.str();
    }
    mode_t modeOf(const std::string& name) const {
        struct stat status {};
        ::stat(at(name).c_str(), &status);
        return status.st_mode & 07777;
    }
};

TEST_F(Unzip, ArchiveWithoutEntriesGivesSuccessAndNothing) {
    EXPECT_EQ(extract(ZipBuilder()), 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
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
TEST_F(Unzip, ModesOfTheArchiveAreNotApplied) {
    EXPECT_EQ(extract(ZipBuilder().file("b", "text", 0104755)), 0);
    EXPECT_EQ(modeOf("b"), 0666u);
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
TEST_F(Unzip, FileThatCannotBeMadeIsSkipped) {
    fs::create_directory(at("taken"));
    EXPECT_EQ(extract(ZipBuilder().file("taken", "text").file("next", "more")), 0);
    EXPECT_EQ(read("next"), "more");
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
