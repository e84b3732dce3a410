#include "Platform/Interface/Application.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "Platform/Processes/Task.h"
#include "tests/Platform/Processes/ForkedProcess.h"

namespace quillmore::tests {
namespace {

using platform::MainApplication;
using platform::Pipe;

struct SaysWhenDestroyed {
    int descriptor = -1;
    ~SaysWhenDestroyed() {
        if (descriptor >= 0) [[maybe_unused]]
            const auto count = ::write(descriptor, "destroyed", 9);
    }
};

TEST(MainApplication, WorkForTheMainThreadIsQueued) {
    MainApplication application;
    bool ran = false;
    application.performOnMainThread([&] { ran = true; });
    EXPECT_FALSE(ran);
    application.mainQueue().drain();
    EXPECT_TRUE(ran);
}

TEST(MainApplication, HasNoDelegateUntilOneIsSet) {
    struct Delegate final : platform::ApplicationDelegate {
        void applicationDidFinishLaunching() override {}
    } delegate;
    MainApplication application;
    EXPECT_EQ(application.delegate(), nullptr);
    application.setDelegate(&delegate);
    EXPECT_EQ(application.delegate(), &delegate);
}

TEST(MainApplication, TerminatesWithStatusZero) {
    ForkedProcess process([] {
        MainApplication().terminate();
        return 1;
    });
    EXPECT_EQ(process.exitStatus(), 0);
}

TEST(MainApplication, ExitsWithTheGivenStatus) {
    ForkedProcess process([] {
        MainApplication().exitProcess(43);
        return 1;
    });
    EXPECT_EQ(process.exitStatus(), 43);
}

TEST(MainApplication, WhatWasPrintedIsWrittenAtTheEnd) {
    Pipe pipe;
    ForkedProcess process([&] {
        std::FILE* const log = ::fdopen(pipe.writeEnd().get(), "w");
        std::fputs("last line\n", log);
        MainApplication().terminate();
        return 1;
    });
    pipe.writeEnd().reset();
    EXPECT_EQ(pipe.readToEnd(), "last line\n");
    EXPECT_EQ(process.exitStatus(), 0);
}

TEST(MainApplication, StaticObjectsAreNotDestroyedAtTheEnd) {
    Pipe pipe;
    ForkedProcess process([&] {
        static SaysWhenDestroyed object;
        object.descriptor = pipe.writeEnd().get();
        MainApplication().terminate();
        return 1;
    });
    pipe.writeEnd().reset();
    EXPECT_EQ(pipe.readToEnd(), "");
    EXPECT_EQ(process.exitStatus(), 0);
}

TEST(MainApplication, EndsThoughAnotherThreadHoldsAStream) {
    ForkedProcess process([] {
        std::promise<void> locked;
        std::thread([&] {
            ::flockfile(stdin);  // as a thread does that waits for a line
            locked.set_value();
            ::pause();
        }).detach();
        locked.get_future().wait();
        MainApplication().exitProcess(5);
        return 1;
    });
    EXPECT_EQ(process.exitStatus(), 5);
}

}  // namespace
}  // namespace quillmore::tests
