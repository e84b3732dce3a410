#include "Platform/Threads/NotificationCenter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "Platform/Values/Exception.h"

namespace quillmore::platform {
namespace {

class NotificationCenterTest : public testing::Test {
protected:
    /// A handler that writes a letter.
    auto writes(const char* letter) {
        return [this, letter](const Notification&) { heard_ += letter; };
    }
    NotificationCenter center_;
    std::string heard_;
    int sender_ = 0;
    int otherSender_ = 0;
};

TEST_F(NotificationCenterTest, ObserversOfTheNameHearItInOrderOfRegistration) {
    center_.addObserver("Done", nullptr, writes("a"));
    center_.addObserver("Other", nullptr, writes("x"));
    center_.addObserver("Done", nullptr, writes("b"));
    center_.post({"Done", &sender_, {}});
    EXPECT_EQ(heard_, "ab");
}

TEST_F(NotificationCenterTest, ObserverOfASenderHearsOnlyThatOne) {
    center_.addObserver("Done", &sender_, writes("a"));
    center_.post({"Done", &otherSender_, {}});
    center_.post({"Done", nullptr, {}});
    EXPECT_EQ(heard_, "");
    center_.post({"Done", &sender_, {}});
    EXPECT_EQ(heard_, "a");
}

TEST_F(NotificationCenterTest, NotificationArrivesWithSenderAndInformation) {
    center_.addObserver("Done", nullptr, [&](const Notification& notification) {
        EXPECT_EQ(notification.name, "Done");
        EXPECT_EQ(notification.object, &sender_);
        heard_ = stringForKey(notification.userInfo, "key").value_or("");
    });
    center_.post({"Done", &sender_, {{"key", Value("value")}}});
    EXPECT_EQ(heard_, "value");
}

TEST_F(NotificationCenterTest, RemovedObserverHearsNothing) {
    const auto token = center_.addObserver("Done", nullptr, writes("a"));
    EXPECT_EQ(center_.observerCount(), 1u);
    center_.removeObserver(token);
    center_.removeObserver(token);
    center_.removeObserver(0);
    EXPECT_EQ(center_.observerCount(), 0u);
    center_.post({"Done", nullptr, {}});
    EXPECT_EQ(heard_, "");
}

TEST_F(NotificationCenterTest, ObserverRemovedDuringThePostIsNotCalledAfterwards) {
    NotificationCenter::Token second = 0;
    center_.addObserver("Done", nullptr, [&](const Notification&) {
        heard_ += "a";
        center_.removeObserver(second);
    });
    second = center_.addObserver("Done", nullptr, writes("b"));
    center_.addObserver("Done", nullptr, writes("c"));
    center_.post({"Done", nullptr, {}});
    EXPECT_EQ(heard_, "ac");
}

TEST_F(NotificationCenterTest, ObserverMayRemoveItselfAndGoOn) {
    NotificationCenter::Token token = 0;
    const auto held = std::make_shared<std::string>("still here");
    token = center_.addObserver("Done", nullptr, [&, held](const Notification&) {
        center_.removeObserver(token);
        heard_ += *held;
    });
    center_.addObserver("Done", nullptr, writes("!"));
    center_.post({"Done", nullptr, {}});
    center_.post({"Done", nullptr, {}});
    EXPECT_EQ(heard_, "still here!!");
}

TEST_F(NotificationCenterTest, ObserverAddedDuringThePostHearsTheNext) {
    center_.addObserver("Done", nullptr, [&](const Notification&) {
        heard_ += "a";
        center_.addObserver("Done", nullptr, writes("b"));
    });
    center_.post({"Done", nullptr, {}});
    EXPECT_EQ(heard_, "a");
    center_.post({"Done", nullptr, {}});
    EXPECT_EQ(heard_, "aab");
}

TEST_F(NotificationCenterTest, HandlerMayPost) {
    center_.addObserver("Outer", nullptr, [&](const Notification&) {
        heard_ += "(";
        center_.post({"Inner", nullptr, {}});
        heard_ += ")";
    });
    center_.addObserver("Inner", nullptr, writes("i"));
    center_.post({"Outer", nullptr, {}});
    EXPECT_EQ(heard_, "(i)");
}

TEST_F(NotificationCenterTest, EmptyHandlerIsPassedOver) {
    center_.addObserver("Done", nullptr, nullptr);
    center_.addObserver("Done", nullptr, writes("a"));
    center_.post({"Done", nullptr, {}});
    EXPECT_EQ(heard_, "a");
}

TEST_F(NotificationCenterTest, RaisedExceptionReachesThePoster) {
    center_.addObserver("Done", nullptr,
                        [](const Notification&) { throw Exception("Name", "reason"); });
    EXPECT_THROW(center_.post({"Done", nullptr, {}}), Exception);
    EXPECT_EQ(center_.observerCount(), 1u);
}

TEST_F(NotificationCenterTest, ThreadsMayRegisterWhileOthersPost) {
    std::atomic<int> heard = 0;
    {
        std::jthread registering([&] {
            for (int count = 0; count < 500; ++count)
                center_.removeObserver(
                    center_.addObserver("Done", nullptr, [&](const Notification&) { ++heard; }));
        });
        for (int count = 0; count < 500; ++count) center_.post({"Done", nullptr, {}});
    }
    EXPECT_EQ(center_.observerCount(), 0u);
    const int before = heard;
    center_.post({"Done", nullptr, {}});
    EXPECT_EQ(heard, before);
}

TEST_F(NotificationCenterTest, DefaultCenterIsOne) {
    EXPECT_EQ(&NotificationCenter::defaultCenter(), &NotificationCenter::defaultCenter());
}

}  // namespace
}  // namespace quillmore::platform
