#include "Platform/Interface/DeferredUserInterface.h"

#include <gtest/gtest.h>

#include "tests/fakes/FakeUserInterface.h"

namespace quillmore::platform {
namespace {

using tests::FakeUserInterface;

bool asks(const std::map<std::string, const char*>& environment,
          Displays displays = Displays::named) {
    const auto variable = [&](const char* name) -> const char* {
        const auto found = environment.find(name);
        return found == environment.end() ? nullptr : found->second;
    };
    return environmentAsksForWindows(variable, displays);
}

TEST(ChoiceOfUserInterface, ADisplayAsksForWindows) {
    EXPECT_TRUE(asks({{"DISPLAY", ":0"}}));
    EXPECT_TRUE(asks({{"WAYLAND_DISPLAY", "wayland-0"}}));
}

TEST(ChoiceOfUserInterface, NoDisplayAsksForTheTerminal) {
    EXPECT_FALSE(asks({}));
    EXPECT_FALSE(asks({{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}}));
}

TEST(ChoiceOfUserInterface, ASystemThatAlwaysHasADisplayNeedsNoNameOfOne) {
    EXPECT_TRUE(asks({}, Displays::always));
    EXPECT_FALSE(asks({{"QUILLMORE_UI", "console"}}, Displays::always));
}

TEST(ChoiceOfUserInterface, TheUserCanAskForOne) {
    EXPECT_FALSE(asks({{"DISPLAY", ":0"}, {"QUILLMORE_UI", "console"}}));
    EXPECT_TRUE(asks({{"QUILLMORE_UI", "qt"}}));
}

TEST(ChoiceOfUserInterface, AnotherWordAsksForNothing) {
    EXPECT_TRUE(asks({{"DISPLAY", ":0"}, {"QUILLMORE_UI", "gtk"}}));
    EXPECT_FALSE(asks({{"QUILLMORE_UI", "gtk"}}));
    EXPECT_FALSE(asks({{"QUILLMORE_UI", ""}}));
}

class Deferred : public testing::Test {
protected:
    FakeUserInterface fallback;
    FakeUserInterface* made = nullptr;
    int makes = 0;
    bool works = true;
    DeferredUserInterface deferred{fallback, [this]() -> std::unique_ptr<UserInterface> {
                                       ++makes;
                                       if (!works) return nullptr;
                                       auto fresh = std::make_unique<FakeUserInterface>();
                                       made = fresh.get();
                                       return fresh;
                                   }};
    Window window{"InstallCheck", "checkWindow"};
    Window sheet{"InstallCheck", "repairProgressWindow"};
    const Alert alert{"Message", "More", {{"OK", ""}}, false};
};

TEST_F(Deferred, NothingIsMadeBeforeFirstUse) {
    deferred.run();
    deferred.endSheet(sheet);
    EXPECT_EQ(makes, 0);
    EXPECT_EQ(fallback.runs, 0);
}

TEST_F(Deferred, TheOneThatWasMadeGetsEverything) {
    int ends = 0;
    deferred.runModal(alert);
    deferred.present(window);
    deferred.beginSheet(sheet, window, [&] { ++ends; });
    deferred.endSheet(sheet);
    deferred.beginAlertSheet(alert, window);
    deferred.run();
    EXPECT_EQ(makes, 1);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->alerts.size(), 1U);
    EXPECT_EQ(made->presented, std::vector<Window*>{&window});
    EXPECT_EQ(made->alertSheets.size(), 1U);
    EXPECT_EQ(made->runs, 1);
    EXPECT_EQ(ends, 1);
    EXPECT_TRUE(fallback.alerts.empty());
}

TEST_F(Deferred, TheFallbackGetsEverythingWhenNoneCanBeMade) {
    works = false;
    deferred.present(window);
    deferred.runModal(alert);
    deferred.run();
    EXPECT_EQ(makes, 1);  // not tried again
    EXPECT_EQ(fallback.presented, std::vector<Window*>{&window});
    EXPECT_EQ(fallback.alerts.size(), 1U);
    EXPECT_EQ(fallback.runs, 1);
}

}  // namespace
}  // namespace quillmore::platform
