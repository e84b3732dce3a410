#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <thread>

#include "Common/utils/LogDates.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using testing::Each;
using testing::SizeIs;

using LoggingThreads = LogTest;

/// How often each message occurs; lines that were cut or mixed make messages of their own.
std::map<std::string, int> countedMessages(const std::vector<std::string>& messages) {
    std::map<std::string, int> counts;
    for (const std::string& message : messages) ++counts[message];
    return counts;
}

TEST_F(LoggingThreads, LinesOfEightThreadsStayWhole) {
    configure("detailed", "error");
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([number] {
            for (int i = 0; i < 200; ++i)
                logDetail("%d:%@", number, std::string(100, static_cast<char>('a' + number)));
        });
    }
    for (std::thread& thread : threads) thread.join();
    const auto counts = countedMessages(messages(logFile()));
    EXPECT_THAT(counts, SizeIs(8));
    EXPECT_THAT(counts, Each(testing::Pair(testing::MatchesRegex("[0-7]:(.)+"), 200)));
}

TEST_F(LoggingThreads, ConfigurationAndQueriesMayRunBesideLogging) {
    configure("normal", "error");
    std::thread writer([] {
        for (int i = 0; i < 500; ++i) logNormal("line");
    });
    for (int i = 0; i < 50; ++i) {
        initLogging2("normal", "error", i % 2 == 0 ? "/tmp/even.log" : "/tmp/odd.log");
        EXPECT_TRUE(getLogFilePath().has_value());
        EXPECT_EQ(loggingLevelStrFile(), "normal");
    }
    writer.join();
    const auto counts = countedMessages(
        messages(logFile() + services.read("/tmp/even.log") + services.read("/tmp/odd.log")));
    EXPECT_EQ(counts, (std::map<std::string, int>{{"line", 500}}));
}

TEST_F(LoggingThreads, DateFormattersAreThoseOfTheWholeProcess) {
    const DateFormatter* ofLines = nullptr;
    const DateFormatter* ofFileNames = nullptr;
    std::thread([&] {
        ofLines = &__dateFormatterForCurrentThread();
        ofFileNames = &dateFormatterForLogFileName();
    }).join();
    EXPECT_EQ(ofLines, &__dateFormatterForCurrentThread());
    EXPECT_EQ(ofFileNames, &dateFormatterForLogFileName());
}

/// Runs `body` in a process of its own.
template <class Body>
pid_t startProcess(Body body) {
    const pid_t process = ::fork();
    if (process == 0) {
        body();
        ::_exit(0);
    }
    return process;
}

TEST_F(LoggingThreads, TwoProcessesAppendWholeLinesToTheSameFile) {
    const auto writeLines = [](char letter) {
        configure("normal", "error");
        for (int i = 0; i < 100; ++i) logNormal("%@", std::string(20000, letter));
    };
    const pid_t first = startProcess([&] { writeLines('x'); });
    const pid_t second = startProcess([&] { writeLines('y'); });
    for (const pid_t process : {first, second}) {
        int status = -1;
        ASSERT_EQ(::waitpid(process, &status, 0), process);
        EXPECT_EQ(status, 0);
    }
    const std::map<std::string, int> expected = {{std::string(20000, 'x'), 100},
                                                 {std::string(20000, 'y'), 100}};
    EXPECT_TRUE(countedMessages(messages(logFile())) == expected);
}

}  // namespace
}  // namespace quillmore::tests
