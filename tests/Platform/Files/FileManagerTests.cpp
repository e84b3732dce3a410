#include "Platform/Files/FileManager.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

#include "Platform/Files/FileDescriptor.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using platform::Error;
using platform::FileType;

/// The description of the error of reading at most 1000 bytes; empty when there was none.
std::string readingError(const TemporaryFiles& disk, const std::string& path) {
    const auto bytes = disk.files.contents(path, 1000);
    return bytes ? std::string() : bytes.error().localizedDescription();
}

TEST(FileManagerQuestions, FilesAndFoldersExistAndOthersDoNot) {
    TemporaryFiles disk;
    disk.makeFile("/a/file", "x");
    EXPECT_TRUE(disk.files.fileExists("/a/file"));
    EXPECT_TRUE(disk.files.fileExists("/a"));
    EXPECT_FALSE(disk.files.fileExists("/b"));
    EXPECT_FALSE(disk.files.fileExists("/a/file/below"));
}

TEST(FileManagerQuestions, EmptyPathIsNothingAlthoughTheRootIsThere) {
    TemporaryFiles disk;
    EXPECT_FALSE(disk.files.fileExists(""));
    EXPECT_FALSE(disk.files.isDirectory(""));
    EXPECT_FALSE(disk.files.isWritable(""));
    EXPECT_FALSE(disk.files.attributes("").has_value());
    EXPECT_FALSE(disk.files.identity("").has_value());
    EXPECT_EQ(disk.files.contentsOfDirectory("").error(), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.contents("", 10).error(), Error::posix(ENOENT));
}

TEST(FileManagerQuestions, PathIsNotCutAtNul) {
    TemporaryFiles disk;
    disk.makeFile("/file", "x");
    const std::string path("/file\0.txt", 10);
    EXPECT_FALSE(disk.files.fileExists(path));
    EXPECT_EQ(disk.files.contents(path, 10).error(), Error::posix(EINVAL));
}

TEST(FileManagerQuestions, LinksAreFollowedAndDanglingOnesDoNotExist) {
    TemporaryFiles disk;
    disk.makeFolder("/folder");
    disk.makeLink("/good", "folder");
    disk.makeLink("/dangling", "nowhere");
    EXPECT_TRUE(disk.files.isDirectory("/good"));
    EXPECT_FALSE(disk.files.fileExists("/dangling"));
    EXPECT_EQ(disk.files.identity("/good"), disk.files.identity("/folder"));
}

TEST(FileManagerQuestions, IdentityTellsFoldersApart) {
    TemporaryFiles disk;
    disk.makeFolder("/one");
    disk.makeFolder("/two");
    EXPECT_TRUE(disk.files.identity("/one").has_value());
    EXPECT_NE(disk.files.identity("/one"), disk.files.identity("/two"));
}

TEST(FileManagerQuestions, WritableIsWhatTheUserMayWrite) {
    TemporaryFiles disk;
    disk.makeFile("/mine", "x", 0644);
    disk.makeFile("/readonly", "x", 0444);
    EXPECT_TRUE(disk.holdsForOrdinaryUser([&] { return disk.files.isWritable("/mine"); }));
    EXPECT_TRUE(disk.holdsForOrdinaryUser([&] { return !disk.files.isWritable("/readonly"); }));
    EXPECT_TRUE(disk.holdsForOrdinaryUser([&] { return !disk.files.isWritable("/missing"); }));
}

TEST(FileManagerAttributes, TypesModesAndSizesAreTold) {
    TemporaryFiles disk;
    disk.makeFile("/tool", "12345", 04755);
    disk.makeFolder("/folder");
    const auto tool = disk.files.attributes("/tool");
    ASSERT_TRUE(tool.has_value());
    EXPECT_EQ(tool->type, FileType::regular);
    EXPECT_EQ(tool->posixPermissions, 04755u);
    EXPECT_EQ(tool->size, 5u);
    EXPECT_EQ(disk.files.attributes("/folder")->type, FileType::directory);
    EXPECT_FALSE(disk.files.attributes("/missing").has_value());
}

TEST(FileManagerAttributes, AreThoseOfTheLinkItself) {
    TemporaryFiles disk;
    disk.makeLink("/dangling", "nowhere");
    ::mkfifo(disk.host("/fifo").c_str(), 0600);
    EXPECT_EQ(disk.files.attributes("/dangling")->type, FileType::symbolicLink);
    EXPECT_EQ(disk.files.attributes("/fifo")->type, FileType::other);
}

TEST(FileManagerAttributes, OwnerIsTheAccountsName) {
    TemporaryFiles disk;
    disk.makeFile("/file", "x");
    const passwd* account = ::getpwuid(::geteuid());
    const std::string name = account != nullptr ? account->pw_name : std::to_string(::geteuid());
    EXPECT_EQ(disk.files.attributes("/file")->ownerAccountName, name);
}

