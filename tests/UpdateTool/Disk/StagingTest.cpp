#include "UpdateTool/Disk/Staging.h"

#include <fcntl.h>
#include <sys/file.h>

#include "UpdateTool/Disk/Exchange.h"
#include "UpdateTool/Disk/FileContents.h"
#include "UpdateTool/Disk/RunLock.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using updatetool::ReceiptChange;
using updatetool::RunLock;
using updatetool::Staging;

const std::string kStagingPath = kProduct + "/" + Staging::kFolderName;

class UpdateToolStaging : public UpdateToolMachine {
protected:
    void stage(const Staging& staging, const std::string& name, const std::string& bytes) const {
        updatetool::writeFile(context, staging.folder(), name,
                              updatetool::Bytes(bytes.begin(), bytes.end()), 0755);
    }
    void leaveJournal(const std::string& item, ino_t staged) const {
        makeFile(kProduct + "/.journal",
                 "updateqm journal 1\n" + kProduct + "\n3 " + std::to_string(staged) +
                     " 0 0 501\n" + item + "\nend\n",
                 0600);
    }
    ino_t inodeOf(const std::string& path) const {
        struct stat status {};
        ::lstat(host(path).c_str(), &status);
        return status.st_ino;
    }
    /// What the next run does first.
    void recover() const { const RunLock lock(context, RunLock::Missing::fails); }
};

