#include "Platform/Threads/MainQueue.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <memory>
#include <thread>
#include <vector>

#include "Platform/Values/Exception.h"

namespace quillmore::platform {
namespace {

bool isReadable(const MainQueue& queue) {
    pollfd waited{queue.descriptor(), POLLIN, 0};
    return ::poll(&waited, 1, 0) == 1;
}

TEST(MainQueue, RunsWorkInTheOrderItWasPosted) {
    MainQueue queue;
    std::string order;
    for (const char letter : {'a', 'b', 'c'}) queue.post([&order, letter] { order += letter; });
    EXPECT_EQ(order, "");
    queue.drain();
    EXPECT_EQ(order, "abc");
    queue.drain();
    EXPECT_EQ(order, "abc");
}

TEST(MainQueue, DescriptorIsReadableExactlyWhileThereIsWork) {
    MainQueue queue;
    EXPECT_FALSE(isReadable(queue));
    queue.post([] {});
    queue.post([] {});
    EXPECT_TRUE(isReadable(queue));
    queue.drain();
    EXPECT_FALSE(isReadable(queue));
    queue.post([] {});
    EXPECT_TRUE(isReadable(queue));
}

TEST(MainQueue, WorkPostedMeanwhileRunsNextTime) {
    MainQueue queue;
    int rounds = 0;
    std::function<void()> again = [&] {
        ++rounds;
        queue.post(again);
    };
    queue.post(again);
    queue.drain();
    EXPECT_EQ(rounds, 1);
    EXPECT_TRUE(isReadable(queue));
    queue.drain();
    EXPECT_EQ(rounds, 2);
}

TEST(MainQueue, WorkThatDrainsTakesOverTheRest) {
    MainQueue queue;
    std::string order;
    queue.post([&] {
        order += "sheet(";
        queue.post([&] { order += "inner "; });
        queue.drain();
        queue.post([&] { order += "later "; });
        order += ")";
    });
    queue.post([&] { order += "second "; });
    queue.drain();
    EXPECT_EQ(order, "sheet(second inner )");
    queue.drain();
    EXPECT_EQ(order, "sheet(second inner )later ");
}

TEST(MainQueue, RestStaysQueuedWhenWorkRaises) {
    MainQueue queue;
    int ran = 0;
    queue.post([] { throw Exception("Name", "reason"); });
    queue.post([&] { ++ran; });
    EXPECT_THROW(queue.drain(), Exception);
    EXPECT_TRUE(isReadable(queue));
    queue.drain();
    EXPECT_EQ(ran, 1);
}

TEST(MainQueue, PostingNeverBlocksHoweverMuchIsQueued) {
    MainQueue queue;
    int ran = 0;
    for (int count = 0; count < 200000; ++count) queue.post([&] { ++ran; });
    queue.drain();
    EXPECT_EQ(ran, 200000);
    EXPECT_FALSE(isReadable(queue));
}

TEST(MainQueue, WorkOfManyThreadsArrivesCompleteAndEachThreadsInOrder) {
    MainQueue queue;
    std::vector<std::vector<int>> seen(4);
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < seen.size(); ++thread) {
        threads.emplace_back([&queue, &list = seen[thread]] {
            for (int number = 0; number < 1000; ++number)
                queue.post([&list, number] { list.push_back(number); });
        });
    }
    while (seen[0].size() + seen[1].size() + seen[2].size() + seen[3].size() < 4000) {
        pollfd waited{queue.descriptor(), POLLIN, 0};
        ::poll(&waited, 1, -1);
        queue.drain();
    }
    for (const auto& list : seen) EXPECT_TRUE(std::ranges::is_sorted(list));
}

TEST(MainQueue, DescriptorIsCloseOnExec) {
    const MainQueue queue;
    EXPECT_EQ(::fcntl(queue.descriptor(), F_GETFD), FD_CLOEXEC);
}

TEST(MainQueue, WorkIsDestroyedOnceItHasRun) {
    MainQueue queue;
    const auto held = std::make_shared<int>(1);
    queue.post([held] {});
    EXPECT_EQ(held.use_count(), 2);
    queue.drain();
    EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace quillmore::platform
