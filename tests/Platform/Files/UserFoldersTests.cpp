#include "Platform/Files/UserFolders.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "Platform/Files/SearchPaths.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using platform::Domain;
using Folders = std::vector<std::string>;

std::optional<std::string> folderIn(const std::string& text) {
    return platform::userFolderInText(text, "XDG_DOWNLOAD_DIR", "/home/jo");
}

TEST(UserFolders, FolderBelowTheHomeFolderIsFound) {
    EXPECT_EQ(folderIn("# written by the desktop\nXDG_DESKTOP_DIR=\"$HOME/Desktop\"\n"
                       "XDG_DOWNLOAD_DIR=\"$HOME/Geladenes\"\n"),
              "/home/jo/Geladenes");
}

TEST(UserFolders, AbsoluteFolderIsFound) {
    EXPECT_EQ(folderIn("XDG_DOWNLOAD_DIR=\"/data/in\""), "/data/in");
}

TEST(UserFolders, BlanksAndATrailingSlashDoNotMatter) {
    EXPECT_EQ(folderIn("  XDG_DOWNLOAD_DIR\t= \"$HOME/in/\"  \n"), "/home/jo/in");
}

TEST(UserFolders, BackslashTakesTheNextCharacterAsItIs) {
    EXPECT_EQ(folderIn("XDG_DOWNLOAD_DIR=\"$HOME/a\\\"b\\\\c\\$d\"\n"), "/home/jo/a\"b\\c$d");
}

TEST(UserFolders, LastUsableLineCounts) {
    EXPECT_EQ(folderIn("XDG_DOWNLOAD_DIR=\"/a\"\nXDG_DOWNLOAD_DIR=\"/b\"\n"
                       "XDG_DOWNLOAD_DIR=\"relative\"\n"),
              "/b");
}

TEST(UserFolders, UnusableLinesNameNothing) {
    for (const char* line :
         {"", "#XDG_DOWNLOAD_DIR=\"/a\"", "XDG_DOWNLOAD_DIR=/a", "XDG_DOWNLOAD_DIR=\"/a",
          "XDG_DOWNLOAD_DIR=\"/a\\", "XDG_DOWNLOAD_DIR=\"a\"", "XDG_DOWNLOAD_DIR=\"$HOMEa\"",
          "XDG_DOWNLOAD_DIR=\"\"", "XDG_DOWNLOAD_DIRS=\"/a\"", "export XDG_DOWNLOAD_DIR=\"/a\""})
        EXPECT_EQ(folderIn(line), std::nullopt) << line;
}

class DownloadsFolders : public testing::Test {
protected:
    DownloadsFolders() { ::unsetenv("XDG_CONFIG_HOME"); }
    ~DownloadsFolders() override { ::unsetenv("XDG_CONFIG_HOME"); }
    Folders ofUser() const {
        return platform::downloadsFolders(disk.files, Domain::user, "/home/jo");
    }
    TemporaryFiles disk;
};

TEST_F(DownloadsFolders, OnlyTheUserHasOne) {
    EXPECT_EQ(ofUser(), Folders{"/home/jo/Downloads"});
    for (const Domain domain : {Domain::local, Domain::network, Domain::system})
        EXPECT_EQ(platform::downloadsFolders(disk.files, domain, "/home/jo"), Folders{});
}

TEST_F(DownloadsFolders, UsersChoiceCounts) {
    disk.makeFile("/home/jo/.config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/in\"\n");
    EXPECT_EQ(ofUser(), Folders{"/home/jo/in"});
}

TEST_F(DownloadsFolders, ConfigurationFolderCanBeMoved) {
    disk.makeFile("/conf/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"/in\"\n");
    ::setenv("XDG_CONFIG_HOME", "/conf", 1);
    EXPECT_EQ(ofUser(), Folders{"/in"});
    ::setenv("XDG_CONFIG_HOME", "conf", 1);
    EXPECT_EQ(ofUser(), Folders{"/home/jo/Downloads"});
}

TEST_F(DownloadsFolders, HomeFolderItselfMeansNone) {
    for (const char* home : {"$HOME", "$HOME/", "/home/jo/"}) {
        disk.makeFile("/home/jo/.config/user-dirs.dirs",
                      "XDG_DOWNLOAD_DIR=\"" + std::string(home) + "\"\n");
        EXPECT_EQ(ofUser(), Folders{}) << home;
    }
}

TEST_F(DownloadsFolders, UnreadableOrHugeFileCountsAsNone) {
    disk.makeFolder("/home/jo/.config/user-dirs.dirs");
    EXPECT_EQ(ofUser(), Folders{"/home/jo/Downloads"});
    std::filesystem::remove_all(disk.host("/home/jo/.config"));
    disk.makeFile("/home/jo/.config/user-dirs.dirs",
                  "XDG_DOWNLOAD_DIR=\"/in\"\n" + std::string(100000, '#'));
    EXPECT_EQ(ofUser(), Folders{"/home/jo/Downloads"});
}

}  // namespace
}  // namespace quillmore::tests
