#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <ctime>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/FileManager.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using platform::Error;

/// Sets the umask while it lives.
class Umask {
public:
    explicit Umask(mode_t mask) : before_(::umask(mask)) {}
    ~Umask() { ::umask(before_); }

private:
    mode_t before_;
};

TEST(FileManagerWriteAtomically, NewFileHasTheBytesAndTheModeWhateverTheUmask) {
    TemporaryFiles disk;
    const Umask umask(077);
    EXPECT_EQ(disk.files.writeAtomically("/file", std::string("a\0b", 3), 0644), std::nullopt);
    EXPECT_EQ(disk.read("/file"), std::string("a\0b", 3));
    EXPECT_EQ(disk.mode("/file"), 0644u);
}

TEST(FileManagerWriteAtomically, OldFileIsReplacedAndNothingElseIsLeft) {
    TemporaryFiles disk;
    disk.makeFile("/f/file", "a longer old text", 0600);
    EXPECT_EQ(disk.files.writeAtomically("/f/file", "new", 0640), std::nullopt);
    EXPECT_EQ(disk.read("/f/file"), "new");
    EXPECT_EQ(disk.mode("/f/file"), 0640u);
    EXPECT_EQ(disk.count("/f"), 1u);
}

TEST(FileManagerWriteAtomically, OpenReaderKeepsTheOldFile) {
    TemporaryFiles disk;
    disk.makeFile("/file", "old");
    std::ifstream reader(disk.host("/file"));
    EXPECT_EQ(disk.files.writeAtomically("/file", "new", 0600), std::nullopt);
    std::string text;
    reader >> text;
    EXPECT_EQ(text, "old");
}

TEST(FileManagerWriteAtomically, NameOfGreatestLengthIsWritten) {
    TemporaryFiles disk;
    const std::string path = "/" + std::string(255, 'n');
    EXPECT_EQ(disk.files.writeAtomically(path, "x", 0600), std::nullopt);
    EXPECT_EQ(disk.read(path), "x");
}

TEST(FileManagerWriteAtomically, MissingFolderIsAnError) {
    TemporaryFiles disk;
    EXPECT_EQ(disk.files.writeAtomically("/none/file", "x", 0600), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.writeAtomically("", "x", 0600), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.writeAtomically(std::string("/a\0b", 4), "x", 0600), Error::posix(EINVAL));
}

TEST(FileManagerWriteAtomically, FolderInPlaceOfTheFileStaysAndNoTemporaryFileDoes) {
    TemporaryFiles disk;
    disk.makeFile("/f/target/inside", "x");
    EXPECT_EQ(disk.files.writeAtomically("/f/target", "x", 0600), Error::posix(EISDIR));
    EXPECT_TRUE(disk.exists("/f/target/inside"));
    EXPECT_EQ(disk.count("/f"), 1u);
}

TEST(FileManagerWriteAtomically, FullDiskLeavesTheOldFileAndNoTemporaryOne) {
    TemporaryFiles disk;
    disk.makeFile("/f/file", "old");
    std::optional<Error> error;
    {
        const LoweredLimit fileSize(RLIMIT_FSIZE, 1000);
        error = disk.files.writeAtomically("/f/file", std::string(5000, 'x'), 0600);
    }
    EXPECT_EQ(error, Error::posix(EFBIG));
    EXPECT_EQ(disk.read("/f/file"), "old");
    EXPECT_EQ(disk.count("/f"), 1u);
}

TEST(FileManagerWriteAtomically, ReadOnlyFolderIsAnError) {
    TemporaryFiles disk;
    disk.makeFile("/f/file", "old");
    ::chmod(disk.host("/f").c_str(), 0555);
    EXPECT_TRUE(disk.holdsForOrdinaryUser([&] {
        return disk.files.writeAtomically("/f/file", "new", 0600) == Error::posix(EACCES);
    }));
    EXPECT_EQ(disk.read("/f/file"), "old");
}

TEST(FileManagerWriteAtomically, FolderThatMayNotBeListedIsWrittenInto) {
    TemporaryFiles disk;
    disk.makeFolder("/drop");
    ::chmod(disk.host("/drop").c_str(), 0300);
    EXPECT_TRUE(disk.holdsForOrdinaryUser(
        [&] { return !disk.files.writeAtomically("/drop/file", "new", 0600).has_value(); }));
}

/// What a killed writer leaves, last written an hour ago.
void makeLeftOver(const TemporaryFiles& disk, const std::string& path) {
    disk.makeFile(path, "half", 0600);
    const std::time_t anHourAgo = std::time(nullptr) - 3600;
    const timespec times[2] = {{anHourAgo, 0}, {anHourAgo, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, disk.host(path).c_str(), times, 0), 0);
}

