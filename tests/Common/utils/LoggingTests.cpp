#include <cstdlib>
#include <ctime>

#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;

using Logging = LogTest;

/// Counts how often it is turned into text.
struct CountedArgument {
    int& count;
    operator platform::FormatArgument() const {
        ++count;
        return {"counted"};
    }
};

TEST_F(Logging, LineHasDateProcessLevelThreadAndMessage) {
    CapturedOutput captured;
    logNormal("Hello %@, %d", "world", 7);
    EXPECT_EQ(captured.take().standardOutput, line("(nrm)", "Hello world, 7"));
}

TEST_F(Logging, FractionOfTheSecondIsCutToFourDigits) {
    services.clock.advance(platform::Clock::Seconds(0.98769));
    EXPECT_EQ(createCurrentDateTimeString(), "2011-01-01 13:04:05.9876");
}

TEST_F(Logging, DatesAreLocal) {
    ::setenv("TZ", "XYZ-05:30", 1);
    ::tzset();
    EXPECT_EQ(createCurrentDateTimeString(), "2011-01-01 18:34:05.0000");
    EXPECT_EQ(createCurrentDateTimeStringForLogFileName(), "2011-01-01-183405");
}

TEST_F(Logging, FileNameDateHasNoFraction) {
    services.clock.advance(platform::Clock::Seconds(0.75));
    EXPECT_EQ(createCurrentDateTimeStringForLogFileName(), "2011-01-01-130405");
}

TEST_F(Logging, UnconfiguredErrorsGoToStandardErrorAndNormalLinesToStandardOutput) {
    CapturedOutput captured;
    logError("bad");
    logNormal("good");
    logVerbose("chatty");
    logDetail("chattier");
    const auto streams = captured.take();
    EXPECT_EQ(streams.standardError, line("(ERR)", "bad"));
    EXPECT_EQ(streams.standardOutput, line("(nrm)", "good"));
    EXPECT_EQ(getLogFilePath(), std::nullopt);
}

TEST_F(Logging, EachLevelHasItsTag) {
    configure("detailed", "error");
    CapturedOutput captured;
    logError("a");
    logNormal("b");
    logVerbose("c");
    logDetail("d");
    EXPECT_EQ(logFile(),
              line("(ERR)", "a") + line("(nrm)", "b") + line("(vrb)", "c") + line("(dtl)", "d"));
}

TEST_F(Logging, LevelBeyondTheTableIsTaggedNormal) {
    initLogging(9, 9, std::nullopt);
    CapturedOutput captured;
    _log(9, "odd", {});
    EXPECT_EQ(captured.take().standardOutput, line("(nrm)", "odd"));
}

TEST_F(Logging, FileErrorTerminalDetailedSendsDetailsToTerminalAndErrorsToBoth) {
    CapturedOutput captured;
    configure("error", "detailed");
    captured.take();
    logDetail("detail");
    logError("error");
    const auto streams = captured.take();
    EXPECT_EQ(streams.standardOutput, line("(dtl)", "detail"));
    EXPECT_EQ(streams.standardError, line("(ERR)", "error"));
    EXPECT_EQ(logFile(), line("(ERR)", "error"));
}

TEST_F(Logging, FileDetailedTerminalErrorKeepsTheTerminalQuiet) {
    configure("detailed", "error");
    CapturedOutput captured;
    logDetail("detail");
    logNormal("normal");
    const auto streams = captured.take();
    EXPECT_EQ(streams.standardOutput + streams.standardError, "");
    EXPECT_EQ(logFile(), line("(dtl)", "detail") + line("(nrm)", "normal"));
}

TEST_F(Logging, FormatEndingInNewlineGetsNoSecondOne) {
    CapturedOutput captured;
    logNormal("once\n");
    EXPECT_EQ(captured.take().standardOutput, line("(nrm)", "once"));
}

TEST_F(Logging, FormatEndingInCarriageReturnAndLineFeedKeepsBoth) {
    CapturedOutput captured;
    logNormal("once\r\n");
    EXPECT_EQ(captured.take().standardOutput, line("(nrm)", "once\r"));
}

TEST_F(Logging, NewlineOfAnArgumentDoesNotStandForTheFormats) {
    CapturedOutput captured;
    logNormal("%@", "text\n");
    EXPECT_EQ(captured.take().standardOutput, line("(nrm)", "text\n"));
}

TEST_F(Logging, EmptyFormatGivesAnEmptyMessage) {
    CapturedOutput captured;
    logNormal("");
    EXPECT_EQ(captured.take().standardOutput, line("(nrm)", ""));
}

TEST_F(Logging, PercentSignsOfAMessageAreNotReadAgain) {
    CapturedOutput captured;
    logNormal("%@", "100%@ %d %n");
    EXPECT_EQ(captured.take().standardOutput, line("(nrm)", "100%@ %d %n"));
}

