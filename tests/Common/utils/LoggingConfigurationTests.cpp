#include <fcntl.h>

#include <functional>

#include "Platform/Values/Exception.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using LoggingConfiguration = LogTest;

void expectConfigurationFault(const std::function<void()>& act, const std::string& reason) {
    try {
        act();
        ADD_FAILURE() << "nothing was raised";
    } catch (const platform::Exception& exception) {
        EXPECT_EQ(exception.name(), "Configuration Fault");
        EXPECT_EQ(exception.reason(), reason);
    }
}

TEST_F(LoggingConfiguration, FileLiesInTheFolderOfFamilyAndProductUnderItsStartTime) {
    EXPECT_EQ(initLogging3("normal", "error", std::nullopt, "Family", "Product"),
              "/Users/jo/Library/Logs/Family/Product/Product-2011-01-01-130405.log");
    EXPECT_TRUE(
        services.exists("/Users/jo/Library/Logs/Family/Product/Product-2011-01-01-130405.log"));
}

TEST_F(LoggingConfiguration, GivenFolderIsTakenAndItsTildeExpanded) {
    EXPECT_EQ(initLogging3("normal", "error", "~/Elsewhere", "Family", "Product"),
              "/Users/jo/Elsewhere/Product-2011-01-01-130405.log");
    EXPECT_EQ(initLogging3("normal", "error", "/tmp/logs", "Family", "Product"),
              "/tmp/logs/Product-2011-01-01-130405.log");
}

TEST_F(LoggingConfiguration, EveryLayerGivesThePathThatTheQueryGives) {
    EXPECT_EQ(getLogFilePath(), std::nullopt);
    EXPECT_EQ(configure("normal", "error"), kLogFile);
    EXPECT_EQ(getLogFilePath(), kLogFile);
    EXPECT_EQ(initLogging2("normal", "error", "/tmp/two.log"), "/tmp/two.log");
    EXPECT_EQ(getLogFilePath(), "/tmp/two.log");
    EXPECT_EQ(initLogging(0, 0, "/tmp/one.log"), "/tmp/one.log");
    EXPECT_EQ(_initLogging(std::nullopt), std::nullopt);
    EXPECT_EQ(getLogFilePath(), std::nullopt);
}

TEST_F(LoggingConfiguration, LogFolderIsCreatedWithAllPermissionsUnderTheUmask) {
    const mode_t old = ::umask(0027);
    configure("normal", "error");
    ::umask(old);
    EXPECT_EQ(services.files.attributes(kLogFolder)->posixPermissions, 0750U);
}

TEST_F(LoggingConfiguration, EveryLevelWordIsUnderstoodByBothSinks) {
    CapturedOutput captured;
    for (const std::string word : {"error", "normal", "verbose", "detailed"}) {
        initLogging2(word, "error", std::nullopt);
        EXPECT_EQ(loggingLevelStrFile(), word);
        EXPECT_EQ(loggingLevelStrStdio(), "error");
        initLogging2("error", word, std::nullopt);
        EXPECT_EQ(loggingLevelStrStdio(), word);
    }
}

TEST_F(LoggingConfiguration, InitialLevelsAreNormal) {
    EXPECT_EQ(loggingLevelStrFile(), "normal");
    EXPECT_EQ(loggingLevelStrStdio(), "normal");
}

TEST_F(LoggingConfiguration, NumbersAndWordsOfLevelsAgree) {
    EXPECT_EQ(_loggingLevelToString(0), "error");
    EXPECT_EQ(_loggingLevelToString(1), "normal");
    EXPECT_EQ(_loggingLevelToString(2), "verbose");
    EXPECT_EQ(_loggingLevelToString(3), "detailed");
}

TEST_F(LoggingConfiguration, NumberOutsideTheLevelsIsAFault) {
    expectConfigurationFault([] { _loggingLevelToString(4); }, "Invalid logging level 4");
    CapturedOutput captured;
    initLogging(7, 12, std::nullopt);
    expectConfigurationFault([] { loggingLevelStrFile(); }, "Invalid logging level 7");
    expectConfigurationFault([] { loggingLevelStrStdio(); }, "Invalid logging level 12");
}

TEST_F(LoggingConfiguration, NumberOfALevelIsPrintedAsASignedOne) {
    expectConfigurationFault([] { _loggingLevelToString(0xFFFFFFFF); }, "Invalid logging level -1");
}

TEST_F(LoggingConfiguration, CapitalisedFileLevelIsRejected) {
    expectConfigurationFault([] { configure("Verbose", "normal"); },
                             "Invalid file logging level \"Verbose\"");
}

TEST_F(LoggingConfiguration, CapitalisedTerminalLevelIsRejected) {
    expectConfigurationFault([] { configure("verbose", "Verbose"); },
                             "Invalid stdout logging level \"Verbose\"");
}

TEST_F(LoggingConfiguration, FileLevelIsCheckedBeforeTheTerminalLevel) {
    expectConfigurationFault([] { initLogging2("loud", "quiet", std::nullopt); },
                             "Invalid file logging level \"loud\"");
}

