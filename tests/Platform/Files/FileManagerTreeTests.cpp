// Copying and removing.
#include <fcntl.h>
#include <gtest/gtest.h>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/FileManager.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using platform::Error;

void setDate(const TemporaryFiles& disk, const std::string& path, time_t seconds) {
    const timespec dates[2] = {{seconds, 0}, {seconds, 123456000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, disk.host(path).c_str(), dates, AT_SYMLINK_NOFOLLOW), 0);
}

/// Of every folder in a chain of folders inside folders.
const std::string kLinkName(60, 'd');

void makeChain(const TemporaryFiles& disk, const std::string& top, int depth) {
    disk.makeFolder(top);
    platform::FileDescriptor here(::open(disk.host(top).c_str(), O_RDONLY | O_CLOEXEC));
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(::mkdirat(here.get(), kLinkName.c_str(), 0755), 0);
        here =
            platform::FileDescriptor(::openat(here.get(), kLinkName.c_str(), O_RDONLY | O_CLOEXEC));
    }
}

int depthOfChain(const TemporaryFiles& disk, const std::string& top) {
    platform::FileDescriptor here(::open(disk.host(top).c_str(), O_RDONLY | O_CLOEXEC));
    for (int depth = 0;; ++depth) {
        platform::FileDescriptor below(
            ::openat(here.get(), kLinkName.c_str(), O_RDONLY | O_CLOEXEC));
        if (!below) return depth;
        here = std::move(below);
    }
}

TEST(FileManagerCopy, TreeIsCopiedWithContents) {
    TemporaryFiles disk;
    disk.makeFile("/from/a/file", std::string(600'000, 'x') + "end");
    disk.makeFile("/from/b", "text");
    disk.makeFolder("/from/empty");
    EXPECT_EQ(disk.files.copyItem("/from", "/to"), std::nullopt);
    EXPECT_EQ(disk.read("/to/a/file"), disk.read("/from/a/file"));
    EXPECT_EQ(disk.read("/to/b"), "text");
    EXPECT_TRUE(disk.files.isDirectory("/to/empty"));
    EXPECT_EQ(disk.count("/to"), 3u);
}

TEST(FileManagerCopy, ModesAreKeptWhateverTheUmask) {
    TemporaryFiles disk;
    disk.makeFile("/from/tool", "x", 04775);
    disk.makeFile("/from/readonly/text", "x", 0444);
    ::chmod(disk.host("/from/readonly").c_str(), 0555);
    const mode_t umask = ::umask(077);
    EXPECT_EQ(disk.files.copyItem("/from", "/to"), std::nullopt);
    ::umask(umask);
    EXPECT_EQ(disk.mode("/to/tool"), 04775u);
    EXPECT_EQ(disk.mode("/to/readonly"), 0555u);
    EXPECT_EQ(disk.mode("/to/readonly/text"), 0444u);
}

TEST(FileManagerCopy, SetUserIdBitOfAnotherUsersFileIsDropped) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root gives files away";
    TemporaryFiles disk;
    disk.makeFile("/tool", "x");
    ASSERT_EQ(::chown(disk.host("/tool").c_str(), 54321, 54321), 0);
    ASSERT_EQ(::chmod(disk.host("/tool").c_str(), 06755), 0);
    EXPECT_EQ(disk.files.copyItem("/tool", "/copy"), std::nullopt);
    EXPECT_EQ(disk.mode("/copy"), 0755u);
}

TEST(FileManagerCopy, DatesOfFilesFoldersAndLinksAreKept) {
    TemporaryFiles disk;
    disk.makeFile("/from/file", "x");
    disk.makeLink("/from/link", "file");
    for (const char* path : {"/from/file", "/from/link", "/from"}) setDate(disk, path, 1'000'000);
    EXPECT_EQ(disk.files.copyItem("/from", "/to"), std::nullopt);
    for (const char* path : {"/to/file", "/to/link", "/to"}) {
        EXPECT_EQ(disk.status(path).st_mtim.tv_sec, 1'000'000) << path;
        EXPECT_EQ(disk.status(path).st_mtim.tv_nsec, 123456000) << path;
    }
}

TEST(FileManagerCopy, LinksStayLinksEvenDanglingAndLongOnes) {
    TemporaryFiles disk;
    const std::string longTarget(1500, 't');
    disk.makeFile("/secret/file", "x");
    disk.makeFolder("/from");
    disk.makeLink("/from/folder", "../secret");
    disk.makeLink("/from/dangling", longTarget);
    EXPECT_EQ(disk.files.copyItem("/from", "/to"), std::nullopt);
    EXPECT_EQ(std::filesystem::read_symlink(disk.host("/to/folder")), "../secret");
    EXPECT_EQ(std::filesystem::read_symlink(disk.host("/to/dangling")), longTarget);
}

TEST(FileManagerCopy, LinkItselfIsCopiedNotWhatItLeadsTo) {
    TemporaryFiles disk;
    disk.makeFolder("/folder");
    disk.makeLink("/link", "folder");
    EXPECT_EQ(disk.files.copyItem("/link/", "/copy/"), std::nullopt);
    EXPECT_EQ(std::filesystem::read_symlink(disk.host("/copy")), "folder");
}

TEST(FileManagerCopy, ExistingTargetIsAnErrorAndStays) {
    TemporaryFiles disk;
    disk.makeFile("/from", "new");
    disk.makeFile("/file", "old");
    disk.makeFolder("/folder");
    disk.makeLink("/dangling", "nowhere");
    for (const char* target : {"/file", "/folder", "/dangling"})
        EXPECT_EQ(disk.files.copyItem("/from", target), Error::posix(EEXIST)) << target;
    EXPECT_EQ(disk.read("/file"), "old");
    EXPECT_FALSE(disk.exists("/nowhere"));
}

TEST(FileManagerCopy, MissingSourceAndMissingTargetFolderAreErrors) {
    TemporaryFiles disk;
    disk.makeFile("/from", "x");
    EXPECT_EQ(disk.files.copyItem("/none", "/to"), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.copyItem("/from", "/none/to"), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.copyItem("", "/to"), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.copyItem("/from", ""), Error::posix(ENOENT));
}

TEST(FileManagerCopy, FifoIsAnErrorThatNamesIt) {
    TemporaryFiles disk;
    disk.makeFolder("/from/inner");
    ASSERT_EQ(::mkfifo(disk.host("/from/inner/fifo").c_str(), 0600), 0);
    const auto error = disk.files.copyItem("/from", "/to");
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code(), EOPNOTSUPP);
    EXPECT_TRUE(error->localizedDescription().ends_with(": \"inner/fifo\""))
        << error->localizedDescription();
    EXPECT_EQ(disk.files.copyItem("/from/inner/fifo", "/to2"), Error::posix(EOPNOTSUPP));
}

