#include "Platform/Threads/ConditionLock.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <thread>
#include <vector>

namespace quillmore::platform {
namespace {

constexpr ConditionLock::Deadline kNever = ConditionLock::Deadline::max();

ConditionLock::Deadline past() {
    return std::chrono::steady_clock::now() - std::chrono::seconds(1);
}

TEST(ConditionLock, StartsWithTheGivenCondition) {
    EXPECT_EQ(ConditionLock().condition(), 0);
    EXPECT_EQ(ConditionLock(-3).condition(), -3);
    EXPECT_EQ(ConditionLock(std::numeric_limits<std::int64_t>::max()).condition(),
              std::numeric_limits<std::int64_t>::max());
}

TEST(ConditionLock, UnlockKeepsTheConditionUnlessGivenANewOne) {
    ConditionLock lock(1);
    lock.lock();
    lock.unlock();
    EXPECT_EQ(lock.condition(), 1);
    lock.lock();
    lock.unlockWithCondition(2);
    EXPECT_EQ(lock.condition(), 2);
}

TEST(ConditionLock, IsHadAtOnceWhenTheConditionHolds) {
    ConditionLock lock(4);
    EXPECT_TRUE(lock.lockWhenConditionBefore(4, past()));
    lock.unlock();
}

TEST(ConditionLock, DeadlineEndsTheWaitWithoutTheLock) {
    ConditionLock lock(1);
    EXPECT_FALSE(lock.lockWhenConditionBefore(2, past()));
    EXPECT_FALSE(lock.lockWhenConditionBefore(
        2, std::chrono::steady_clock::now() + std::chrono::milliseconds(2)));
    EXPECT_TRUE(lock.lockWhenConditionBefore(1, past()));  // nobody holds it
    lock.unlock();
}

TEST(ConditionLock, HolderKeepsOthersOutThoughTheConditionHolds) {
    ConditionLock lock(1);
    lock.lock();
    EXPECT_FALSE(lock.lockWhenConditionBefore(1, past()));
    lock.unlock();
    EXPECT_TRUE(lock.lockWhenConditionBefore(1, past()));
    lock.unlock();
}

TEST(ConditionLock, WaiterGetsItWhenTheConditionComes) {
    ConditionLock lock(0);
    std::jthread other([&] {
        lock.lock();
        lock.unlockWithCondition(1);
        lock.lock();
        lock.unlockWithCondition(2);
    });
    EXPECT_TRUE(lock.lockWhenConditionBefore(2, kNever));
    EXPECT_EQ(lock.condition(), 2);
    lock.unlock();
}

TEST(ConditionLock, FarDeadlineWaitsForTheCondition) {
    ConditionLock lock(0);
    std::jthread other([&] {
        lock.lock();
        lock.unlockWithCondition(7);
    });
    EXPECT_TRUE(lock.lockWhenConditionBefore(7, kNever));
    lock.unlock();
}

TEST(ConditionLock, StateIsHandedRoundTheThreadsInTurn) {
    ConditionLock lock(0);
    std::vector<std::int64_t> turns;
    {
        std::vector<std::jthread> threads;
        for (std::int64_t mine = 0; mine < 3; ++mine)
            threads.emplace_back([&, mine] {
                for (int round = 0; round < 100; ++round) {
                    EXPECT_TRUE(lock.lockWhenConditionBefore(mine, kNever));
                    turns.push_back(mine);
                    lock.unlockWithCondition((mine + 1) % 3);
                }
            });
    }
    ASSERT_EQ(turns.size(), 300u);
    for (std::size_t turn = 0; turn < turns.size(); ++turn)
        ASSERT_EQ(turns[turn], static_cast<std::int64_t>(turn % 3));
}

/// Four threads count together; a count is lost when two are inside at once.
template <class Take>
int countTogether(ConditionLock& lock, Take take) {
    int counter = 0;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int count = 0; count < 200; ++count) {
                take();
                const int before = counter;
                std::this_thread::yield();
                counter = before + 1;
                lock.unlock();
            }
        });
    }
    threads.clear();  // joins them
    return counter;
}

TEST(ConditionLock, ExcludesLikeAMutex) {
    ConditionLock lock(3);
    EXPECT_EQ(countTogether(lock, [&] { lock.lock(); }), 800);
    EXPECT_EQ(countTogether(lock, [&] { lock.lockWhenConditionBefore(3, kNever); }), 800);
}

TEST(ConditionLock, NameIsAbsentUntilSet) {
    ConditionLock lock;
    EXPECT_EQ(lock.name(), std::nullopt);
    lock.setName("Repair");
    EXPECT_EQ(lock.name(), "Repair");
    lock.setName(std::nullopt);
    EXPECT_EQ(lock.name(), std::nullopt);
}

TEST(ConditionLock, DescriptionIsClassAndAddress) {
    const ConditionLock lock;
    char expected[64];
    std::snprintf(expected, sizeof expected, "<NSConditionLock: 0x%zx>",
                  reinterpret_cast<std::size_t>(&lock));
    EXPECT_EQ(lock.description(), expected);
}

}  // namespace
}  // namespace quillmore::platform
