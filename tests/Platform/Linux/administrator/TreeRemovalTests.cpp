// What is removed, and what of others is not, whatever a user put in its way.
#include <cerrno>

#include "tests/Platform/Linux/OwnMounts.h"
#include "tests/Platform/Linux/administrator/UsersFolders.h"

namespace quillmore::tests {
namespace {

class AdministratorRemoval : public UsersFolders {};

TEST_F(AdministratorRemoval, WholeTreeGoesAndLinksInItAreNotFollowed) {
    makeFolder("Applications/Old.app/Contents/deep", 0);
    makeFile("Applications/Old.app/Contents/file", kUser);
    makeFile("kept", 0);
    makeLink("Applications/Old.app/link", at("kept"), 0);
    EXPECT_EQ(remove("Applications/Old.app"), 0);
    EXPECT_FALSE(exists("Applications/Old.app"));
    EXPECT_TRUE(exists("Applications"));
    EXPECT_TRUE(exists("kept"));
}

TEST_F(AdministratorRemoval, ItemThatIsALinkGoesAndItsTargetStays) {
    makeFolder("target", 0);
    makeLink("Old.app", "target", 0);
    EXPECT_EQ(remove("Old.app"), 0);
    EXPECT_FALSE(exists("Old.app"));
    EXPECT_TRUE(exists("target"));
}

TEST_F(AdministratorRemoval, NothingThereIsNoFailure) {
    EXPECT_EQ(remove("Old.app"), 0);
}

TEST_F(AdministratorRemoval, WhatRootPutIntoAUsersFolderGoes) {
    makeFolder("home/Applications", kUser);
    makeFolder("home/Applications/Old.app/Contents", 0);
    makeFile("home/Applications/Old.app/Contents/file", 0);
    EXPECT_EQ(remove("home/Applications/Old.app"), 0);
    EXPECT_FALSE(exists("home/Applications/Old.app"));
}

TEST_F(AdministratorRemoval, FolderThatTheUserClosedGoesToo) {
    makeFolder("home/Old.app/closed", kUser);
    makeFile("home/Old.app/closed/file", kUser);
    ::chmod(at("home/Old.app/closed").c_str(), 0);
    EXPECT_EQ(remove("home/Old.app"), 0);
    EXPECT_FALSE(exists("home/Old.app"));
}

TEST_F(AdministratorRemoval, FolderSwappedForALinkReachesNothingThatTheUserCannotChange) {
    makeFolder("Library/open/Old.app", 0);
    makeFile("Library/open/Old.app/file", 0);
    makeFolder("Library/secret/Old.app", 0);
    ::chmod(at("Library/secret").c_str(), 0700);
    makeFolder("home", kUser);
    for (const char* target : {"Library/open", "Library/secret"}) {
        std::filesystem::remove(at("home/Applications"));
        makeLink("home/Applications", at(target), kUser);
        EXPECT_EQ(remove("home/Applications/Old.app"), EACCES) << target;
    }
    EXPECT_TRUE(exists("Library/open/Old.app/file"));
    EXPECT_TRUE(exists("Library/secret/Old.app"));
}

TEST_F(AdministratorRemoval, ClosedFolderOfRootsInAUsersFolderStays) {
    makeFolder("home", kUser);
    makeFolder("home/Old.app/inside", 0);
    ::chmod(at("home/Old.app").c_str(), 0700);
    EXPECT_EQ(remove("home/Old.app"), EPERM);
    EXPECT_TRUE(exists("home/Old.app/inside"));
}

TEST_F(AdministratorRemoval, FolderOfAnotherUserInAUsersFolderStays) {
    makeFolder("home", kUser);
    makeFolder("home/Old.app", kOtherUser);
    makeFile("home/Old.app/file", kOtherUser);
    EXPECT_EQ(remove("home/Old.app"), EACCES);
    EXPECT_TRUE(exists("home/Old.app/file"));
}

TEST_F(AdministratorRemoval, WhatCanGoGoesBesideWhatCannot) {
    makeFolder("home/Old.app", kUser);
    makeFolder("home/Old.app/b", kOtherUser);
    makeFile("home/Old.app/b/file", kOtherUser);
    makeFile("home/Old.app/a", kUser);
    makeFile("home/Old.app/c", kUser);
    EXPECT_EQ(remove("home/Old.app"), EACCES);
    EXPECT_FALSE(exists("home/Old.app/a"));
    EXPECT_FALSE(exists("home/Old.app/c"));
}

TEST_F(AdministratorRemoval, TreeThatIsTooDeepStays) {
    std::string path = "Old.app";
    for (int level = 0; level <= platform::administrator::kMostLevels; ++level) path += "/d";
    std::filesystem::create_directories(at(path));
    EXPECT_EQ(remove("Old.app"), ELOOP);
    EXPECT_TRUE(exists(path));
}

TEST_F(AdministratorRemoval, OtherFileSystemInTheTreeIsNotEntered) {
    makeFolder("Old.app/mounted", 0);
    EXPECT_WITH_OWN_MOUNTS([this] {
        if (!HOLDS(mountVolume(at("Old.app/mounted")))) return false;
        makeFile("Old.app/mounted/file", 0);
        return HOLDS(remove("Old.app") == EXDEV) && HOLDS(exists("Old.app/mounted/file"));
    });
}

TEST_F(AdministratorRemoval, BoundFolderOfTheSameFileSystemIsNotEntered) {
    makeFolder("Old.app/bound", 0);
    makeFolder("elsewhere", 0);
    makeFile("elsewhere/file", 0);
    EXPECT_WITH_OWN_MOUNTS([this] {
        if (!HOLDS(::mount(at("elsewhere").c_str(), at("Old.app/bound").c_str(), nullptr, MS_BIND,
                           nullptr) == 0))
            return false;
        return HOLDS(remove("Old.app") == EXDEV) && HOLDS(exists("elsewhere/file"));
    });
}

}  // namespace
}  // namespace quillmore::tests
