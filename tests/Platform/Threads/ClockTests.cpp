#include "Platform/Threads/Clock.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillmore::platform {
namespace {

TEST(SystemClock, NowIsTheSystemsTime) {
    SystemClock clock;
    const auto before = std::chrono::system_clock::now();
    const auto now = clock.now();
    EXPECT_LE(before, now);
    EXPECT_LE(now, std::chrono::system_clock::now());
}

TEST(SystemClock, SleepLastsAtLeastAsLongAsAsked) {
    SystemClock clock;
    const auto before = std::chrono::steady_clock::now();
    clock.sleepFor(Clock::Seconds(0.002));
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(2));
}

TEST(SystemClock, NothingToSleepReturnsAtOnce) {
    SystemClock clock;
    for (const double seconds : {0.0, -1.0, -1e300, -std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN()})
        clock.sleepFor(Clock::Seconds(seconds));
}

}  // namespace
}  // namespace quillmore::platform