TEST_F(Logging, SuppressedLevelDescribesNoArgument) {
    int described = 0;
    CapturedOutput captured;
    logVerbose("%@", CountedArgument{described});
    logDetail("%@", CountedArgument{described});
    EXPECT_EQ(described, 0);
    logNormal("%@", CountedArgument{described});
    EXPECT_EQ(described, 1);
}

TEST_F(Logging, SuppressedLevelFormatsNothing) {
    // More than a text can hold: whoever formats it fails.
    static const char start = 'x';
    const std::string_view endless(&start, std::string().max_size() + 1);
    const platform::FormatArgument arguments[] = {endless};
    CapturedOutput captured;
    EXPECT_NO_THROW(_log(kLogLevelVerbose, "%@", arguments));
    EXPECT_THROW(_log(kLogLevelError, "%@", arguments), std::length_error);
}

TEST_F(Logging, ThreadWithoutNameShowsItsPortInHexadecimal) {
    services.system.threadPort = 0xAB0;
    EXPECT_EQ(__createCurrentThreadPrefixString(), "[0xab0] ");
}

TEST_F(Logging, NamedThreadShowsItsName) {
    platform::setCurrentThreadName("Worker");
    EXPECT_EQ(__createCurrentThreadPrefixString(), "[Worker] ");
}

TEST_F(Logging, ThreadNameInALineStandsBeforeTheMessage) {
    platform::setCurrentThreadName("Worker");
    CapturedOutput captured;
    logNormal("message");
    EXPECT_THAT(captured.take().standardOutput, HasSubstr(" (nrm) [Worker] message\n"));
}

TEST_F(Logging, EmptyThreadNameShowsEmptyBrackets) {
    platform::setCurrentThreadName("");
    EXPECT_EQ(__createCurrentThreadPrefixString(), "[] ");
}

TEST_F(Logging, PrintsOfNoLevelAppearWhenBothLevelsAreError) {
    initLogging2("error", "error", std::nullopt);
    CapturedOutput captured;
    NSPrintf("out %d", 1);
    NSPrintErrf("err %@", "two");
    const auto streams = captured.take();
    EXPECT_EQ(streams.standardOutput, "out 1\n");
    EXPECT_EQ(streams.standardError, "err two\n");
}

TEST_F(Logging, PrintsOfNoLevelDoNotReachTheFile) {
    configure("detailed", "error");
    CapturedOutput captured;
    NSPrintf("out");
    EXPECT_EQ(logFile(), "");
}

TEST_F(Logging, PrintAddsANewlineEvenAfterOne) {
    CapturedOutput captured;
    NSPrintf("out\n");
    EXPECT_EQ(captured.take().standardOutput, "out\n\n");
}

TEST_F(Logging, VisibilityIsThatOfTheChattierSink) {
    CapturedOutput captured;
    initLogging(kLogLevelError, kLogLevelNormal, std::nullopt);
    EXPECT_TRUE(_isLogLevelVisible(kLogLevelNormal));
    EXPECT_FALSE(isLogVerboseVisible());
    initLogging(kLogLevelVerbose, kLogLevelError, std::nullopt);
    EXPECT_TRUE(isLogVerboseVisible());
    EXPECT_FALSE(isLogDetailVisible());
    initLogging(kLogLevelError, kLogLevelDetailed, std::nullopt);
    EXPECT_TRUE(isLogVerboseVisible());
    EXPECT_TRUE(isLogDetailVisible());
}

TEST_F(Logging, TimeStampsCannotBeSwitchedOff) {
    setLoggingHasDateTimeStamp(false);
    CapturedOutput captured;
    logNormal("still dated");
    EXPECT_EQ(captured.take().standardOutput, line("(nrm)", "still dated"));
}

TEST_F(Logging, BytesAreWrittenAsTheyAre) {
    configure("normal", "error");
    logNormal("%@", "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(logFile(), line("(nrm)", "gr\xC3\xBC\xC3\x9F"));
}

TEST_F(Logging, LineIsInTheFileAsSoonAsTheCallReturns) {
    configure("normal", "error");
    logNormal("there");
    EXPECT_EQ(logFile(), line("(nrm)", "there"));  // read while the stream is open
}

/// A stream to a file that refuses to be written.
TEST_F(Logging, FailedWriteIsIgnored) {
    if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no device that is always full";
    platform::setServices(nullptr);
    initLogging(kLogLevelNormal, kLogLevelNormal, "/dev/full");
    CapturedOutput captured;
    EXPECT_NO_THROW(logNormal("lost in the file"));
    EXPECT_THAT(captured.take().standardOutput, HasSubstr("lost in the file\n"));
}

TEST_F(Logging, WorksWithoutServices) {
    platform::setServices(nullptr);
    CapturedOutput captured;
    logError("alone");
    EXPECT_THAT(captured.take().standardError,
                testing::MatchesRegex("20[0-9-]+ [0-9:.]+ .*\\[[0-9]+\\] \\(ERR\\) \\[0x0\\] "
                                      "alone\n"));
}

}  // namespace
}  // namespace quillmore::tests
