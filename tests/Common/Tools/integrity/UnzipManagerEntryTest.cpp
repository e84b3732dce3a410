// What becomes of one entry and of the folders above it, which `extractAll` keeps to itself.
#include <gmock/gmock.h>
#include <minizip/unzip.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "tests/Common/Tools/integrity/UnzipFixture.h"

namespace {
std::vector<std::size_t> copyBuffers;  // The size of each that was asked for.
bool copyBuffersAreRefused = false;
}  // namespace

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    copyBuffers.push_back(size);
    return copyBuffersAreRefused ? nullptr : ::operator new[](size);
}

namespace quillmore::tests {
namespace {

using testing::ElementsAre;

class UnzipEntry : public Unzip {
protected:
    class Manager : public UnzipManager {
    public:
        using UnzipManager::extractCurrentFile;
        using UnzipManager::makedir;
        using UnzipManager::mymkdir;
        using UnzipManager::UnzipManager;
    };
    int resultOf(const std::string& bytes) const {
        std::ofstream(at("a.zip"), std::ios::binary) << bytes;
        return Manager(at("a.zip")).extractCurrentFile();
    }
    int resultOf(const ZipEntry& entry) const { return resultOf(ZipBuilder().add(entry).bytes()); }
    /// In the order of the alphabet.
    std::vector<std::string> names(const std::string& below) const {
        std::vector<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(at(below)))
            found.push_back(fs::relative(entry.path(), at(below)).string());
        std::sort(found.begin(), found.end());
        return found;
    }
    Manager manager{at("none.zip")};
};

TEST_F(UnzipEntry, WholeFileAndFolderGiveSuccess) {
    EXPECT_EQ(resultOf({"b", "text", 0100644}), 0);
    EXPECT_EQ(resultOf({"d/", "", 040755}), 0);
    EXPECT_EQ(resultOf({"none/d/", "", 040755}), 0);
}
TEST_F(UnzipEntry, SkippedFileGivesSuccess) {
    EXPECT_EQ(resultOf({"folder/b", "text", 0100644}), 0);
}
TEST_F(UnzipEntry, FailuresOfTheLibraryAreItsOwnCodes) {
    EXPECT_EQ(resultOf({"crc", "text", 0100644, 0, 0, 1}), UNZ_CRCERROR);
    EXPECT_EQ(resultOf({"data", "this is no deflated data", 0100644, 0, Z_DEFLATED}), Z_DATA_ERROR);
    EXPECT_EQ(resultOf({"method", "text", 0100644, 0, 99}), UNZ_BADZIPFILE);
    std::string damaged = ZipBuilder().file("b", "text").bytes();
    damaged.replace(damaged.find("PK\x01\x02"), 4, "none");
    EXPECT_LT(resultOf(damaged), 0);
    EXPECT_EQ(manager.extractCurrentFile(), UNZ_PARAMERROR);
}
TEST_F(UnzipEntry, DeflatedDataThatBreaksOffGivesTheLibrarysCode) {
    std::string packed(100, '\0');
    z_stream stream{};
    ASSERT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string text = "a text that is long enough to be cut in the middle";
    stream.next_in = reinterpret_cast<Bytef*>(text.data());
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    ASSERT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    deflateEnd(&stream);
    EXPECT_EQ(resultOf({"cut", packed.substr(0, 20), 0100644, 0, Z_DEFLATED, 0, 30}), Z_BUF_ERROR);
}
TEST_F(UnzipEntry, ShortWriteGivesMinusOne) {
    if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "the system has no device that is full";
    fs::create_symlink("/dev/full", at("full"));
    EXPECT_EQ(resultOf({"full", std::string(100000, 'x'), 0100644}), -1);
}
TEST_F(UnzipEntry, WriteThatFailsWhenTheFileIsClosedGivesMinusOne) {
    if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "the system has no device that is full";
    fs::create_symlink("/dev/full", at("full"));
    EXPECT_EQ(resultOf({"full", "less than the stream holds back", 0100644}), -1);
}
TEST_F(UnzipEntry, DamagedDataCountsMoreThanWhatTheDiskCannotHold) {
    if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "the system has no device that is full";
    fs::create_symlink("/dev/full", at("full"));
    EXPECT_EQ(resultOf({"full", "this is no deflated data", 0100644, 0, Z_DEFLATED}), Z_DATA_ERROR);
}
TEST_F(UnzipEntry, OneBufferServesAFileOfAnySize) {
    copyBuffers.clear();
    EXPECT_EQ(resultOf({"b", std::string(100000, 'x'), 0100644}), 0);
    EXPECT_EQ(fs::file_size(at("b")), 100000u);
    EXPECT_THAT(copyBuffers, ElementsAre(8192));
}
TEST_F(UnzipEntry, WithoutMemoryForTheBufferItIsAnInternalError) {
    copyBuffersAreRefused = true;
    EXPECT_EQ(resultOf({"b", "text", 0100644}), -104);
    copyBuffersAreRefused = false;
    EXPECT_FALSE(fs::exists(at("b")));
}
TEST_F(UnzipEntry, MkdirGivesTheSystemsResult) {
    EXPECT_EQ(manager.mymkdir(at("d").c_str()), 0);
    EXPECT_EQ(modeOf("d"), 0775u);
    EXPECT_EQ(manager.mymkdir(at("d").c_str()), -1);
    EXPECT_EQ(errno, EEXIST);
}
TEST_F(UnzipEntry, FolderPathIsMadeFromItsTop) {
    fs::create_directory(at("top"));
    EXPECT_EQ(manager.makedir(at("top/a/b/c/").c_str()), 1);
    EXPECT_THAT(names("top"), ElementsAre("a", "a/b", "a/b/c"));
    EXPECT_EQ(manager.makedir(at("top/a/b/c").c_str()), 1);
}
TEST_F(UnzipEntry, FolderPathIsFirstTriedWhole) {
    fs::create_directory(at("top"));
    EXPECT_EQ(manager.makedir(at("top/a\\b").c_str()), 1);
    EXPECT_THAT(names("top"), ElementsAre("a\\b"));
}
TEST_F(UnzipEntry, FolderPathIsAlsoCutAtBackslashes) {
    fs::create_directory(at("top"));
    EXPECT_EQ(manager.makedir(at("top/a\\b/c").c_str()), 1);
    EXPECT_THAT(names("top"), ElementsAre("a", "a\\b", "a\\b/c"));
}
TEST_F(UnzipEntry, FolderPathThatIsEmptyOrLeadsNowhereIsNotMade) {
    fs::create_symlink("nowhere/at/all", at("link"));
    EXPECT_EQ(manager.makedir(""), 0);
    EXPECT_EQ(manager.makedir(at("link/a/b").c_str()), 0);
}

}  // namespace
}  // namespace quillmore::tests