TEST_F(UpdateToolStaging, FolderIsTheOwnersAlone) {
    RunLock lock(context, RunLock::Missing::isMade);
    const Staging staging(context, lock, kProduct);
    EXPECT_EQ(modeOf(kStagingPath), 0700u);
    EXPECT_EQ(modeOf(kProduct + "/.journal"), 0600u);
}
TEST_F(UpdateToolStaging, EverythingGoesWhenNothingWasInstalled) {
    {
        RunLock lock(context, RunLock::Missing::isMade);
        const Staging staging(context, lock, kPlugIns);
        stage(staging, "tool", "bytes");
        EXPECT_TRUE(exists(kPlugIns));
    }
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolStaging, FoldersThatWereThereBeforeStay) {
    makeFolder(kProduct);
    makeFolder(kPlugIns);
    {
        RunLock lock(context, RunLock::Missing::isMade);
        const Staging staging(context, lock, kPlugIns);
    }
    EXPECT_TRUE(exists(kPlugIns));
    EXPECT_TRUE(std::filesystem::is_empty(host(kProduct)));
}
TEST_F(UpdateToolStaging, NothingIsVisibleBeforeTheExchange) {
    RunLock lock(context, RunLock::Missing::isMade);
    const Staging staging(context, lock, kProduct);
    stage(staging, "tool", "bytes");
    EXPECT_FALSE(exists(kProduct + "/tool"));
}
TEST_F(UpdateToolStaging, UnreadableReceiptsLeaveTheOldItemInPlace) {
    makeFile(kProduct + "/tool", "old");
    RunLock lock(context, RunLock::Missing::isMade);
    {
        Staging staging(context, lock, kProduct);
        stage(staging, "tool", "new");
        makeFolder(kProduct + "/.receipts/x");
        EXPECT_THROW(staging.install("tool", ReceiptChange::add), updatetool::Failure);
    }
    EXPECT_EQ(read(kProduct + "/tool"), "old");
    EXPECT_FALSE(exists(kStagingPath));
    EXPECT_FALSE(exists(kProduct + "/.journal"));
}
TEST_F(UpdateToolStaging, ItemThatAKilledRunMovedAsideIsPutBack) {
    makeFile(kStagingPath + "/tool", "new");
    makeFile(kStagingPath + "/.previous", "old");
    leaveJournal("tool", inodeOf(kStagingPath + "/tool"));
    recover();
    EXPECT_EQ(read(kProduct + "/tool"), "old");
    EXPECT_THAT(visibleNames(kProduct), ElementsAre("tool"));
}
TEST_F(UpdateToolStaging, ItemThatAKilledRunReplacedStaysReplaced) {
    makeFile(kStagingPath + "/tool", "old");
    makeFile(kProduct + "/tool", "new");
    leaveJournal("tool", inodeOf(kProduct + "/tool"));
    recover();
    EXPECT_EQ(read(kProduct + "/tool"), "new");
    EXPECT_THAT(visibleNames(kProduct), ElementsAre("tool"));
}
TEST_F(UpdateToolStaging, WhatAKilledRunDidIsAuditedWithItsCaller) {
    makeFile(kProduct + "/tool", "new");
    leaveJournal("tool", inodeOf(kProduct + "/tool"));
    recover();
    EXPECT_THAT(auditLog,
                ElementsAre("user 501 unfinished item \"" + kProduct + "/tool\": installed"));
}
TEST_F(UpdateToolStaging, WhatAKilledRunDidNotDoIsAuditedWithItsCaller) {
    makeFile(kStagingPath + "/tool", "new");
    leaveJournal("tool", inodeOf(kStagingPath + "/tool"));
    recover();
    EXPECT_THAT(auditLog,
                ElementsAre("user 501 unfinished item \"" + kProduct + "/tool\": undone"));
}
TEST_F(UpdateToolStaging, TargetFolderThatWentAfterAKilledRunStopsNobody) {
    makeFile(kProduct + "/.journal",
             "updateqm journal 1\n" + kPlugIns + "\n2 7 0 0 501\nA.plugin\nend\n", 0600);
    recover();
    EXPECT_THAT(visibleNames(kProduct), IsEmpty());
}
TEST_F(UpdateToolStaging, StagingFolderThatCannotBeRemovedIsPutAsideForRootAlone) {
    std::string deep = kStagingPath;
    for (int depth = 0; depth < 150; ++depth) deep += "/d";
    makeFolder(deep);
    makeFolder(kStagingPath, 0700);
    leaveJournal("tool", 7);
    recover();
    const std::string aside = kProduct + "/" + visibleNames(kProduct).at(0);
    EXPECT_THAT(aside, StartsWith(kStagingPath + "."));
    EXPECT_EQ(modeOf(aside), 0700u);
    EXPECT_THAT(auditLog.back(), testing::HasSubstr("remove \"" + aside));
    EXPECT_FALSE(exists(kProduct + "/.journal"));
}
TEST_F(UpdateToolStaging, JournalThatOthersCouldWriteStopsEverything) {
    makeFile(kProduct + "/.journal", "updateqm journal 1\n", 0666);
    EXPECT_THROW(recover(), updatetool::Failure);
}
TEST_F(UpdateToolStaging, JournalOfAFolderThatIsNoTargetStopsEverything) {
    makeFile("/etc/.quillmore-staging/file", "precious");
    makeFile(kProduct + "/.journal", "updateqm journal 1\n/etc\n1 0 0 0 501\n\nend\n", 0600);
    EXPECT_THROW(recover(), updatetool::Failure);
    EXPECT_EQ(read("/etc/.quillmore-staging/file"), "precious");
}
TEST_F(UpdateToolStaging, LinkInTheStagingFoldersPlaceIsRemovedNotFollowed) {
    makeFile("/victim/file", "precious");
    makeFolder(kProduct);
    std::filesystem::create_directory_symlink(host("/victim"), host(kStagingPath));
    {
        RunLock lock(context, RunLock::Missing::isMade);
        const Staging staging(context, lock, kProduct);
    }
    EXPECT_EQ(read("/victim/file"), "precious");
    EXPECT_THAT(visibleNames(kProduct), IsEmpty());
}
TEST_F(UpdateToolStaging, ExchangeSwapsTwoEntries) {
    makeFile("/a/one", "1");
    makeFile("/b/two", "2");
    const platform::FileDescriptor a(::open(host("/a").c_str(), O_RDONLY | O_CLOEXEC));
    const platform::FileDescriptor b(::open(host("/b").c_str(), O_RDONLY | O_CLOEXEC));
    const auto result = updatetool::exchangeEntries(a.get(), "one", b.get(), "two");
    if (result == updatetool::Exchanged::notSupported)
        GTEST_SKIP() << "the volume of the temporary folder cannot exchange entries";
    EXPECT_EQ(read("/a/one") + read("/b/two"), "21");
}
TEST_F(UpdateToolStaging, LockIsHeldAsLongAsItLivesAndOnlyRootMayOpenIt) {
    const std::string path = kProduct + "/.updateqm.lock";
    auto lock = std::make_unique<RunLock>(context, RunLock::Missing::isMade);
    lock->keep();
    EXPECT_EQ(modeOf(path), 0600u);
    const platform::FileDescriptor other(::open(host(path).c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_NE(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
    lock.reset();
    EXPECT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
}
TEST_F(UpdateToolStaging, LockThatIsALinkIsRefused) {
    makeFile("/victim", "precious", 0600);
    makeFolder(kProduct);
    std::filesystem::create_symlink(host("/victim"), host(kProduct + "/.updateqm.lock"));
    EXPECT_THROW(RunLock(context, RunLock::Missing::fails), updatetool::Failure);
}

}  // namespace
}  // namespace quillmore::tests
