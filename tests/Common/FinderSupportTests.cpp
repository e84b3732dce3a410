#include "Common/FinderSupport.h"

#include <thread>
#include <utility>

#include "Common/FinderScripts.h"
#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using platform::fourCharCode;
using testing::ElementsAre;
using testing::IsEmpty;
using Call = FakeScriptRunner::Call;
using Clock = platform::Clock;
using Paths = std::vector<std::string>;

class Finder : public LogTest {
protected:
    Finder() {
        services.makeResource("en.lproj/Localizable.strings",
                              std::string("\"ProductName\" = \"Acme\";"));
        select(plain, {"/a", "/b c"});
        select(retry, {"/r"});
    }
    void select(const std::string& script, Paths paths) {
        services.scriptRunner.teach(script, {fourCharCode("list"), std::move(paths), false});
    }
    Paths executed() const { return services.scriptRunner.executed(); }
    /// The calls that came after the selection scripts were made.
    std::vector<Call> callsAfterInitialize() const {
        auto calls = services.scriptRunner.calls();
        calls.erase(calls.begin(), calls.begin() + std::min<std::ptrdiff_t>(4, std::ssize(calls)));
        return calls;
    }
    static Paths uncached(bool isRetry) {
        return FinderSupport::createSelectedFinderItemsArrayNoCacheIsRetry(isRetry);
    }

    const std::string plain = selectionScript();
    const std::string retry = retrySelectionScript("Acme");
};

TEST_F(Finder, PlainScriptIsCompiledTwiceAndTheRetryScriptLeftToItself) {
    FinderSupport::initialize();
    EXPECT_THAT(services.scriptRunner.calls(),
                ElementsAre(Call{"create", plain}, Call{"compile", plain}, Call{"create", retry},
                            Call{"compile", plain}));
}

TEST_F(Finder, ScriptsAreMadeOnce) {
    FinderSupport::initialize();
    FinderSupport::initialize();
    FinderSupport::sharedManager();
    uncached(false);
    EXPECT_EQ(services.scriptRunner.alive(), 2);
    EXPECT_EQ(callsAfterInitialize(), (std::vector<Call>{{"execute", plain}}));
}