TEST(FileManagerCopy, FailedCopyKeepsWhatIsDone) {
    TemporaryFiles disk;
    disk.makeFile("/from/a", "x");
    ASSERT_EQ(::mkfifo(disk.host("/from/b").c_str(), 0600), 0);
    EXPECT_TRUE(disk.files.copyItem("/from", "/to").has_value());
    EXPECT_EQ(disk.read("/to/a"), "x");
}

TEST(FileManagerCopy, FolderIntoItselfIsAnErrorAndMakesNothing) {
    TemporaryFiles disk;
    disk.makeFile("/from/inner/file", "x");
    disk.makeLink("/other", "from/inner");
    EXPECT_EQ(disk.files.copyItem("/from", "/from/copy"), Error::posix(EINVAL));
    EXPECT_EQ(disk.files.copyItem("/from", "/other/copy"), Error::posix(EINVAL));
    EXPECT_FALSE(disk.exists("/from/copy"));
    EXPECT_FALSE(disk.exists("/from/inner/copy"));
    EXPECT_EQ(disk.files.copyItem("/from", "/from2"), std::nullopt);
}

TEST(FileManagerCopy, FullDiskIsAnErrorThatNamesTheFile) {
    TemporaryFiles disk;
    disk.makeFile("/from/big", std::string(5000, 'x'));
    std::optional<Error> error;
    {
        const LoweredLimit fileSize(RLIMIT_FSIZE, 1000);
        error = disk.files.copyItem("/from", "/to");
    }
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code(), EFBIG);
    EXPECT_TRUE(error->localizedDescription().ends_with(": \"big\""));
}

