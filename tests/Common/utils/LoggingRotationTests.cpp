#include <unistd.h>

#include "Platform/Values/Exception.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::EndsWith;

constexpr std::uint64_t kLimit = 52428801;
constexpr const char* kNextFile = "/Users/jo/Library/Logs/P/P/P-2011-01-01-130406.log";

class LoggingRotation : public LogTest {
protected:
    /// Makes the file so long without writing what is in it.
    void setLength(const std::string& path, std::uint64_t length) const {
        services.makeFolder(kLogFolder);
        if (!services.exists(path)) services.makeFile(path, "");
        ASSERT_EQ(::truncate(services.host(path).c_str(), static_cast<off_t>(length)), 0);
    }
    std::uint64_t length(const std::string& path) const {
        return std::filesystem::file_size(services.host(path));
    }
    std::string tail(const std::string& path, std::size_t bytes) const {
        std::ifstream file(services.host(path), std::ios::binary);
        file.seekg(-static_cast<std::streamoff>(bytes), std::ios::end);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void oneSecondLater() { services.clock.advance(platform::Clock::Seconds(1)); }
};

TEST_F(LoggingRotation, FileOfExactlyTheLimitIsLeft) {
    configure("normal", "error");
    oneSecondLater();
    const std::size_t lineLength = line("(nrm)", "crossing").size();
    setLength(kLogFile, kLimit - lineLength);
    logNormal("crossing");
    EXPECT_EQ(getLogFilePath(), kNextFile);
    EXPECT_EQ(length(kLogFile), kLimit);
    EXPECT_THAT(tail(kLogFile, lineLength), EndsWith("crossing\n"));
    EXPECT_EQ(services.read(kNextFile), "");
}

TEST_F(LoggingRotation, FileOneByteShortOfTheLimitIsKept) {
    configure("normal", "error");
    oneSecondLater();
    setLength(kLogFile, kLimit - 1 - line("(nrm)", "not crossing").size());
    logNormal("not crossing");
    EXPECT_EQ(getLogFilePath(), kLogFile);
    EXPECT_EQ(length(kLogFile), kLimit - 1);
}

TEST_F(LoggingRotation, FollowingLinesGoToTheFreshFileAndTheOldOneStays) {
    configure("normal", "error");
    oneSecondLater();
    setLength(kLogFile, kLimit);
    logNormal("crossing");
    logNormal("after");
    EXPECT_THAT(messages(services.read(kNextFile)), ElementsAre("after"));
    EXPECT_TRUE(services.exists(kLogFile));
}

TEST_F(LoggingRotation, LengthIsLookedAtOnTheFirstLineAndEvery501stAfterIt) {
    configure("normal", "error");
    logNormal("1");
    oneSecondLater();
    setLength(kLogFile, kLimit);
    for (int number = 2; number <= 501; ++number) logNormal("%d", number);
    EXPECT_EQ(getLogFilePath(), kLogFile);
    logNormal("502");
    EXPECT_EQ(getLogFilePath(), kNextFile);
}

TEST_F(LoggingRotation, CountingStartsAnewWithTheFreshFile) {
    configure("normal", "error");
    oneSecondLater();
    setLength(kLogFile, kLimit);
    logNormal("crossing");
    oneSecondLater();
    setLength(kNextFile, kLimit);
    for (int number = 1; number <= 500; ++number) logNormal("%d", number);
    EXPECT_EQ(getLogFilePath(), kNextFile);
    logNormal("501");
    EXPECT_EQ(getLogFilePath(), "/Users/jo/Library/Logs/P/P/P-2011-01-01-130407.log");
}

TEST_F(LoggingRotation, LinesThatOnlyTheTerminalGetsAreNotCounted) {
    initLogging3("error", "normal", std::nullopt, "P", "P");
    CapturedOutput captured;
    logError("1");
    oneSecondLater();
    setLength(kLogFile, kLimit);
    for (int number = 0; number < 600; ++number) logNormal("%d", number);
    EXPECT_EQ(getLogFilePath(), kLogFile);
}

TEST_F(LoggingRotation, WithinTheSameSecondTheSameFileIsOpenedAgain) {
    setLength(kLogFile, kLimit);
    configure("normal", "error");
    logNormal("first");
    logNormal("second");
    EXPECT_EQ(getLogFilePath(), kLogFile);
    const std::string lines = line("(nrm)", "first") + line("(nrm)", "second");
    EXPECT_EQ(tail(kLogFile, lines.size()), lines);
    EXPECT_EQ(length(kLogFile), kLimit + lines.size());
}

TEST_F(LoggingRotation, FileBeyondFourGigabytesIsLeftToo) {
    configure("normal", "error");
    oneSecondLater();
    setLength(kLogFile, (1ULL << 32) + 10);
    logNormal("crossing");
    EXPECT_EQ(getLogFilePath(), kNextFile);
}

TEST_F(LoggingRotation, FolderThatWentAwayIsMadeAgainAndSaidSo) {
    configure("verbose", "error");
    oneSecondLater();
    setLength(kLogFile, kLimit);
    std::filesystem::rename(services.host(kLogFolder), services.host("/tmp/moved"));
    logNormal("crossing");
    EXPECT_EQ(getLogFilePath(), kNextFile);
    EXPECT_TRUE(services.exists(kNextFile));
    EXPECT_THAT(tail("/tmp/moved/P-2011-01-01-130405.log", 100),
                EndsWith("\"/Users/jo/Library/Logs/P/P\" subfolder missing - created it\n"));
}

TEST_F(LoggingRotation, FailureToOpenTheFreshFileEscapesFromTheLoggingCall) {
    configure("normal", "error");
    oneSecondLater();
    setLength(kLogFile, kLimit);
    std::filesystem::rename(services.host(kLogFolder), services.host("/tmp/moved"));
    services.makeFile(kLogFolder, "a plain file");
    try {
        logNormal("crossing");
        ADD_FAILURE() << "nothing was raised";
    } catch (const platform::Exception& exception) {
        EXPECT_EQ(exception.name(), "Configuration Fault");
        EXPECT_EQ(exception.reason(),
                  "Failed to open log file \"" + std::string(kNextFile) + "\" for writing");
    }
    EXPECT_NO_THROW(logNormal("later")) << "the next look at the length is 500 lines away";
    EXPECT_EQ(getLogFilePath(), kLogFile);
    EXPECT_THAT(tail("/tmp/moved/P-2011-01-01-130405.log", 6), EndsWith("later\n"));
}

TEST_F(LoggingRotation, FailedRotationIsTriedAgainAtTheNextLookAtTheLength) {
    configure("normal", "error");
    oneSecondLater();
    setLength(kLogFile, kLimit);
    services.makeFolder(kNextFile);
    EXPECT_THROW(logNormal("crossing"), platform::Exception);
    for (int number = 1; number <= 500; ++number) EXPECT_NO_THROW(logNormal("%d", number));
    EXPECT_THAT(tail(kLogFile, 4), EndsWith("500\n"));
    std::filesystem::remove(services.host(kNextFile));
    logNormal("501");
    EXPECT_EQ(getLogFilePath(), kNextFile);
    EXPECT_THAT(tail(kLogFile, 4), EndsWith("501\n"));
}

TEST_F(LoggingRotation, FolderThatCannotBeMadeAgainRaisesAtEveryLookAtTheLength) {
    CapturedOutput captured;
    configure("normal", "normal");
    setLength(kLogFile, kLimit);
    std::filesystem::rename(services.host("/Users/jo/Library/Logs"), services.host("/tmp/moved"));
    services.makeFile("/Users/jo/Library/Logs", "a plain file");
    EXPECT_THROW(logNormal("crossing"), platform::Exception);
    EXPECT_THAT(tail("/tmp/moved/P/P/P-2011-01-01-130405.log", 20), EndsWith("crossing\n"));
    EXPECT_EQ(captured.take().standardOutput, "") << "the terminal's turn comes after the file's";
    for (int number = 1; number <= 500; ++number) EXPECT_NO_THROW(logNormal("%d", number));
    EXPECT_THROW(logNormal("crossing"), platform::Exception);
}

using LoggingRotationDeathTest = LoggingRotation;

TEST_F(LoggingRotationDeathTest, FileConfiguredByItsPathAloneHasNoFolderToGoOnIn) {
    setLength("/tmp/alone.log", kLimit);
    initLogging2("normal", "error", "/tmp/alone.log");
    EXPECT_EXIT(logNormal("crossing"), testing::KilledBySignal(SIGABRT),
                testing::HasSubstr("ASSERTION ERROR: folderPath (file \""));
}

TEST(LoggingFileLength, OfNoStreamIsTheLargestNumber) {
    EXPECT_EQ(_fileLength(nullptr), 0xFFFFFFFFU);
}

TEST(LoggingFileLength, IsThatOfTheFileAndKeepsThePosition) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::tmpfile(), &std::fclose);
    std::fputs("twelve bytes", stream.get());
    std::fseek(stream.get(), 3, SEEK_SET);
    EXPECT_EQ(_fileLength(stream.get()), 12U);
    EXPECT_EQ(std::ftell(stream.get()), 3);
}

}  // namespace
}  // namespace quillmore::tests
