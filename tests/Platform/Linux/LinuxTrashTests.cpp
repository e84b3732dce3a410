#include "Platform/Linux/LinuxTrash.h"

#include <gmock/gmock.h>

#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Linux/TrashFolder.h"
#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/fakes/FakeProcessSpawner.h"

namespace quillmore::tests {
namespace {

class HomeTrash : public testing::Test {
protected:
    HomeTrash() {
        disk.makeFile("/Downloads/Old.app/Contents/version", "1");
        disk.makeFolder("/home");
    }
    bool recycle(const std::string& path) const { return trash.recycle(disk.host(path)); }

    TemporaryFiles disk;
    platform::LinuxTrash trash{disk.host("/home/.local/share/Trash"), ::geteuid()};
    const std::string files = "/home/.local/share/Trash/files";
    const std::string info = "/home/.local/share/Trash/info";
};

TEST_F(HomeTrash, ItemMovesWholeWithAnEntryThatSaysWhereItWas) {
    EXPECT_TRUE(recycle("/Downloads/Old.app"));
    EXPECT_FALSE(disk.exists("/Downloads/Old.app"));
    EXPECT_EQ(disk.read(files + "/Old.app/Contents/version"), "1");
    EXPECT_THAT(disk.read(info + "/Old.app.trashinfo"),
                testing::StartsWith("[Trash Info]\nPath=" + disk.host("/Downloads/Old.app") +
                                    "\nDeletionDate=2"));
}

TEST_F(HomeTrash, IsMadeForTheUserAlone) {
    recycle("/Downloads/Old.app");
    for (const char* folder : {"/home/.local/share/Trash", "/home/.local/share/Trash/files",
                               "/home/.local/share/Trash/info"})
        EXPECT_EQ(disk.mode(folder), 0700U) << folder;
    EXPECT_EQ(disk.mode(info + "/Old.app.trashinfo"), 0600U);
}

TEST_F(HomeTrash, ItemsOfOneNameAllStay) {
    for (const char* version : {"1", "2", "3"}) {
        disk.makeFile("/Downloads/Old.app/Contents/version", version);
        EXPECT_TRUE(recycle("/Downloads/Old.app"));
    }
    EXPECT_EQ(disk.read(files + "/Old.app/Contents/version"), "1");
    EXPECT_EQ(disk.read(files + "/Old.2.app/Contents/version"), "2");
    EXPECT_EQ(disk.read(files + "/Old.3.app/Contents/version"), "3");
    EXPECT_EQ(disk.count(info), 3U);
}

TEST_F(HomeTrash, ItemThatLostItsEntryIsNotReplaced) {
    disk.makeFolder(files + "/Old.app");
    EXPECT_TRUE(recycle("/Downloads/Old.app"));
    EXPECT_EQ(disk.count(files + "/Old.app"), 0U);
    EXPECT_EQ(disk.read(files + "/Old.2.app/Contents/version"), "1");
    EXPECT_EQ(disk.count(info), 1U);
}

TEST_F(HomeTrash, EntryWithoutAnItemIsNotReplaced) {
    disk.makeFile(info + "/Old.app.trashinfo", "other");
    EXPECT_TRUE(recycle("/Downloads/Old.app"));
    EXPECT_EQ(disk.read(info + "/Old.app.trashinfo"), "other");
    EXPECT_TRUE(disk.exists(files + "/Old.2.app"));
}

TEST_F(HomeTrash, LinkMovesItselfAndNotWhatItLeadsTo) {
    disk.makeLink("/Downloads/link", "Old.app");
    EXPECT_TRUE(recycle("/Downloads/link"));
    EXPECT_TRUE(disk.exists("/Downloads/Old.app"));
    EXPECT_TRUE(S_ISLNK(disk.status(files + "/link").st_mode));
}

TEST_F(HomeTrash, DanglingLinkMovesToo) {
    disk.makeLink("/Downloads/link", "nowhere");
    EXPECT_TRUE(recycle("/Downloads/link"));
    EXPECT_FALSE(disk.exists("/Downloads/link"));
}

TEST_F(HomeTrash, MissingItemAndMissingFolderAreRefused) {
    EXPECT_FALSE(recycle("/Downloads/None.app"));
    EXPECT_FALSE(recycle("/None/None.app"));
    EXPECT_FALSE(trash.recycle("Old.app"));
    EXPECT_FALSE(trash.recycle("/"));
    EXPECT_FALSE(recycle("/Downloads/.."));
}

TEST_F(HomeTrash, MayBeALinkToAnotherFolder) {
    disk.makeFolder("/big/Trash");
    ::chown(disk.host("/big/Trash").c_str(), ::geteuid(), ::getegid());
    disk.makeFolder("/home/.local/share");
    disk.makeLink("/home/.local/share/Trash", disk.host("/big/Trash"));
    EXPECT_TRUE(recycle("/Downloads/Old.app"));
    EXPECT_TRUE(disk.exists("/big/Trash/files/Old.app"));
}

TEST_F(HomeTrash, PathIsNamedWithoutLinks) {
    disk.makeLink("/way", "Downloads");
    EXPECT_TRUE(recycle("/way/Old.app"));
    EXPECT_THAT(disk.read(info + "/Old.app.trashinfo"),
                testing::HasSubstr("Path=" + disk.host("/Downloads/Old.app") + "\n"));
}

TEST_F(HomeTrash, WhatIsInItStays) {
    recycle("/Downloads/Old.app");
    EXPECT_TRUE(recycle(files + "/Old.app"));
    EXPECT_TRUE(disk.exists(files + "/Old.app"));
    EXPECT_EQ(disk.count(info), 1U);
}

TEST_F(HomeTrash, WorkspaceRecyclesByFolderAndName) {
    FakeProcessSpawner spawner;
    platform::LinuxWorkspace workspace(disk.files, spawner, "/proc",
                                       disk.host("/home/.local/share/Trash"));
    EXPECT_FALSE(workspace.recycleFile("/", "Downloads/Old.app"));
    EXPECT_FALSE(workspace.recycleFile("/Downloads", ""));
    EXPECT_TRUE(workspace.recycleFile("/Downloads", "Old.app"));
    EXPECT_TRUE(disk.exists(files + "/Old.app"));
}

TEST(TrashEntry, PathIsPercentEncodedAndTheDateLocal) {
    ::setenv("TZ", "UTC-2", 1);
    ::tzset();
    EXPECT_EQ(platform::trashInformation("/a b/\xC3\xA4%?\n-_.~.app", 1293887045),
              "[Trash Info]\nPath=/a%20b/%C3%A4%25%3F%0A-_.~.app\n"
              "DeletionDate=2011-01-01T15:04:05\n");
    ::unsetenv("TZ");
    ::tzset();
}

TEST(TrashEntry, NumberGoesBeforeTheExtension) {
    EXPECT_EQ(platform::nameInTrash("Old.app", 1), "Old.app");
    EXPECT_EQ(platform::nameInTrash("Old.app", 2), "Old.2.app");
    EXPECT_EQ(platform::nameInTrash("Old", 12), "Old.12");
    EXPECT_EQ(platform::nameInTrash(".hidden", 2), ".hidden.2");
}

TEST(TrashEntry, LongNameIsCutBetweenCharacters) {
    std::string name;
    while (name.size() < 251) name += "\xC3\xA4";
    const std::string cut = platform::nameInTrash(name + ".app", 2);
    EXPECT_LE(cut.size() + std::string(".trashinfo").size(), 255U);
    EXPECT_THAT(cut, testing::EndsWith("\xC3\xA4.2.app"));
}

TEST(TrashEntry, HomeFoldersTrashFollowsTheDataFolder) {
    ::unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(platform::homeTrashFolder("/home/jo"), "/home/jo/.local/share/Trash");
    ::setenv("XDG_DATA_HOME", "relative", 1);
    EXPECT_EQ(platform::homeTrashFolder("/home/jo"), "/home/jo/.local/share/Trash");
    ::setenv("XDG_DATA_HOME", "/data", 1);
    EXPECT_EQ(platform::homeTrashFolder("/home/jo"), "/data/Trash");
    ::unsetenv("XDG_DATA_HOME");
}

}  // namespace
}  // namespace quillmore::tests
