// What a copy is like, and what of others never comes into one.
#include <cerrno>
#include <sstream>

#include "tests/Platform/Linux/OwnMounts.h"
#include "tests/Platform/Linux/administrator/UsersFolders.h"

namespace quillmore::tests {
namespace {

class AdministratorCopy : public UsersFolders {
protected:
    void SetUp() override {
        UsersFolders::SetUp();
        if (IsSkipped()) return;
        makeFolder("home/New.app/Contents", kUser);
        makeFile("home/New.app/Contents/file", kUser, 0640);
        makeFolder("Applications", 0);
    }
    int copy() { return UsersFolders::copy("home/New.app", "Applications/New.app"); }
    std::string contentOf(const std::string& path) const {
        std::ostringstream text;
        text << std::ifstream(at(path)).rdbuf();
        return text.str();
    }
    void expectNothingCopied() const { EXPECT_TRUE(std::filesystem::is_empty(at("Applications"))); }
};

TEST_F(AdministratorCopy, OwnersModesDatesAndLinksAreTheOriginals) {
    makeLink("home/New.app/link", "Contents/file", kUser);
    const timespec dates[] = {{1000, 0}, {2000, 0}};
    ::utimensat(AT_FDCWD, at("home/New.app").c_str(), dates, 0);
    ASSERT_EQ(copy(), 0);
    EXPECT_EQ(contentOf("Applications/New.app/Contents/file"),
              "bytes of home/New.app/Contents/file");
    const struct stat file = statusOf("Applications/New.app/Contents/file");
    EXPECT_EQ(file.st_uid, kUser);
    EXPECT_EQ(file.st_gid, kUser);
    EXPECT_EQ(file.st_mode & 07777, 0640U);
    EXPECT_EQ(statusOf("Applications/New.app/link").st_uid, kUser);
    EXPECT_EQ(std::filesystem::read_symlink(at("Applications/New.app/link")), "Contents/file");
    EXPECT_EQ(statusOf("Applications/New.app").st_mtim.tv_sec, 2000);
    EXPECT_EQ(statusOf("Applications/New.app").st_mode & 07777, 0755U);
}

TEST_F(AdministratorCopy, SetIdBitsDoNotComeAlong) {
    ::chmod(at("home/New.app/Contents/file").c_str(), 06755);
    ASSERT_EQ(copy(), 0);
    EXPECT_EQ(statusOf("Applications/New.app/Contents/file").st_mode & 07777, 0755U);
}

TEST_F(AdministratorCopy, WhatIsThereIsNotReplacedNorCopiedInto) {
    makeFolder("Applications/New.app", 0);
    EXPECT_EQ(copy(), EEXIST);
    EXPECT_TRUE(std::filesystem::is_empty(at("Applications/New.app")));
    std::filesystem::remove(at("Applications/New.app"));
    makeLink("Applications/New.app", "nowhere", 0);
    EXPECT_EQ(copy(), EEXIST);
}

TEST_F(AdministratorCopy, PieceThatAKilledProgramLeftMakesRoom) {
    makeFolder("Applications/.New.app.incomplete/old", 0, 0700);
    ASSERT_EQ(copy(), 0);
    EXPECT_FALSE(exists("Applications/.New.app.incomplete"));
    EXPECT_FALSE(exists("Applications/New.app/old"));
}

TEST_F(AdministratorCopy, FileThatTheUserMayNotReadUndoesTheCopy) {
    makeFile("home/New.app/secret", 0, 0600);
    EXPECT_EQ(copy(), EACCES);
    expectNothingCopied();
}

TEST_F(AdministratorCopy, FolderSwappedForALinkIsReadWithTheUsersRights) {
    makeFolder("root/New.app", 0);
    makeFile("root/New.app/secret", 0);
    ::chmod(at("root").c_str(), 0700);
    makeLink("home/Downloads", at("root"), kUser);
    EXPECT_EQ(UsersFolders::copy("home/Downloads/New.app", "Applications/New.app"), EACCES);
    expectNothingCopied();
}

TEST_F(AdministratorCopy, WhatRootHasInAUsersFolderIsReadWithTheUsersRights) {
    makeFolder("home/New.app/roots", 0);
    makeFile("home/New.app/roots/secret", 0, 0600);
    EXPECT_EQ(copy(), EACCES);
    expectNothingCopied();
}

TEST_F(AdministratorCopy, FolderOfAUserInAnOriginalOfRootsIsReadWithTheUsersRights) {
    makeFolder("volume/New.app", 0);
    makeFolder("volume/New.app/users", kUser);
    makeFile("volume/New.app/users/secret", 0, 0600);
    EXPECT_EQ(UsersFolders::copy("volume/New.app", "Applications/New.app"), EACCES);
    expectNothingCopied();
}

TEST_F(AdministratorCopy, LinkToASecretIsCopiedAsALink) {
    makeFile("secret", 0, 0600);
    makeLink("home/New.app/link", at("secret"), kUser);
    ASSERT_EQ(copy(), 0);
    EXPECT_EQ(std::filesystem::read_symlink(at("Applications/New.app/link")), at("secret"));
}

TEST_F(AdministratorCopy, FifoUndoesTheCopyAndIsNotWaitedFor) {
    ASSERT_EQ(::mkfifo(at("home/New.app/fifo").c_str(), 0666), 0);
    EXPECT_EQ(copy(), EOPNOTSUPP);
    expectNothingCopied();
}

TEST_F(AdministratorCopy, CopyIntoAUsersFolderIsMadeByTheUser) {
    makeFolder("users", kUser);
    ASSERT_EQ(UsersFolders::copy("home/New.app", "users/New.app"), 0);
    EXPECT_EQ(statusOf("users/New.app/Contents/file").st_uid, kUser);
    makeFolder("others", kOtherUser);
    EXPECT_EQ(UsersFolders::copy("Applications", "others/New.app"), 0);
    EXPECT_EQ(statusOf("others/New.app").st_uid, kOtherUser);
}

TEST_F(AdministratorCopy, DestinationSwappedForALinkReachesNothingThatTheUserCannotChange) {
    makeFolder("users", kUser);
    makeLink("users/link", at("Applications"), kUser);
    EXPECT_EQ(UsersFolders::copy("home/New.app", "users/link/New.app"), EACCES);
    expectNothingCopied();
}

TEST_F(AdministratorCopy, VolumeThatFillsUpLeavesNothing) {
    EXPECT_WITH_OWN_MOUNTS([this] {
        std::ofstream(at("home/New.app/large")) << std::string(512 * 1024, 'x');
        return HOLDS(mountVolume(at("Applications"), "size=256k")) && HOLDS(copy() == ENOSPC) &&
               HOLDS(std::filesystem::is_empty(at("Applications")));
    });
}

}  // namespace
}  // namespace quillmore::tests
