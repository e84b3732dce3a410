#include "Common/utils/Identifiers.h"

#include <set>

#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

TEST(UuidString, IsCanonicalRandomAndUpperCase) {
    const auto isCanonical = testing::MatchesRegex(
        "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    for (int round = 0; round < 100; ++round) EXPECT_THAT(UUIDString(), isCanonical);
    EXPECT_THAT(UUIDString() + "0", testing::Not(isCanonical));
}

TEST(UuidString, IsFreshEachTime) {
    std::set<std::string> all;
    for (int round = 0; round < 1000; ++round) all.insert(UUIDString());
    EXPECT_EQ(all.size(), 1000U);
}

using ThreadId = LogTest;

TEST_F(ThreadId, IsTheNumberThatTheLogPrints) {
    EXPECT_EQ(currentThreadId(), 0x1a2bU);
    CapturedOutput captured;
    configureTerminal("error");
    captured.take();
    services.system.threadPort = 0xffffffff;
    EXPECT_EQ(currentThreadId(), 0xffffffffU);
    logError("line");
    EXPECT_THAT(captured.take().standardError, testing::HasSubstr("[0xffffffff] line"));
}

}  // namespace
}  // namespace quillmore::tests
