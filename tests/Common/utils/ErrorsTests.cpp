#include "Common/utils/Errors.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using platform::Exception;
using testing::ElementsAre;
using testing::HasSubstr;

using Errors = LogTest;
using ErrorsDeathTest = LogTest;

std::vector<std::string> stackOf(const Exception& exception) {
    return *exception.userInfo().at("stack");
}

TEST_F(ErrorsDeathTest, AssertionLogsAndAborts) {
    configure("error", "error");
    EXPECT_EXIT(__assert2("a == b", "Common/x.cpp", 12), testing::KilledBySignal(SIGABRT),
                HasSubstr("(ERR) [0x1a2b] ASSERTION ERROR: a == b (file \"Common/x.cpp\", line "
                          "12)\n"));
    EXPECT_THAT(logFile(), HasSubstr("ASSERTION ERROR: a == b (file \"Common/x.cpp\", line 12)\n"));
}

TEST_F(ErrorsDeathTest, AssertionStopsInAnAttachedDebugger) {
    services.system.flags = 0x4804;
    EXPECT_EXIT(__assert2("x", "f", 1), testing::KilledBySignal(SIGTRAP),
                HasSubstr("ASSERTION ERROR: x (file \"f\", line 1)\n"));
}

TEST_F(ErrorsDeathTest, AssertionEndsTheProcessEvenWhenTheLogRaises) {
    services.makeFile(std::string(kLogFolder) + "/now", "");
    configure("error", "error");
    ASSERT_EQ(::truncate(services.host(kLogFile).c_str(), 53 * 1024 * 1024), 0);
    std::filesystem::rename(services.host(kLogFolder), services.host("/tmp/moved"));
    services.makeFile(kLogFolder, "a plain file");
    EXPECT_EXIT(__assert2("x", "f", 1), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(ErrorsDeathTest, FailedConditionIsNamedWithItsSource) {
    EXPECT_EXIT(QMAssert(1 + 1 == 3), testing::KilledBySignal(SIGABRT),
                HasSubstr("ASSERTION ERROR: 1 + 1 == 3 (file \"tests/Common/utils/"
                          "ErrorsTests.cpp\", line "));
    QMAssert(1 + 1 == 2);
}

TEST_F(Errors, DebuggerIsTheTracedBitOfTheProcessFlags) {
    services.system.flags = 0x800;
    EXPECT_TRUE(IsDebuggerPresent());
    services.system.flags = 0xFFFFF7FF;
    EXPECT_FALSE(IsDebuggerPresent());
}

TEST_F(Errors, FailedQueryOfTheFlagsMeansNoDebugger) {
    services.system.flags = std::nullopt;
    EXPECT_FALSE(IsDebuggerPresent());
}

TEST_F(Errors, WithoutServicesThereIsNoDebugger) {
    platform::setServices(nullptr);
    EXPECT_FALSE(IsDebuggerPresent());
}

TEST_F(Errors, RaisingFormatsTheReason) {
    try {
        __raiseException1("Some Fault", "bad \"%@\"", "word");
        ADD_FAILURE() << "nothing was raised";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.name(), "Some Fault");
        EXPECT_EQ(exception.reason(), "bad \"word\"");
        EXPECT_TRUE(exception.userInfo().empty());
    }
}

TEST_F(ErrorsDeathTest, RaisingStopsInAnAttachedDebuggerInstead) {
    services.system.flags = platform::kProcessFlagTraced;
    EXPECT_EXIT(
        {
            try {
                __raiseException1("Some Fault", "%@", "x");
            } catch (const Exception&) {
                ::_exit(1);
            }
        },
        testing::KilledBySignal(SIGTRAP), "");
}

TEST_F(Errors, WrappingKeepsTheNameAndGivesTheNewReason) {
    const Exception wrapped = prepareException(Exception("Fault", "first"), "while %@ %d", "at", 2);
    EXPECT_EQ(wrapped.name(), "Fault");
    EXPECT_EQ(wrapped.reason(), "while at 2");
    EXPECT_THAT(stackOf(wrapped), ElementsAre("Fault (first)"));
    EXPECT_EQ(wrapped.userInfo().size(), 1U);
}

TEST_F(Errors, WrappingTwiceGivesAChainOfTwoOldestFirst) {
    const Exception b = prepareException(Exception("Fault", "A"), "B");
    const Exception c = prepareException(b, "C");
    EXPECT_THAT(stackOf(c), ElementsAre("Fault (A)", "Fault (B)"));
}

TEST_F(Errors, WrappingSharesTheChainWithTheOldException) {
    const Exception b = prepareException(Exception("Fault", "A"), "B");
    const Exception c = prepareException(b, "C");
    EXPECT_EQ(b.userInfo().at("stack"), c.userInfo().at("stack"));
}

TEST_F(Errors, WrappingDropsOtherUserInformation) {
    const auto other = std::make_shared<std::vector<std::string>>();
    const Exception wrapped = prepareException(Exception("Fault", "A", {{"other", other}}), "B");
    EXPECT_EQ(wrapped.userInfo().count("other"), 0U);
}

TEST_F(Errors, WrappingAnExceptionWithoutReasonSaysSo) {
    const Exception wrapped = prepareException(Exception("Fault", std::nullopt), "B");
    EXPECT_THAT(stackOf(wrapped), ElementsAre("Fault ((null))"));
}

TEST_F(Errors, WrappingIsLoggedAtTheDetailedLevel) {
    CapturedOutput captured;
    configureTerminal("detailed");
    captured.take();
    prepareException(Exception("Fault", "A"), "B %@", "b");
    EXPECT_EQ(captured.take().standardOutput, line("(dtl)", "Preparing exception Fault (B b)"));
}

TEST_F(Errors, TextOfAnExceptionWithoutChainIsNameAndReason) {
    EXPECT_EQ(errorExceptionToString(Exception("Fault", "reason")), "Fault (reason)");
}

TEST_F(Errors, TextOfAnExceptionLosesCarriageReturnsAndKeepsLineFeeds) {
    EXPECT_EQ(errorExceptionToString(Exception("Fault", "one\r\ntwo")), "Fault (one\ntwo)");
}

TEST_F(Errors, TextOfAnExceptionWithoutReasonPrintsNull) {
    EXPECT_EQ(errorExceptionToString(Exception("Fault", std::nullopt)), "Fault ((null))");
}

TEST_F(Errors, TextOfAChainGoesFromTheNewestToTheFirstCause) {
    const Exception c = prepareException(prepareException(Exception("Fault", "A"), "B"), "C");
    EXPECT_EQ(errorExceptionToString(c),
              "Fault (C)\n"
              "  Because:\n"
              "  Fault (B)\n"
              "    Because:\n"
              "    Fault (A)");
}

TEST_F(Errors, TextOfAChainKeepsTheCarriageReturnsOfItsCauses) {
    EXPECT_EQ(errorExceptionToString(prepareException(Exception("Fault", "a\r\nb"), "c\r\nd")),
              "Fault (c\nd)\n"
              "  Because:\n"
              "  Fault (a\r\nb)");
}

TEST_F(Errors, ExceptionIsLoggedAsAnError) {
    CapturedOutput captured;
    logErrorException(prepareException(Exception("Fault", "100%"), "B %@", "%d"));
    EXPECT_EQ(captured.take().standardError,
              line("(ERR)", "Fault (B %d)\n  Because:\n  Fault (100%)"));
}

TEST_F(Errors, ErrorOfAnExceptionHasItsNameAsReasonAndItsReasonAsDescription) {
    const platform::Error error = errorFromException(Exception("Fault", "reason"));
    EXPECT_EQ(error.domain(), ClientErrorDomain);
    EXPECT_EQ(error.code(), 0);
    EXPECT_EQ(error.userInfo(), (platform::Dictionary{{"NSLocalizedFailureReason", "Fault"},
                                                      {"NSLocalizedDescription", "reason"}}));
}

TEST_F(Errors, ErrorOfAnExceptionWithoutReasonHasNoDescription) {
    const platform::Error error = errorFromException(Exception("Fault", std::nullopt));
    EXPECT_EQ(error.userInfo(), (platform::Dictionary{{"NSLocalizedFailureReason", "Fault"}}));
}

TEST_F(Errors, TextOfAnErrorIsReasonBecauseDescription) {
    EXPECT_EQ(nserrorToString(errorFromException(Exception("launch failed", "no such file"))),
              "\"launch failed\" because \"no such file\"");
}

TEST_F(Errors, AbsentFailureReasonPrintsNull) {
    const platform::Error error(ClientErrorDomain, -1,
                                {{platform::kLocalizedDescriptionKey, "text"}});
    EXPECT_EQ(nserrorToString(error), "\"(null)\" because \"text\"");
}

TEST_F(Errors, AbsentErrorPrintsNullTwice) {
    EXPECT_EQ(nserrorToString(std::nullopt), "\"(null)\" because \"(null)\"");
}

TEST_F(Errors, ErrorIsLoggedUnderAHeading) {
    CapturedOutput captured;
    logNSError(errorFromException(Exception("launch failed", "no such file")));
    EXPECT_EQ(captured.take().standardError,
              line("(ERR)", "Error:\n\"launch failed\" because \"no such file\""));
}

TEST_F(Errors, PosixErrorIsNumberAndMessage) {
    EXPECT_EQ(posixErrorToString(2), "Posix error 2 (" + std::string(std::strerror(ENOENT)) + ")");
}

TEST_F(Errors, NumberWithoutMessageIsAnUnknownPosixError) {
    EXPECT_EQ(posixErrorToString(99999), "Unknown Posix error");
    EXPECT_EQ(posixErrorToString(-1), "Unknown Posix error");
}

TEST_F(Errors, RemovingNewLinesRemovesCarriageReturnsOnly) {
    EXPECT_EQ(_removeNewLinesInString("\ra\r\nb\n\r"), "a\nb\n");
    EXPECT_EQ(_removeNewLinesInString(""), "");
}

}  // namespace
}  // namespace quillmore::tests
