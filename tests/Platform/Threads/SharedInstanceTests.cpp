#include "Platform/Threads/SharedInstance.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <set>
#include <thread>

namespace quillmore::tests {
namespace {

constexpr int kThreads = 8;
std::atomic<int> asking = 0;
std::atomic<int> made = 0;

/// Takes so long to make that every thread has asked for it meanwhile.
class Wanted {
public:
    Wanted() {
        ++made;
        while (asking < kThreads) std::this_thread::yield();
    }
};

platform::SharedInstance<Wanted> shared;

TEST(SharedInstance, IsMadeOnceThoughManyThreadsAskForItFirst) {
    std::array<Wanted*, kThreads> got{};
    std::array<std::thread, kThreads> threads;
    for (int at = 0; at < kThreads; ++at)
        threads[at] = std::thread([&got, at] {
            ++asking;
            got[at] = &shared.get();
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(made, 1);
    EXPECT_EQ(std::set<Wanted*>(got.begin(), got.end()).size(), 1U);
}

}  // namespace
}  // namespace quillmore::tests
