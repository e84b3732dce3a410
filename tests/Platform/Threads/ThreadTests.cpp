#include "Platform/Threads/Thread.h"

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <thread>

namespace quillmore::platform {
namespace {

/// What `body` returns on a thread of its own.
template <class Body>
auto onNewThread(Body body) {
    std::promise<decltype(body())> result;
    detachNewThread([&] { result.set_value(body()); });
    return result.get_future().get();
}

#ifdef __linux__
std::string kernelName() {
    std::ifstream file("/proc/thread-self/comm");
    std::string name;
    std::getline(file, name);
    return name;
}
#endif

TEST(Thread, NewThreadHasNoName) {
    EXPECT_EQ(onNewThread([] { return currentThreadName(); }), std::nullopt);
}

TEST(Thread, EmptyNameIsNotAnAbsentOne) {
    const auto name = onNewThread([] {
        setCurrentThreadName("");
        return currentThreadName();
    });
    EXPECT_EQ(name, "");
}

TEST(Thread, NameCanBeTakenAway) {
    const auto name = onNewThread([] {
        setCurrentThreadName("Repair");
        setCurrentThreadName(std::nullopt);
        return currentThreadName();
    });
    EXPECT_EQ(name, std::nullopt);
}

TEST(Thread, NameBelongsToOneThread) {
    setCurrentThreadName("Main");
    onNewThread([] {
        setCurrentThreadName("Other");
        return 0;
    });
    EXPECT_EQ(currentThreadName(), "Main");
    setCurrentThreadName(std::nullopt);
}

TEST(Thread, LongNameIsKeptWhole) {
    const std::string longName(200, 'x');
    const auto name = onNewThread([&] {
        setCurrentThreadName(longName);
        return currentThreadName();
    });
    EXPECT_EQ(name, longName);
}

TEST(Thread, DetachedThreadIsAnotherThread) {
    EXPECT_NE(onNewThread([] { return std::this_thread::get_id(); }), std::this_thread::get_id());
}

#ifdef __linux__
TEST(Thread, KernelShowsTheBeginningOfTheName) {
    const auto name = onNewThread([] {
        setCurrentThreadName("InstallCheckManager repair");
        return kernelName();
    });
    EXPECT_EQ(name, "InstallCheckMan");
}

TEST(Thread, KernelsNameIsNotCutInsideACharacter) {
    const auto name = onNewThread([] {
        setCurrentThreadName("12345678901234\xC3\xA9");
        return kernelName();
    });
    EXPECT_EQ(name, "12345678901234");
}

TEST(Thread, NamingTheMainThreadDoesNotRenameTheProcess) {
    const std::string before = kernelName();
    setCurrentThreadName("QuillmoreCore");
    EXPECT_EQ(kernelName(), before);
    setCurrentThreadName(std::nullopt);
}
#endif

}  // namespace
}  // namespace quillmore::platform