TEST_F(Finder, ThreadsThatComeTogetherMakeTheScriptsOnce) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([] {
            EXPECT_THAT(uncached(false), ElementsAre("/a", "/b c"));
            FinderSupport::sharedManager();
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(services.scriptRunner.alive(), 2);
    EXPECT_EQ(callsAfterInitialize(), std::vector<Call>(4, {"execute", plain}));
}

TEST_F(Finder, EveryUseOfTheClassMakesTheScriptsFirst) {
    const std::function<void()> uses[] = {
        [] { FinderSupport::sharedManager(); },
        [] { FinderSupport::showConnectedServersOnDesktop(); },
        [] { FinderSupport::setShowConnectedServersOnDesktop(true); },
        [] { FinderSupport::updateFileAtPath("/a"); },
        [] { FinderSupport::quitiTunes(); },
        [] { FinderSupport::sendAppleEventToSystemProcess(0); },
        [] { uncached(true); },
    };
    for (const auto& use : uses) {
        platform::SharedInstanceBase::forgetAll();
        const std::size_t before = services.scriptRunner.calls().size();
        use();
        ASSERT_GT(services.scriptRunner.calls().size(), before);
        EXPECT_EQ(services.scriptRunner.calls().at(before), (Call{"create", plain}));
    }
}

TEST_F(Finder, SelectionIsAppendedInOrder) {
    Paths paths{"/before"};
    FinderSupport::appendSelectedFinderItemsToArray(paths, false);
    EXPECT_THAT(paths, ElementsAre("/before", "/a", "/b c"));
    FinderSupport::appendSelectedFinderItemsToArray(paths, true);
    EXPECT_THAT(paths, ElementsAre("/before", "/a", "/b c", "/r"));
    EXPECT_THAT(executed(), ElementsAre(plain, retry));
}

TEST_F(Finder, NothingSelectedAppendsNothing) {
    select(plain, {});
    Paths paths{"/before"};
    FinderSupport::appendSelectedFinderItemsToArray(paths, false);
    EXPECT_THAT(paths, ElementsAre("/before"));
}

TEST_F(Finder, ResultsOtherThanListsAppendNothing) {
    for (const char* type : {"null", "utxt", "alis", "LIST"}) {
        platform::FourCharCode code = 0;
        for (int index = 0; index < 4; ++index)
            code = (code << 8) | static_cast<unsigned char>(type[index]);
        services.scriptRunner.teach(plain, {code, {"/a"}, true});
        EXPECT_THAT(uncached(false), IsEmpty()) << type;
    }
}

TEST_F(Finder, FailedScriptAppendsNothing) {
    services.scriptRunner.compileStatus = -1750;
    services.scriptRunner.executeStatus = -1750;
    EXPECT_THAT(uncached(false), IsEmpty());
    EXPECT_THAT(uncached(true), IsEmpty());
}

TEST_F(Finder, ErrorsOfCompilingAreIgnored) {
    services.scriptRunner.compileStatus = -1753;
    services.scriptRunner.teach(showConnectedServersScript(), {fourCharCode("bool"), {}, false});
    EXPECT_THAT(uncached(false), ElementsAre("/a", "/b c"));
    EXPECT_THAT(uncached(true), ElementsAre("/r"));
    EXPECT_FALSE(FinderSupport::showConnectedServersOnDesktop());
    FinderSupport::setShowConnectedServersOnDesktop(true);
    FinderSupport::updateFileAtPath("/x");
    EXPECT_THAT(executed(),
                ElementsAre(plain, retry, showConnectedServersScript(),
                            setShowConnectedServersScript(true), updateFileScript("/x")));
}

TEST_F(Finder, UncachedReadsRunTheScriptEveryTime) {
    EXPECT_THAT(uncached(false), ElementsAre("/a", "/b c"));
    EXPECT_THAT(FinderSupport::getSelectedFinderItemsNoCacheIsRetry(false),
                ElementsAre("/a", "/b c"));
    EXPECT_THAT(FinderSupport::getSelectedFinderItemsNoCacheIsRetry(true), ElementsAre("/r"));
    EXPECT_THAT(executed(), ElementsAre(plain, plain, retry));
}

TEST_F(Finder, SharedManagerIsOne) {
    EXPECT_EQ(&FinderSupport::sharedManager(), &FinderSupport::sharedManager());
}

class FinderCache : public Finder {
protected:
    const Paths& items(bool isRetry) { return finder.getSelectedFinderItemsIsRetry(isRetry); }
    void pass(double seconds) { services.clock.advance(Clock::Seconds(seconds)); }

    FinderSupport& finder = FinderSupport::sharedManager();
};

TEST_F(FinderCache, SecondCallWithinTheTimeGivesTheSameArrayWithoutAScript) {
    const Paths& first = items(false);
    EXPECT_THAT(first, ElementsAre("/a", "/b c"));
    select(plain, {"/new"});
    pass(1);
    EXPECT_EQ(&items(false), &first);
    EXPECT_THAT(first, ElementsAre("/a", "/b c"));
    EXPECT_THAT(executed(), ElementsAre(plain));
}

TEST_F(FinderCache, ExactlyTwoAndAHalfSecondsAreNotEnough) {
    items(false);
    pass(2.5);
    items(false);
    EXPECT_EQ(executed().size(), 1U);
}

TEST_F(FinderCache, MoreThanTwoAndAHalfSecondsRefreshTheSameArray) {
    const Paths& first = items(false);
    select(plain, {"/new"});
    pass(2.501);
    EXPECT_EQ(&items(false), &first);
    EXPECT_THAT(first, ElementsAre("/new"));
    EXPECT_EQ(executed().size(), 2U);
}

TEST_F(FinderCache, RetryAlwaysRefreshesAndCountsAsARefresh) {
    items(false);
    EXPECT_THAT(items(true), ElementsAre("/r"));
    EXPECT_THAT(items(true), ElementsAre("/r"));
    EXPECT_THAT(items(false), ElementsAre("/r"));
    EXPECT_THAT(executed(), ElementsAre(plain, retry, retry));
}

TEST_F(FinderCache, WhatARetryReadIsAsOldAsTheRetry) {
    items(false);
    pass(2);
    items(true);
    pass(2);
    EXPECT_THAT(items(false), ElementsAre("/r"));
    pass(0.501);
    EXPECT_THAT(items(false), ElementsAre("/a", "/b c"));
    EXPECT_THAT(executed(), ElementsAre(plain, retry, plain));
}

TEST_F(FinderCache, AgeCountsFromBeforeTheScriptRan) {
    services.scriptRunner.onExecute = [this] { pass(2); };
    items(false);
    pass(0.6);
    items(false);
    EXPECT_EQ(executed().size(), 2U);
}

TEST_F(FinderCache, UnsuccessfulRefreshEmptiesTheArray) {
    items(false);
    services.scriptRunner.executeStatus = -1750;
    pass(3);
    EXPECT_THAT(items(false), IsEmpty());
    pass(1);
    services.scriptRunner.executeStatus = 0;
    EXPECT_THAT(items(false), IsEmpty());
}

TEST_F(FinderCache, ClockNearTheReferenceDateCountsAsFresh) {
    services.clock.turnTo(std::chrono::sys_days(std::chrono::year(2001) / 1 / 1) +
                          std::chrono::milliseconds(2500));
    EXPECT_THAT(items(false), IsEmpty());
    EXPECT_THAT(executed(), IsEmpty());
    pass(0.001);
    EXPECT_THAT(items(false), ElementsAre("/a", "/b c"));
}

TEST_F(FinderCache, ClockThatWasSetBackKeepsTheArray) {
    items(false);
    pass(-3600);
    items(false);
    EXPECT_EQ(executed().size(), 1U);
}

TEST_F(FinderCache, HitsAndUncachedReadsDoNotWaitForARefresh) {
    items(false);
    bool isFirst = true;
    services.scriptRunner.onExecute = [&] {
        if (!std::exchange(isFirst, false)) return;
        std::thread([&] {
            items(false);
            EXPECT_THAT(uncached(false), ElementsAre("/a", "/b c"));
        }).join();
    };
    EXPECT_THAT(items(true), ElementsAre("/r"));
    EXPECT_THAT(executed(), ElementsAre(plain, retry, plain));
}

TEST_F(FinderCache, ManyThreadsMayAskForRefreshes) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([this, number] {
            for (int round = 0; round < 50; ++round) items(number % 2 == 0);
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(items(true), Paths{"/r"});
}

TEST_F(Finder, ConnectedServersAreWhatTheScriptSays) {
    for (const bool shown : {true, false}) {
        services.scriptRunner.teach(showConnectedServersScript(),
                                    {fourCharCode("bool"), {}, shown});
        EXPECT_EQ(FinderSupport::showConnectedServersOnDesktop(), shown);
    }
}

TEST_F(Finder, ConnectedServersCountAsShownWhenTheFinderCannotBeScripted) {
    services.scriptRunner.compileStatus = -1750;
    services.scriptRunner.executeStatus = -1750;
    EXPECT_TRUE(FinderSupport::showConnectedServersOnDesktop());
}

TEST_F(Finder, OneTimeScriptsAreMadeCompiledRunAndReleased) {
    FinderSupport::showConnectedServersOnDesktop();
    FinderSupport::setShowConnectedServersOnDesktop(false);
    FinderSupport::updateFileAtPath("/x");
    std::vector<Call> expected;
    for (const std::string& source : {showConnectedServersScript(),
                                      setShowConnectedServersScript(false), updateFileScript("/x")})
        for (const char* verb : {"create", "compile", "execute"})
            expected.push_back({verb, source});
    EXPECT_EQ(callsAfterInitialize(), expected);
    EXPECT_EQ(services.scriptRunner.alive(), 2);
}

TEST_F(Finder, ServersAreSwitchedByTheWordTrueOrFalse) {
    FinderSupport::setShowConnectedServersOnDesktop(true);
    FinderSupport::setShowConnectedServersOnDesktop(false);
    EXPECT_THAT(executed(), ElementsAre(setShowConnectedServersScript(true),
                                        setShowConnectedServersScript(false)));
}

}  // namespace
}  // namespace quillmore::tests