TEST(FileManagerAttributes, OwnerWithoutAnAccountIsTheNumber) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root gives files away";
    TemporaryFiles disk;
    disk.makeFile("/file", "x");
    ASSERT_EQ(::chown(disk.host("/file").c_str(), 54321, 54321), 0);
    EXPECT_EQ(disk.files.attributes("/file")->ownerAccountName, "54321");
}

TEST(FileManagerListing, NamesComeInByteOrderWithHiddenOnes) {
    TemporaryFiles disk;
    for (const char* name : {"/f/b", "/f/B", "/f/.hidden", "/f/a"}) disk.makeFile(name, "");
    const auto names = disk.files.contentsOfDirectory("/f");
    ASSERT_TRUE(names.hasValue());
    EXPECT_EQ(*names, (std::vector<std::string>{".hidden", "B", "a", "b"}));
}

TEST(FileManagerListing, MissingFolderAndFileAreErrors) {
    TemporaryFiles disk;
    disk.makeFile("/file", "x");
    EXPECT_EQ(disk.files.contentsOfDirectory("/none").error(), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.contentsOfDirectory("/file").error(), Error::posix(ENOTDIR));
}

TEST(FileManagerContents, BytesComeAsTheyAre) {
    TemporaryFiles disk;
    const std::string bytes("a\0b\xff\n", 5);
    disk.makeFile("/file", bytes);
    disk.makeFile("/empty", "");
    EXPECT_EQ(*disk.files.contents("/file", 5), bytes);
    EXPECT_EQ(*disk.files.contents("/empty", 0), "");
}

TEST(FileManagerContents, MissingFileIsAPosixError) {
    TemporaryFiles disk;
    EXPECT_EQ(disk.files.contents("/none", 10).error(), Error::posix(ENOENT));
}

TEST(FileManagerContents, OneByteTooManyIsRefused) {
    TemporaryFiles disk;
    disk.makeFile("/file", std::string(1001, 'x'));
    EXPECT_EQ(disk.files.contents("/file", 1000).error(), Error::file("is larger than 1000 bytes"));
    EXPECT_TRUE(disk.files.contents("/file", 1001).hasValue());
}

TEST(FileManagerContents, HugeSparseFileIsRefusedUnread) {
    TemporaryFiles disk;
    disk.makeFile("/huge", "x");
    ASSERT_EQ(::truncate(disk.host("/huge").c_str(), off_t{1} << 30), 0);
    EXPECT_EQ(readingError(disk, "/huge"), "is larger than 1000 bytes");
}

TEST(FileManagerContents, FolderIsNoRegularFile) {
    TemporaryFiles disk;
    disk.makeFolder("/folder");
    EXPECT_EQ(readingError(disk, "/folder"), "is not a regular file");
}

TEST(FileManagerContents, FifoWithoutAWriterDoesNotHang) {
    TemporaryFiles disk;
    ASSERT_EQ(::mkfifo(disk.host("/fifo").c_str(), 0600), 0);
    EXPECT_EQ(readingError(disk, "/fifo"), "is not a regular file");
}

TEST(FileManagerContents, EndlessDeviceIsRefused) {
    EXPECT_EQ(platform::FileManager().contents("/dev/zero", 10).error(),
              Error::file("is not a regular file"));
}

TEST(FileManagerContents, SocketIsRefused) {
    TemporaryFiles disk;
    const platform::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, disk.host("/socket").c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(readingError(disk, "/socket"), "is not a regular file");
}

// Files there have content and claim none, as a file does that grows after its size was asked.
TEST(FileManagerContents, FileLongerThanItsSizeIsReadToTheEnd) {
    const platform::FileManager files;
    if (!files.fileExists("/proc/self/smaps")) GTEST_SKIP() << "needs the process file system";
    const auto bytes = files.contents("/proc/self/smaps", 10'000'000);
    ASSERT_TRUE(bytes.hasValue());
    EXPECT_GT(bytes->size(), 4096u);
    EXPECT_EQ(bytes->back(), '\n');
}

TEST(FileManagerContents, FileLongerThanItsSizeIsBounded) {
    const platform::FileManager files;
    if (!files.fileExists("/proc/self/status")) GTEST_SKIP() << "needs the process file system";
    EXPECT_EQ(files.contents("/proc/self/status", 100).error(),
              Error::file("is larger than 100 bytes"));
}

TEST(FileManagerContents, UnreadableFileIsAPosixError) {
    TemporaryFiles disk;
    disk.makeFile("/secret", "x", 0000);
    EXPECT_TRUE(disk.holdsForOrdinaryUser(
        [&] { return disk.files.contents("/secret", 10).error() == Error::posix(EACCES); }));
}

TEST(FileManagerContents, DescriptorIsClosedAgain) {
    TemporaryFiles disk;
    disk.makeFile("/file", "x");
    disk.makeFolder("/folder");
    const int before = ::dup(0);
    ::close(before);
    for (const char* path : {"/file", "/folder", "/none"}) (void)disk.files.contents(path, 0);
    (void)disk.files.contentsOfDirectory("/folder");
    const int after = ::dup(0);
    ::close(after);
    EXPECT_EQ(before, after);
}

}  // namespace
}  // namespace quillmore::tests
