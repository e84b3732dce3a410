// Problems in the log: those of a running program, and those that were found before it had a file.
#include "Common/utils/ProblemLog.h"

#include <map>
#include <thread>

#include "Platform/Values/Exception.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;

constexpr off_t kTooLong = 52428801;

class Problems : public LogTest {
protected:
    /// Standard error stays quiet while one is there.
    CapturedOutput output;
};

TEST_F(Problems, IsOneErrorLineWhateverItHolds) {
    problemLog.report("\"/tmp/a 100%@\": is damaged");
    EXPECT_EQ(output.take().standardError, line("(ERR)", "\"/tmp/a 100%@\": is damaged"));
}

TEST_F(Problems, FoundEarlyAreOnStandardErrorAtOnceAndInTheFileOnceInTheirOrder) {
    problemLog.report("first");
    EXPECT_EQ(output.take().standardError, line("(ERR)", "first"));
    services.clock.advance(platform::Clock::Seconds(1));
    problemLog.report("second");
    const std::string second = output.take().standardError;
    EXPECT_NE(second, line("(ERR)", "second")) << "a second later";
    initLogging2("error", "error", "/tmp/a.log");
    EXPECT_EQ(services.read("/tmp/a.log"), line("(ERR)", "first") + second)
        << "with the time of each";
    EXPECT_EQ(output.take().standardError, "") << "said already";
}

TEST_F(Problems, FoundEarlyAreNotInTheSecondFile) {
    problemLog.report("early");
    configure("error", "error");
    initLogging2("error", "error", "/tmp/second.log");
    EXPECT_THAT(messages(logFile()), ElementsAre("early"));
    EXPECT_EQ(services.read("/tmp/second.log"), "");
}

TEST_F(Problems, FoundLaterAreWrittenOnceToBoth) {
    configure("error", "error");
    problemLog.report("late");
    initLogging2("error", "error", "/tmp/second.log");
    EXPECT_EQ(logFile(), line("(ERR)", "late"));
    EXPECT_EQ(output.take().standardError, line("(ERR)", "late"));
    EXPECT_EQ(services.read("/tmp/second.log"), "");
}

TEST_F(Problems, NoteIsOneLineAtLevelVerboseAndNotKept) {
    problemLog.note("too early 100%@");
    configure("error", "verbose");
    output.take();
    problemLog.note("said 100%@");
    EXPECT_EQ(logFile(), "");
    EXPECT_EQ(output.take().standardOutput, line("(vrb)", "said 100%@"));
}

TEST_F(Problems, OtherLinesAreNotKept) {
    logError("no problem of a file");
    configure("error", "error");
    EXPECT_EQ(logFile(), "");
}

TEST_F(Problems, FileThatCannotBeOpenedLeavesThemToTheNext) {
    services.makeFolder("/tmp/folder.log");
    problemLog.report("early");
    EXPECT_THROW(initLogging2("error", "error", "/tmp/folder.log"), platform::Exception);
    configure("error", "error");
    EXPECT_THAT(messages(logFile()), ElementsAre("early"));
}

TEST_F(Problems, FoundWhileThereIsNoFileAreInTheNext) {
    configure("error", "error");
    initLogging2("error", "error", std::nullopt);
    problemLog.report("between");
    initLogging2("error", "error", "/tmp/second.log");
    EXPECT_EQ(logFile(), "");
    EXPECT_THAT(messages(services.read("/tmp/second.log")), ElementsAre("between"));
}

TEST_F(Problems, FiftyAreKeptAndTheOthersCounted) {
    for (int i = 1; i <= 50; ++i) problemLog.report(std::to_string(i));
    configure("error", "error");
    EXPECT_THAT(messages(logFile()), testing::SizeIs(50));
    initLogging2("error", "error", std::nullopt);
    for (int i = 1; i <= 53; ++i) problemLog.report(std::to_string(i));
    initLogging2("error", "error", "/tmp/second.log");
    std::vector<std::string> expected;
    for (int i = 1; i <= 50; ++i) expected.push_back(std::to_string(i));
    expected.emplace_back("3 more problems were found before there was this file");
    EXPECT_EQ(messages(services.read("/tmp/second.log")), expected);
}

TEST_F(Problems, FoundInTheMidstOfOpeningTheFileAreInIt) {
    services.set.makeFileManager = [this] {
        problemLog.report("in the midst");
        return std::make_unique<platform::FileManager>(services.root.path());
    };
    platform::SharedInstanceBase::forgetAll();
    configure("error", "error");
    EXPECT_THAT(messages(logFile()), ElementsAre("in the midst"));
}

TEST_F(Problems, FirstOneLeavesAFileThatIsTooLongAndTheOthersAreInTheNext) {
    configure("error", "error");
    ASSERT_EQ(::truncate(services.host(kLogFile).c_str(), kTooLong), 0);
    initLogging2("error", "error", std::nullopt);
    problemLog.report("first");
    problemLog.report("second");
    const std::string first = line("(ERR)", "first");
    const std::string second = line("(ERR)", "second");
    services.clock.advance(platform::Clock::Seconds(1));
    initLogging2("error", "error", kLogFile);
    EXPECT_EQ(services.read(kLogFile).substr(kTooLong), first);
    EXPECT_EQ(services.read("/Users/jo/Library/Logs/P/P/P-2011-01-01-130406.log"), second);
}

TEST_F(Problems, OfManyThreadsAreInTheFileOnceEach) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, i] {
            for (int j = 0; j < 10; ++j)
                problemLog.report(std::to_string(i) + "-" + std::to_string(j));
        });
    }
    configure("error", "error");
    for (std::thread& thread : threads) thread.join();
    std::map<std::string, int> counts;
    for (const std::string& message : messages(logFile())) ++counts[message];
    EXPECT_EQ(counts.size(), 40U);
    for (const auto& [message, count] : counts) EXPECT_EQ(count, 1) << message;
}

}  // namespace
}  // namespace quillmore::tests