TEST_F(LoggingConfiguration, LevelWordWithABlankIsRejected) {
    expectConfigurationFault([] { initLogging2("normal ", "normal", std::nullopt); },
                             "Invalid file logging level \"normal \"");
}

TEST_F(LoggingConfiguration, LevelsAreAnnouncedOnTheTerminalBeforeTheFileIsOpen) {
    CapturedOutput captured;
    configure("detailed", "verbose");
    EXPECT_EQ(captured.take().standardOutput,
              line("(vrb)", "Logging (file) level 3") + line("(vrb)", "Logging (stdout) level 2"));
    EXPECT_EQ(logFile(), "");
}

TEST_F(LoggingConfiguration, LevelsAreAnnouncedInTheFileOfAnEarlierConfiguration) {
    configure("verbose", "error");
    initLogging2("verbose", "error", "/tmp/second.log");
    EXPECT_THAT(messages(logFile()),
                ElementsAre("Logging (file) level 2", "Logging (stdout) level 0"));
    EXPECT_EQ(services.read("/tmp/second.log"), "");
}

TEST_F(LoggingConfiguration, LevelsAreNotAnnouncedBelowVerbose) {
    CapturedOutput captured;
    configure("normal", "normal");
    EXPECT_THAT(captured.take().standardOutput, IsEmpty());
}

TEST_F(LoggingConfiguration, ConfiguringAgainReplacesLevelsAndFile) {
    configure("normal", "error");
    logNormal("first");
    initLogging2("error", "error", "/tmp/second.log");
    CapturedOutput captured;
    logNormal("suppressed");
    logError("second");
    EXPECT_THAT(messages(logFile()), ElementsAre("first"));
    EXPECT_THAT(messages(services.read("/tmp/second.log")), ElementsAre("second"));
}

TEST_F(LoggingConfiguration, ExistingFileIsContinued) {
    services.makeFile(kLogFile, "from before\n");
    configure("normal", "error");
    logNormal("new");
    EXPECT_EQ(logFile(), "from before\n" + line("(nrm)", "new"));
}

TEST_F(LoggingConfiguration, ProcessNameIsTakenAtConfiguration) {
    configure("normal", "error");
    services.set.processName = "Renamed";
    logNormal("old name");
    initLogging2("normal", "error", kLogFile);
    logNormal("new name");
    EXPECT_THAT(logFile(), HasSubstr(" Quillmore[" + std::to_string(::getpid()) + "] (nrm)"));
    EXPECT_THAT(logFile(), HasSubstr(" Renamed[" + std::to_string(::getpid()) + "] (nrm)"));
}

TEST_F(LoggingConfiguration, ProcessNameIsTakenBeforeTheLevelsAreAnnounced) {
    CapturedOutput captured;
    configureTerminal("verbose");
    captured.take();
    services.set.processName = "Renamed";
    configureTerminal("verbose");
    EXPECT_THAT(captured.take().standardOutput,
                HasSubstr(" Renamed[" + std::to_string(::getpid()) + "] (vrb)"));
}

TEST_F(LoggingConfiguration, ProcessNameIsTakenWithEveryChangeOfTheFile) {
    configure("normal", "error");
    services.set.processName = "Renamed";
    _initLogging("/tmp/second.log");
    logNormal("line");
    EXPECT_THAT(services.read("/tmp/second.log"),
                HasSubstr(" Renamed[" + std::to_string(::getpid()) + "] (nrm)"));
}

TEST_F(LoggingConfiguration, LogFolderIsMadeBeforeTheLevelWordsAreRead) {
    EXPECT_THROW(configure("loud", "normal"), platform::Exception);
    EXPECT_TRUE(services.exists(kLogFolder));
    EXPECT_FALSE(services.exists(kLogFile));
}

TEST_F(LoggingConfiguration, FileThatCannotBeOpenedIsAFault) {
    services.makeFolder("/tmp/folder.log");
    expectConfigurationFault([] { initLogging2("normal", "error", "/tmp/folder.log"); },
                             "Failed to open log file \"/tmp/folder.log\" for writing");
}

TEST_F(LoggingConfiguration, FailedOpenLeavesNoFileOpen) {
    configure("normal", "normal");
    services.makeFolder("/tmp/folder.log");
    EXPECT_THROW(_initLogging("/tmp/folder.log"), platform::Exception);
    EXPECT_EQ(getLogFilePath(), "/tmp/folder.log") << "the path is remembered before the open";
    CapturedOutput captured;
    logNormal("terminal only");
    EXPECT_EQ(captured.take().standardOutput, line("(nrm)", "terminal only"));
    EXPECT_EQ(logFile(), "");
}

TEST_F(LoggingConfiguration, LogFolderThatCannotBeCreatedRaises) {
    services.makeFile("/Users/jo/Library/Logs", "a plain file");
    try {
        configure("normal", "error");
        ADD_FAILURE() << "nothing was raised";
    } catch (const platform::Exception& exception) {
        EXPECT_EQ(exception.name(), platform::kGenericException);
        EXPECT_THAT(*exception.reason(),
                    testing::StartsWith("Failed to create \"" + std::string(kLogFolder) + "\" ("));
    }
}

