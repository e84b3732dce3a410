#include "Common/utils/Folders.h"

#include <cerrno>
#include <cstring>
#include <thread>

#include "Platform/Values/Exception.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using Folders = LogTest;

TEST_F(Folders, ExistingFolderIsLeftAloneAndNotLogged) {
    configureTerminal("detailed");
    CapturedOutput captured;
    ensureFolderPathExists("/tmp");
    const auto streams = captured.take();
    EXPECT_EQ(streams.standardOutput + streams.standardError, "");
}

TEST_F(Folders, PlainFileCountsAsExisting) {
    services.makeFile("/tmp/file", "text");
    EXPECT_NO_THROW(ensureFolderPathExists("/tmp/file"));
    EXPECT_EQ(services.read("/tmp/file"), "text");
}

TEST_F(Folders, MissingFolderIsMadeWithItsParents) {
    ensureFolderPathExists("/tmp/a/b/c");
    EXPECT_TRUE(services.files.isDirectory("/tmp/a/b/c"));
}

TEST_F(Folders, NewFoldersHaveAllPermissionsLessTheUmask) {
    const mode_t old = ::umask(0);
    ensureFolderPathExists("/tmp/open");
    ::umask(0022);
    ensureFolderPathExists("/tmp/usual");
    ::umask(old);
    EXPECT_EQ(services.files.attributes("/tmp/open")->posixPermissions, 0777U);
    EXPECT_EQ(services.files.attributes("/tmp/usual")->posixPermissions, 0755U);
}

TEST_F(Folders, CreationIsLoggedAtTheVerboseLevel) {
    CapturedOutput captured;
    configureTerminal("verbose");
    captured.take();
    ensureFolderPathExists("/tmp/new");
    EXPECT_EQ(captured.take().standardOutput,
              line("(vrb)", "\"/tmp/new\" subfolder missing - created it"));
}

TEST_F(Folders, FailureRaisesWithPathAndReasonAndLogsNothing) {
    CapturedOutput captured;
    configureTerminal("detailed");
    captured.take();
    services.makeFile("/tmp/file", "text");
    try {
        ensureFolderPathExists("/tmp/file/sub");
        ADD_FAILURE() << "nothing was raised";
    } catch (const platform::Exception& exception) {
        EXPECT_EQ(exception.name(), "NSGenericException");
        EXPECT_EQ(exception.reason(), "Failed to create \"/tmp/file/sub\" (" +
                                          std::string(std::strerror(ENOTDIR)) + ")");
    }
    EXPECT_EQ(captured.take().standardOutput, "");
}

TEST_F(Folders, EmptyPathCannotBeCreated) {
    EXPECT_THROW(ensureFolderPathExists(""), platform::Exception);
}

TEST_F(Folders, ThreadKeepsItsFileManager) {
    EXPECT_EQ(&__QMCurrentThreadFileManager(), &__QMCurrentThreadFileManager());
}

TEST_F(Folders, EachThreadHasItsOwnFileManager) {
    const platform::FileManager* mine = &__QMCurrentThreadFileManager();
    const platform::FileManager* other = nullptr;
    std::thread([&] { other = &__QMCurrentThreadFileManager(); }).join();
    EXPECT_NE(other, nullptr);
    EXPECT_NE(other, mine);
}

TEST_F(Folders, FileManagerIsTheServicesKind) {
    EXPECT_EQ(__QMCurrentThreadFileManager().hostPath("/x"), services.host("/x"));
}

TEST_F(Folders, FileManagerIsMadeAnewForOtherServices) {
    __QMCurrentThreadFileManager();
    platform::setServices(nullptr);
    EXPECT_EQ(__QMCurrentThreadFileManager().hostPath("/x"), "/x");
}

TEST(FoldersOfNewServices, AtTheSameAddressAreNotTheOldOnes) {
    const auto rootOf = [](std::optional<TestServices>& services) {
        services.emplace();
        EXPECT_EQ(__QMCurrentThreadFileManager().hostPath(""), services->root.path());
        return services->root.path();
    };
    std::optional<TestServices> services;
    const std::string first = rootOf(services);
    services.reset();
    EXPECT_NE(rootOf(services), first);
}

using FoldersDeathTest = LogTest;

TEST_F(FoldersDeathTest, AbsentPathIsAnAssertion) {
    EXPECT_EXIT(ensureFolderPathExists(std::nullopt), testing::KilledBySignal(SIGABRT),
                testing::HasSubstr(
                    "ASSERTION ERROR: folderPath (file \"Common/utils/Folders.cpp\", line "));
}

}  // namespace
}  // namespace quillmore::tests