TEST(FileManagerWriteAtomically, WhatAKilledWriterLeftIsRemovedByTheNext) {
    TemporaryFiles disk;
    makeLeftOver(disk, "/f/.quillmore-a1B2c3");
    makeLeftOver(disk, "/f/.quillmore-notes");
    EXPECT_EQ(disk.files.writeAtomically("/f/file", "x", 0600), std::nullopt);
    EXPECT_FALSE(disk.exists("/f/.quillmore-a1B2c3"));
    EXPECT_TRUE(disk.exists("/f/.quillmore-notes")) << "no name that a writer gives";
}

TEST(FileManagerWriteAtomically, WhatIsFreshOrHeldByAnotherWriterStays) {
    TemporaryFiles disk;
    disk.makeFile("/f/.quillmore-fresh1", "half", 0600);
    makeLeftOver(disk, "/f/.quillmore-inuse1");
    const platform::FileDescriptor writer(
        ::open(disk.host("/f/.quillmore-inuse1").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::flock(writer.get(), LOCK_EX), 0);
    EXPECT_EQ(disk.files.writeAtomically("/f/file", "x", 0600), std::nullopt);
    EXPECT_TRUE(disk.exists("/f/.quillmore-fresh1"));
    EXPECT_TRUE(disk.exists("/f/.quillmore-inuse1"));
}

TEST(FileManagerCreateDirectory, MissingParentsAreMadeWithTheModeUnderTheUmask) {
    TemporaryFiles disk;
    const Umask umask(022);
    EXPECT_EQ(disk.files.createDirectory("/a/b/c", 0777), std::nullopt);
    for (const char* level : {"/a", "/a/b", "/a/b/c"}) EXPECT_EQ(disk.mode(level), 0755u) << level;
}

TEST(FileManagerCreateDirectory, ExistingFolderIsASuccessAndKeepsItsMode) {
    TemporaryFiles disk;
    disk.makeFolder("/a");
    ::chmod(disk.host("/a").c_str(), 0700);
    EXPECT_EQ(disk.files.createDirectory("/a", 0755), std::nullopt);
    EXPECT_EQ(disk.files.createDirectory("/a/", 0755), std::nullopt);
    EXPECT_EQ(disk.mode("/a"), 0700u);
}

TEST(FileManagerCreateDirectory, LinkToAFolderIsAFolder) {
    TemporaryFiles disk;
    disk.makeFolder("/real");
    disk.makeLink("/link", "real");
    EXPECT_EQ(disk.files.createDirectory("/link", 0755), std::nullopt);
    EXPECT_EQ(disk.files.createDirectory("/link/below/deep", 0755), std::nullopt);
    EXPECT_TRUE(disk.files.isDirectory("/real/below/deep"));
}

TEST(FileManagerCreateDirectory, SlashesMayRepeatAndTrail) {
    TemporaryFiles disk;
    EXPECT_EQ(disk.files.createDirectory("/a//b///c/", 0755), std::nullopt);
    EXPECT_TRUE(disk.files.isDirectory("/a/b/c"));
}

TEST(FileManagerCreateDirectory, FileInTheWayIsAnError) {
    TemporaryFiles disk;
    disk.makeFile("/file", "x");
    EXPECT_EQ(disk.files.createDirectory("/file", 0755), Error::posix(EEXIST));
    EXPECT_EQ(disk.files.createDirectory("/file/below", 0755), Error::posix(ENOTDIR));
    EXPECT_EQ(disk.files.createDirectory("/file/below/deep", 0755), Error::posix(ENOTDIR));
}

TEST(FileManagerCreateDirectory, DanglingLinkInTheWayIsAnError) {
    TemporaryFiles disk;
    disk.makeLink("/link", "nowhere");
    EXPECT_EQ(disk.files.createDirectory("/link", 0755), Error::posix(EEXIST));
    EXPECT_EQ(disk.files.createDirectory("/link/below", 0755), Error::posix(EEXIST));
}

TEST(FileManagerCreateDirectory, UnusablePathsAreErrors) {
    TemporaryFiles disk;
    EXPECT_EQ(disk.files.createDirectory("", 0755), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.createDirectory(std::string("/a\0b", 4), 0755), Error::posix(EINVAL));
    EXPECT_EQ(disk.files.createDirectory("/" + std::string(300, 'n'), 0755),
              Error::posix(ENAMETOOLONG));
}

TEST(FileManagerCreateDirectory, ReadOnlyParentIsAnError) {
    TemporaryFiles disk;
    disk.makeFolder("/closed");
    ::chmod(disk.host("/closed").c_str(), 0555);
    EXPECT_TRUE(disk.holdsForOrdinaryUser(
        [&] { return disk.files.createDirectory("/closed/a/b", 0755) == Error::posix(EACCES); }));
}

}  // namespace
}  // namespace quillmore::tests
