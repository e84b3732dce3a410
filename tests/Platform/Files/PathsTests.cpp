#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "Platform/Files/Paths.h"
#include "Platform/Files/SearchPaths.h"

namespace quillmore::tests {
namespace {

using namespace platform;

/// Sets or takes away a variable of the environment while it lives.
class HomeVariable {
public:
    explicit HomeVariable(const char* value) {
        if (const char* text = std::getenv("HOME")) before_ = text;
        value == nullptr ? ::unsetenv("HOME") : ::setenv("HOME", value, 1);
    }
    ~HomeVariable() { before_ ? ::setenv("HOME", before_->c_str(), 1) : ::unsetenv("HOME"); }

private:
    std::optional<std::string> before_;
};

std::string homeOfAccount() {
    const passwd* account = ::getpwuid(::getuid());
    return account != nullptr && account->pw_dir[0] == '/' ? account->pw_dir : "/";
}

TEST(Paths, PartsAreJoinedWithOneSlash) {
    EXPECT_EQ(pathByAppending("/tmp", "file"), "/tmp/file");
    EXPECT_EQ(pathByAppending("/tmp/", "file"), "/tmp/file");
    EXPECT_EQ(pathByAppending("/tmp//", "//file"), "/tmp/file");
    EXPECT_EQ(pathByAppending("/", "file"), "/file");
    EXPECT_EQ(pathByAppending("", "file"), "file");
    EXPECT_EQ(pathByAppending("folder", "a/b"), "folder/a/b");
}

TEST(Paths, AppendingNothingOnlyDropsTrailingSlashes) {
    EXPECT_EQ(pathByAppending("/tmp/", ""), "/tmp");
    EXPECT_EQ(pathByAppending("/tmp", "/"), "/tmp");
    EXPECT_EQ(pathByAppending("/", ""), "/");
    EXPECT_EQ(pathByAppending("", ""), "");
    EXPECT_EQ(pathByAppending("/tmp", "folder//"), "/tmp/folder");
}

TEST(Paths, LastComponentPassesOverTrailingSlashes) {
    EXPECT_EQ(lastPathComponent("/tmp/scratch.tiff"), "scratch.tiff");
    EXPECT_EQ(lastPathComponent("/tmp/folder//"), "folder");
    EXPECT_EQ(lastPathComponent("scratch"), "scratch");
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(lastPathComponent(""), "");
}

TEST(Paths, DeletingTheLastComponentLeavesTheFolder) {
    EXPECT_EQ(pathByDeletingLastComponent("/tmp/scratch.tiff"), "/tmp");
    EXPECT_EQ(pathByDeletingLastComponent("/tmp//a//"), "/tmp");
    EXPECT_EQ(pathByDeletingLastComponent("/tmp/"), "/");
    EXPECT_EQ(pathByDeletingLastComponent("/"), "/");
    EXPECT_EQ(pathByDeletingLastComponent("a/b"), "a");
    EXPECT_EQ(pathByDeletingLastComponent("scratch"), "");
    EXPECT_EQ(pathByDeletingLastComponent(""), "");
}

TEST(Paths, LeadingTildeBecomesTheHomeFolder) {
    EXPECT_EQ(expandTilde("~", "/Users/jo"), "/Users/jo");
    EXPECT_EQ(expandTilde("~/Library/Logs", "/Users/jo"), "/Users/jo/Library/Logs");
    EXPECT_EQ(expandTilde("~/Library", "/Users/jo/"), "/Users/jo/Library");
    EXPECT_EQ(expandTilde("~/Library", "/"), "/Library");
    EXPECT_EQ(expandTilde("~", "/"), "/");
}

TEST(Paths, OtherPathsKeepTheirTilde) {
    for (const char* path : {"~other/file", "/a/~/b", "/tmp", "", "a~"})
        EXPECT_EQ(expandTilde(path, "/Users/jo"), path);
    EXPECT_EQ(expandTilde("~/file", ""), "~/file");
}

TEST(Paths, HomeVariableNamesTheHomeFolder) {
    const HomeVariable home("/home/someone/");
    EXPECT_EQ(homeFolderOfUser(), "/home/someone");
}

TEST(Paths, AccountNamesTheHomeFolderWithoutAUsableVariable) {
    for (const char* value : {static_cast<const char*>(nullptr), "", "relative/home"}) {
        const HomeVariable home(value);
        EXPECT_EQ(homeFolderOfUser(), homeOfAccount());
    }
}

TEST(SearchPaths, EveryDomainHasItsApplicationsFolder) {
    using Folders = std::vector<std::string>;
    EXPECT_EQ(applicationsFolders(Domain::user, "/Users/jo"), Folders{"/Users/jo/Applications"});
    EXPECT_EQ(applicationsFolders(Domain::local, "/Users/jo"), Folders{"/Applications"});
    EXPECT_EQ(applicationsFolders(Domain::network, "/Users/jo"), Folders{"/Network/Applications"});
    EXPECT_EQ(applicationsFolders(Domain::system, "/Users/jo"), Folders{"/System/Applications"});
}

}  // namespace
}  // namespace quillmore::tests