TEST(FileManagerCopy, UnreadableFileIsAnError) {
    TemporaryFiles disk;
    disk.makeFile("/from/secret", "x", 0000);
    EXPECT_TRUE(disk.holdsForOrdinaryUser([&] {
        const auto error = disk.files.copyItem("/from", "/to");
        return error && error->code() == EACCES;
    }));
}

TEST(FileManagerTrees, NoDepthExhaustsDescriptorsOrPaths) {
    TemporaryFiles disk;
    constexpr int kDepth = 150;  // longer than a path may be, deeper than descriptors suffice
    makeChain(disk, "/from", kDepth);
    {
        const LoweredLimit descriptors(RLIMIT_NOFILE, 64);
        EXPECT_EQ(disk.files.copyItem("/from", "/to"), std::nullopt);
        EXPECT_EQ(depthOfChain(disk, "/to"), kDepth);
        EXPECT_EQ(disk.files.removeItem("/to"), std::nullopt);
        EXPECT_EQ(disk.files.removeItem("/from"), std::nullopt);
    }
    EXPECT_FALSE(disk.exists("/to"));
    EXPECT_FALSE(disk.exists("/from"));
}

TEST(FileManagerRemove, FilesFoldersAndLinksGo) {
    TemporaryFiles disk;
    disk.makeFile("/tree/a/b/file", "x");
    disk.makeFile("/tree/c", "x", 0000);
    disk.makeLink("/tree/a/link", "nowhere");
    ::mkfifo(disk.host("/tree/fifo").c_str(), 0600);
    disk.makeFile("/file", "x");
    EXPECT_EQ(disk.files.removeItem("/tree"), std::nullopt);
    EXPECT_EQ(disk.files.removeItem("/file"), std::nullopt);
    EXPECT_EQ(disk.count("/"), 0u);
}

TEST(FileManagerRemove, LinksAreNotFollowed) {
    TemporaryFiles disk;
    disk.makeFile("/keep/file", "x");
    disk.makeFolder("/tree");
    disk.makeLink("/tree/link", "../keep");
    disk.makeLink("/link", "keep");
    EXPECT_EQ(disk.files.removeItem("/tree"), std::nullopt);
    EXPECT_EQ(disk.files.removeItem("/link/"), std::nullopt);
    EXPECT_FALSE(disk.exists("/link"));
    EXPECT_EQ(disk.read("/keep/file"), "x");
}

TEST(FileManagerRemove, ClosedFoldersOfOnesOwnGoToo) {
    TemporaryFiles disk;
    disk.makeFile("/tree/closed/file", "x");
    disk.makeFile("/tree/readonly/file", "x");
    ::chmod(disk.host("/tree/readonly").c_str(), 0555);
    EXPECT_TRUE(disk.holdsForOrdinaryUser([&] {
        ::chmod(disk.host("/tree/closed").c_str(), 0000);
        return !disk.files.removeItem("/tree").has_value();
    }));
    EXPECT_FALSE(disk.exists("/tree"));
}

TEST(FileManagerRemove, NothingThereIsAnError) {
    TemporaryFiles disk;
    EXPECT_EQ(disk.files.removeItem("/none"), Error::posix(ENOENT));
    EXPECT_EQ(disk.files.removeItem(""), Error::posix(ENOENT));
}

TEST(FileManagerRemove, RootAndDotsAreRefused) {
    TemporaryFiles disk;
    disk.makeFile("/folder/file", "x");
    for (const char* path : {"/", "//", "/folder/.", "/folder/..", "/folder/../", "."})
        EXPECT_EQ(disk.files.removeItem(path), Error::posix(EINVAL)) << path;
    EXPECT_TRUE(disk.exists("/folder/file"));
}

TEST(FileManagerRemove, TreeInAReadOnlyFolderIsAnError) {
    TemporaryFiles disk;
    disk.makeFile("/closed/tree/file", "x");
    ::chmod(disk.host("/closed").c_str(), 0555);
    EXPECT_TRUE(disk.holdsForOrdinaryUser([&] {
        const auto error = disk.files.removeItem("/closed/tree");
        return error && error->code() == EACCES && disk.exists("/closed/tree");
    }));
}

}  // namespace
}  // namespace quillmore::tests
