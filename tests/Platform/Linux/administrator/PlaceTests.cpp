// Which way a path of a command is walked, and in whose name.
#include <cerrno>

#include "tests/Platform/Linux/administrator/UsersFolders.h"

namespace quillmore::tests {
namespace {

using platform::administrator::Place;

class AdministratorPlace : public UsersFolders {
protected:
    int open(const std::string& path) { return openPlace(at(path), place); }
    /// The place is this folder.
    bool isIn(const std::string& path) {
        struct stat found {
        }, expected = statusOf(path);
        return ::fstat(place.folder.get(), &found) == 0 && found.st_ino == expected.st_ino;
    }
    Place place;
};

TEST_F(AdministratorPlace, FolderOfRootsIsReachedAndActedInByRoot) {
    makeFolder("Applications", 0);
    EXPECT_EQ(open("Applications/Old.app"), 0);
    EXPECT_TRUE(isIn("Applications"));
    EXPECT_EQ(place.name, "Old.app");
    EXPECT_EQ(place.actor, 0U);
}

TEST_F(AdministratorPlace, FromAUsersFolderOnTheUserActs) {
    makeFolder("home", kUser);
    makeFolder("home/roots", 0);
    EXPECT_EQ(open("home/roots/Old.app"), 0);
    EXPECT_EQ(place.actor, kUser);
}

TEST_F(AdministratorPlace, PathsThatAreNotPlainAreRefused) {
    for (const char* path : {"", "relative/path", "/", "//", "/a//b", "/a/", "/a/../b", "/a/."})
        EXPECT_EQ(openPlace(path, place), EINVAL) << path;
    EXPECT_EQ(openPlace("/" + std::string(5000, 'a'), place), EINVAL);
}

TEST_F(AdministratorPlace, LinkInAFolderThatOnlyRootCanChangeIsFollowed) {
    makeFolder("real", 0);
    makeLink("link", "real", 0);
    EXPECT_EQ(open("link/Old.app"), 0);
    EXPECT_TRUE(isIn("real"));
    EXPECT_EQ(place.actor, 0U);
    EXPECT_FALSE(place.reachedByUsersLink);
}

TEST_F(AdministratorPlace, LinkInAFolderOfRootsThatOthersCanChangeIsRefused) {
    makeFolder("shared", 0, 01777);
    makeFolder("real", 0);
    makeLink("shared/link", at("real"), 0);
    EXPECT_EQ(open("shared/link/Old.app"), ELOOP);
}

TEST_F(AdministratorPlace, UsersLinkLeadsWhereTheUserMayGoAndInTheUsersName) {
    makeFolder("home", kUser);
    makeFolder("open", 0);
    makeLink("home/link", at("open"), kUser);
    EXPECT_EQ(open("home/link/Old.app"), 0);
    EXPECT_TRUE(isIn("open"));
    EXPECT_EQ(place.actor, kUser);
    EXPECT_TRUE(place.reachedByUsersLink);
}

TEST_F(AdministratorPlace, UsersLinkDoesNotLeadIntoAFolderThatIsClosedToTheUser) {
    makeFolder("home", kUser);
    makeFolder("secret/inside", 0);
    ::chmod(at("secret").c_str(), 0700);
    makeLink("home/link", at("secret/inside"), kUser);
    EXPECT_EQ(open("home/link/Old.app"), EACCES);
}

TEST_F(AdministratorPlace, FoldersOfTwoUsersOnOnePathAreRefused) {
    makeFolder("one", kUser, 0777);
    makeFolder("one/two", kOtherUser, 0777);
    EXPECT_EQ(open("one/two/Old.app"), EPERM);
    makeFolder("other", kOtherUser);
    makeLink("one/link", at("other"), kUser);
    EXPECT_EQ(open("one/link/Old.app"), EPERM);
}

TEST_F(AdministratorPlace, LinksThatGoRoundEnd) {
    makeLink("one", "two", 0);
    makeLink("two", "one", 0);
    EXPECT_EQ(open("one/Old.app"), ELOOP);
}

TEST_F(AdministratorPlace, FileOnTheWayIsNoFolder) {
    makeFile("file", 0);
    EXPECT_EQ(open("file/Old.app"), ENOTDIR);
}

}  // namespace
}  // namespace quillmore::tests
