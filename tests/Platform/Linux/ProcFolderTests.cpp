#include "Platform/Linux/ProcFolder.h"

#include <gmock/gmock.h>

#include "tests/Platform/Linux/FakeProcFolder.h"

namespace quillmore::tests {
namespace {

using platform::ProcFolder;

TEST(ProcFolder, StartTimeOfANameWithBlanksAndParenthesesIsField22) {
    const FakeProcFolder fake;
    fake.add(5, {.startTime = 4711, .name = "a) S 1 2 (b"});
    EXPECT_EQ(ProcFolder(fake.path()).startTime(5), 4711U);
}

TEST(ProcFolder, StartTimeOfACutOffLineIsNothing) {
    const FakeProcFolder fake;
    fake.add(5, {});
    FakeProcFolder::write(fake.path() + "/5/stat", "5 (name) S 1 2 3");
    EXPECT_EQ(ProcFolder(fake.path()).startTime(5), std::nullopt);
    FakeProcFolder::write(fake.path() + "/5/stat", "");
    EXPECT_EQ(ProcFolder(fake.path()).startTime(5), std::nullopt);
}

TEST(ProcFolder, ExecutableLosesTheKernelsDeletedMark) {
    const FakeProcFolder fake;
    fake.add(5, {.executable = "/opt/my (deleted) tool (deleted)"});
    EXPECT_EQ(ProcFolder(fake.path()).executable(5), "/opt/my (deleted) tool");
}

TEST(ProcFolder, RealUserIsTheFirstOfTheFour) {
    const FakeProcFolder fake;
    fake.add(5, {.user = 1234});
    EXPECT_EQ(ProcFolder(fake.path()).realUser(5), 1234U);
}

TEST(ProcFolder, CommandNameLosesOnlyItsFinalLineEnd) {
    const FakeProcFolder fake;
    fake.add(5, {.name = "two\nlines "});
    EXPECT_EQ(ProcFolder(fake.path()).commandName(5), "two\nlines ");
}

TEST(ProcFolder, WholeNameIsTheProgramFilesThatTheCutNameBegins) {
    const FakeProcFolder fake;
    fake.add(5, {.executable = "/opt/AcmeLongProductCore", .name = "AcmeLongProduct"});
    EXPECT_EQ(ProcFolder(fake.path()).wholeName(5), "AcmeLongProductCore");
}

TEST(ProcFolder, WholeNameOfAnotherUsersProcessIsTheCommandLines) {
    const FakeProcFolder fake;
    fake.add(5, {.name = "AcmeLongProduct"});
    FakeProcFolder::write(fake.path() + "/5/cmdline",
                          std::string("/opt/AcmeLongProductCore\0-x", 27));
    EXPECT_EQ(ProcFolder(fake.path()).wholeName(5), "AcmeLongProductCore");
}

TEST(ProcFolder, NameThatWasNotCutIsWholeWhateverItBegins) {
    const FakeProcFolder fake;
    fake.add(5, {.name = "AcmeLongProduc"});
    FakeProcFolder::write(fake.path() + "/5/cmdline", "/opt/AcmeLongProductCore");
    EXPECT_EQ(ProcFolder(fake.path()).wholeName(5), "AcmeLongProduc");
}

TEST(ProcFolder, ProcessThatRenamedItselfHasItsProgramsName) {
    const FakeProcFolder fake;
    fake.add(5, {.executable = "/opt/AcmeLongProductCore", .name = "main"});
    EXPECT_EQ(ProcFolder(fake.path()).wholeName(5), "AcmeLongProductCore");
}

TEST(ProcFolder, ProcessOfTheKernelHasTheNameThatItKeeps) {
    const FakeProcFolder fake;
    fake.add(5, {.name = "kworker/u8:flus"});
    EXPECT_EQ(ProcFolder(fake.path()).wholeName(5), "kworker/u8:flus");
}

TEST(ProcFolder, OnlyNumberedFoldersAreProcesses) {
    const FakeProcFolder fake;
    for (const int number : {1, 22, 4194304}) fake.add(number, {});
    for (const char* name : {"self", "12a", "-3", "0", "sys", "99999999999999"})
        std::filesystem::create_directories(fake.path() + "/" + name);
    EXPECT_THAT(ProcFolder(fake.path()).processes(), testing::UnorderedElementsAre(1, 22, 4194304));
}

TEST(ProcFolder, AMissingProcessOrFolderAnswersNothing) {
    const FakeProcFolder fake;
    const ProcFolder folder(fake.path());
    EXPECT_EQ(folder.executable(5), std::nullopt);
    EXPECT_EQ(folder.startTime(5), std::nullopt);
    EXPECT_EQ(folder.realUser(5), std::nullopt);
    EXPECT_EQ(folder.commandName(5), std::nullopt);
    EXPECT_EQ(folder.wholeName(5), std::nullopt);
    EXPECT_TRUE(ProcFolder(fake.path() + "/missing").processes().empty());
}

TEST(ProcFolder, TheKernelsOwnFolderKnowsThisProcess) {
    const ProcFolder folder;
    EXPECT_THAT(folder.processes(), testing::Contains(::getpid()));
    EXPECT_EQ(folder.realUser(::getpid()), ::getuid());
    EXPECT_EQ(folder.executable(::getpid()), std::filesystem::read_symlink("/proc/self/exe"));
    EXPECT_TRUE(folder.startTime(::getpid()).has_value());
}

}  // namespace
}  // namespace quillmore::tests