TEST_F(LoggingConfiguration, PlainFileInPlaceOfTheFolderFailsAtOpening) {
    services.makeFile(kLogFolder, "a plain file");
    expectConfigurationFault(
        [] { configure("normal", "error"); },
        "Failed to open log file \"" + std::string(kLogFile) + "\" for writing");
}

TEST_F(LoggingConfiguration, LogFileIsNotInheritedByChildren) {
    configure("normal", "error");
    int found = 0;
    for (int descriptor = 3; descriptor < 256; ++descriptor) {
        const auto link = std::filesystem::path("/proc/self/fd") / std::to_string(descriptor);
        std::error_code ignored;
        if (std::filesystem::read_symlink(link, ignored) != services.host(kLogFile)) continue;
        ++found;
        EXPECT_NE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
    }
    if (!std::filesystem::exists("/proc/self/fd")) GTEST_SKIP() << "no list of descriptors";
    EXPECT_EQ(found, 1);
}

TEST_F(LoggingConfiguration, RegeneratedPathHasTheRememberedFolderAndNameAndAFreshTime) {
    EXPECT_EQ(__createLogFilePath("/tmp/a", "N"), "/tmp/a/N-2011-01-01-130405.log");
    services.clock.advance(platform::Clock::Seconds(61));
    EXPECT_EQ(__createStringByRegeneratingLogFilePath(), "/tmp/a/N-2011-01-01-130506.log");
}

struct BadArguments {
    const char* expression;
    std::optional<std::string> fileLevel = "normal";
    std::optional<std::string> stdoutLevel = "normal";
    std::optional<std::string> productFamilyName = "F";
    std::optional<std::string> productName = "P";
};

std::string assertionLine(const std::string& expression) {
    return "(ERR) [0x1a2b] ASSERTION ERROR: " + expression +
           " (file \"Common/utils/LoggingConfiguration.cpp\", line ";
}

class LoggingConfigurationDeathTest : public LogTest,
                                      public testing::WithParamInterface<BadArguments> {};

TEST_P(LoggingConfigurationDeathTest, MissingOrEmptyArgumentOfTheTopLayerIsAnAssertion) {
    const BadArguments& bad = GetParam();
    EXPECT_EXIT(initLogging3(bad.fileLevel, bad.stdoutLevel, std::nullopt, bad.productFamilyName,
                             bad.productName),
                testing::KilledBySignal(SIGABRT), HasSubstr(assertionLine(bad.expression)));
}

// Each case also breaks every later argument: the order of the assertions shows.
const std::optional<std::string> kAbsent = std::nullopt;
INSTANTIATE_TEST_SUITE_P(
    Arguments, LoggingConfigurationDeathTest,
    testing::Values(BadArguments{"fileLevel", kAbsent, kAbsent, kAbsent, kAbsent},
                    BadArguments{"[fileLevel length]", "", kAbsent, kAbsent, kAbsent},
                    BadArguments{"stdoutLevel", "normal", kAbsent, kAbsent, kAbsent},
                    BadArguments{"[stdoutLevel length]", "normal", "", kAbsent, kAbsent},
                    BadArguments{"productFamilyName", "normal", "normal", kAbsent, kAbsent},
                    BadArguments{"[productFamilyName length]", "normal", "normal", "", kAbsent},
                    BadArguments{"productName", "normal", "normal", "F", kAbsent},
                    BadArguments{"[productName length]", "normal", "normal", "F", ""}));

using LoggingLevelsDeathTest = LogTest;

TEST_F(LoggingLevelsDeathTest, MissingOrEmptyLevelWordIsAnAssertion) {
    const auto aborted = testing::KilledBySignal(SIGABRT);
    EXPECT_EXIT(initLogging2(std::nullopt, std::nullopt, std::nullopt), aborted,
                HasSubstr(assertionLine("fileLevelStr")));
    EXPECT_EXIT(initLogging2("", std::nullopt, std::nullopt), aborted,
                HasSubstr(assertionLine("[fileLevelStr length]")));
    EXPECT_EXIT(initLogging2("error", std::nullopt, std::nullopt), aborted,
                HasSubstr(assertionLine("stdoutLevelStr")));
    EXPECT_EXIT(initLogging2("error", "", std::nullopt), aborted,
                HasSubstr(assertionLine("[stdoutLevelStr length]")));
}

TEST_F(LoggingLevelsDeathTest, AssertionsComeBeforeTheLevelWordsAreRead) {
    EXPECT_EXIT(initLogging2("loud", std::nullopt, std::nullopt), testing::KilledBySignal(SIGABRT),
                HasSubstr(assertionLine("stdoutLevelStr")));
}

TEST_F(LoggingLevelsDeathTest, AssertionLineIsInTheLogFileAfterTheAbort) {
    configure("error", "error");
    EXPECT_EXIT(initLogging2("", "", std::nullopt), testing::KilledBySignal(SIGABRT), "");
    EXPECT_THAT(logFile(), HasSubstr(assertionLine("[fileLevelStr length]")));
}

}  // namespace
}  // namespace quillmore::tests
