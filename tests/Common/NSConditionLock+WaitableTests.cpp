#include "Common/NSConditionLock+Waitable.h"

#include <limits>
#include <thread>

#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using platform::ConditionLock;
using std::chrono::steady_clock;

class WaitableLock : public LogTest {
protected:
    /// True when nobody holds it.
    static bool isFree(ConditionLock& lock) {
        const std::int64_t value = lock.condition();
        if (!lock.lockWhenConditionBefore(value, steady_clock::now())) return false;
        lock.unlock();
        return true;
    }
    /// A wait whose tries end at once and whose third try finds the condition set.
    static void waitWithTwoFailedTries(ConditionLock& lock, std::int64_t awaited) {
        int tries = 0;
        Waitable::_waitCondition(lock, awaited, [&] {
            if (++tries == 3) Waitable::signalCondition(lock, awaited);
            return steady_clock::now();
        });
    }
    ConditionLock lock{3};
};

TEST_F(WaitableLock, NewLockHasConditionAndName) {
    const auto made = Waitable::condition(-7, "queue");
    EXPECT_EQ(made->condition(), -7);
    EXPECT_EQ(made->name(), "queue");
    EXPECT_EQ(Waitable::condition(0, "")->name(), "");
}

TEST_F(WaitableLock, NewLockWithoutANameHasNone) {
    EXPECT_EQ(Waitable::condition(0, std::nullopt)->name(), std::nullopt);
}

TEST_F(WaitableLock, ConditionIsComparedAndStays) {
    EXPECT_TRUE(Waitable::isCondition(lock, 3));
    for (const std::int64_t other : {std::int64_t{2}, std::int64_t{4}, std::int64_t{-3},
                                     std::int64_t{3} + (std::int64_t{1} << 32)})
        EXPECT_FALSE(Waitable::isCondition(lock, other));
    EXPECT_EQ(lock.condition(), 3);
    EXPECT_TRUE(isFree(lock));
}

TEST_F(WaitableLock, SignalGivesTheOldConditionBack) {
    EXPECT_EQ(Waitable::signalCondition(lock, 9), 3);
    EXPECT_EQ(Waitable::signalCondition(lock, 9), 9);
    EXPECT_EQ(lock.condition(), 9);
    EXPECT_TRUE(isFree(lock));
}

TEST_F(WaitableLock, CountingUpTwiceGivesZeroThenOneAndLeavesTwo) {
    ConditionLock counter(0);
    EXPECT_EQ(Waitable::signalIncCondition(counter), 0);
    EXPECT_EQ(Waitable::signalIncCondition(counter), 1);
    EXPECT_EQ(counter.condition(), 2);
    EXPECT_TRUE(isFree(counter));
}

TEST_F(WaitableLock, CountingDownGoesBelowZero) {
    ConditionLock counter(0);
    EXPECT_EQ(Waitable::signalDecCondition(counter), 0);
    EXPECT_EQ(Waitable::signalDecCondition(counter), -1);
    EXPECT_EQ(counter.condition(), -2);
}

TEST_F(WaitableLock, CountingWrapsAtTheEndsOfTheRange) {
    ConditionLock counter(std::numeric_limits<std::int64_t>::max());
    Waitable::signalIncCondition(counter);
    EXPECT_EQ(counter.condition(), std::numeric_limits<std::int64_t>::min());
    Waitable::signalDecCondition(counter);
    EXPECT_EQ(counter.condition(), std::numeric_limits<std::int64_t>::max());
}

TEST_F(WaitableLock, WaitDoesNotKeepTheLock) {
    Waitable::waitCondition(lock, 3);
    EXPECT_EQ(lock.condition(), 3);
    EXPECT_TRUE(isFree(lock));
}

TEST_F(WaitableLock, WaitEndsWhenAnotherThreadSignals) {
    std::jthread other([this] { Waitable::signalCondition(lock, 5); });
    Waitable::waitCondition(lock, 5);
    EXPECT_TRUE(Waitable::isCondition(lock, 5));
}

TEST_F(WaitableLock, ThreadsHandAStateToEachOther) {
    ConditionLock turn(0);
    std::vector<int> order;
    std::jthread other([&] {
        for (int round = 0; round < 50; ++round) {
            Waitable::waitCondition(turn, 1);
            order.push_back(1);
            Waitable::signalDecCondition(turn);
        }
    });
    for (int round = 0; round < 50; ++round) {
        Waitable::waitCondition(turn, 0);
        order.push_back(0);
        Waitable::signalIncCondition(turn);
    }
    other.join();
    for (std::size_t index = 0; index < order.size(); ++index)
        ASSERT_EQ(order[index], static_cast<int>(index % 2));
}

TEST_F(WaitableLock, EveryFailedTryIsLoggedAtTheDetailedLevel) {
    lock.setName("queue");
    CapturedOutput captured;
    configureTerminal("detailed");
    captured.take();
    waitWithTwoFailedTries(lock, -4);
    const std::string line = "Waiting for condition -4 in " + lock.description() + " \"queue\"";
    EXPECT_EQ(messages(captured.take().standardOutput), (std::vector<std::string>{line, line}));
}

TEST_F(WaitableLock, LockWithoutANameIsLoggedAsNull) {
    CapturedOutput captured;
    configureTerminal("detailed");
    captured.take();
    waitWithTwoFailedTries(lock, 4);
    EXPECT_EQ(messages(captured.take().standardOutput).at(0),
              "Waiting for condition 4 in " + lock.description() + " \"(null)\"");
}

TEST_F(WaitableLock, FailedTriesAreNotLoggedAtTheVerboseLevel) {
    CapturedOutput captured;
    configureTerminal("verbose");
    captured.take();
    waitWithTwoFailedTries(lock, 4);
    EXPECT_EQ(captured.take().standardOutput, "");
}

TEST_F(WaitableLock, OneTryLastsTenSeconds) {
    EXPECT_EQ(Waitable::kWaitConditionTry, std::chrono::milliseconds(10000));
}

TEST_F(WaitableLock, WaitUntilADateThatHasPassedTriesOnce) {
    const auto past = services.clock.now() - std::chrono::hours(1);
    EXPECT_TRUE(Waitable::waitCondition(lock, 3, past));
    EXPECT_FALSE(Waitable::waitCondition(lock, 4, past));
    EXPECT_FALSE(Waitable::waitCondition(lock, 4, platform::Clock::WallTime::min()));
    EXPECT_FALSE(Waitable::waitCondition(lock, 4, services.clock.now()));
    EXPECT_TRUE(isFree(lock));
}

TEST_F(WaitableLock, WaitUntilADateEndsWithTheCondition) {
    std::jthread other([this] { Waitable::signalCondition(lock, 5); });
    EXPECT_TRUE(Waitable::waitCondition(lock, 5, platform::Clock::WallTime::max()));
    EXPECT_TRUE(Waitable::isCondition(lock, 5));
}

}  // namespace
}  // namespace quillmore::tests
