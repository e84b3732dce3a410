#include "Platform/Mac/MacScriptRunner.h"

#include "tests/Platform/Mac/AppleTest.h"

namespace quillmore::tests {
namespace {

using apple::ScriptValue;
using apple::unicodeText;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSource = "return 1";

class MacScriptRunner : public AppleTest {
protected:
    /// What a script that gives this value answers.
    std::optional<platform::ScriptDescriptor> run(const ScriptValue& value) {
        apple::eventsDouble().values[kSource] = value;
        const auto script = runner.createScript(kSource);
        EXPECT_EQ(runner.execute(*script, result), 0);
        return result;
    }

    platform::MacScriptRunner runner;
    std::optional<platform::ScriptDescriptor> result;
};

TEST_F(MacScriptRunner, CreatingAScriptConnectsToNothing) {
    EXPECT_NE(runner.createScript(kSource), nullptr);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MacScriptRunner, SourceIsCompiledAsUnicodeText) {
    const auto script = runner.createScript(
        "return \"Gr\xC3\xB6\xC3\x9F"
        "e\"\n");
    EXPECT_EQ(runner.compile(*script), 0);
    EXPECT_THAT(calls(), ElementsAre("OpenDefaultComponent osa  ascr", "AECoercePtr",
                                     "OSACompile return \"Gr\xC3\xB6\xC3\x9F"
                                     "e\"\n 0",
                                     "AEDisposeDesc utxt"));
}

TEST_F(MacScriptRunner, ScriptIsCompiledOnce) {
    const auto script = runner.createScript(kSource);
    runner.compile(*script);
    calls().clear();
    EXPECT_EQ(runner.compile(*script), 0);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MacScriptRunner, SourceThatDoesNotCompileGivesItsStatus) {
    const auto script = runner.createScript("tell tell");
    fail("OSACompile", -1753);
    EXPECT_EQ(runner.compile(*script), -1753);
    EXPECT_EQ(runner.execute(*script, result), -1753);
    EXPECT_FALSE(result);
}

TEST_F(MacScriptRunner, SourceThatIsNoTextGivesItsStatus) {
    const auto script = runner.createScript(kSource);
    fail("AECoercePtr", -1700);
    EXPECT_EQ(runner.compile(*script), -1700);
}

TEST_F(MacScriptRunner, ScriptThatWasNotCompiledCompilesItself) {
    const auto script = runner.createScript(kSource);
    EXPECT_EQ(runner.execute(*script, result), 0);
    EXPECT_THAT(calls(),
                testing::IsSupersetOf({"OSACompile return 1 0", "OSAExecute return 1 0 0"}));
}

TEST_F(MacScriptRunner, OneConnectionServesEveryScript) {
    const auto first = runner.createScript(kSource);
    const auto second = runner.createScript("return 2");
    runner.compile(*first);
    runner.compile(*second);
    EXPECT_EQ(apple::ledger().countOf("script"), 2);
    EXPECT_EQ(std::count(calls().begin(), calls().end(), "OpenDefaultComponent osa  ascr"), 1);
}

TEST_F(MacScriptRunner, WithoutAppleScriptEveryAttemptSaysSo) {
    apple::eventsDouble().hasAppleScript = false;
    const auto script = runner.createScript(kSource);
    EXPECT_EQ(runner.compile(*script), -1762);
    EXPECT_EQ(runner.execute(*script, result), -1762);
    EXPECT_FALSE(result);
}

TEST_F(MacScriptRunner, ScriptThatStoppedWithAnErrorHasNoResult) {
    result.emplace();
    fail("OSAExecute", -1753);
    const auto script = runner.createScript(kSource);
    EXPECT_EQ(runner.execute(*script, result), -1753);
    EXPECT_FALSE(result);
}

TEST_F(MacScriptRunner, ScriptThatGivesNothingHasANullResult) {
    const auto script = runner.createScript(kSource);
    EXPECT_EQ(runner.execute(*script, result), 0);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->type, platform::kScriptTypeNull);
    EXPECT_FALSE(result->booleanValue);
}

TEST_F(MacScriptRunner, ValueThatCannotBeReadGivesItsStatusAndIsDisposedOf) {
    apple::eventsDouble().values[kSource] = unicodeText("text");
    fail("OSACoerceToDesc", -1700);
    const auto script = runner.createScript(kSource);
    EXPECT_EQ(runner.execute(*script, result), -1700);
    EXPECT_FALSE(result);
    EXPECT_EQ(apple::ledger().countOf("script"), 1);
}

TEST_F(MacScriptRunner, ValueIsAskedForInItsOwnType) {
    run(unicodeText("text"));
    EXPECT_THAT(calls(), testing::Contains("OSACoerceToDesc **** 0"));
}

TEST_F(MacScriptRunner, ItemsOfAListComeInOrder) {
    const auto answer = run(apple::listOf({unicodeText("/a"), unicodeText("/b \xF0\x9F\x8E\x88")}));
    EXPECT_EQ(answer->type, platform::kScriptTypeList);
    EXPECT_THAT(answer->items, ElementsAre("/a", "/b \xF0\x9F\x8E\x88"));
}

TEST_F(MacScriptRunner, ItemsWithoutAStringValueAreLeftOut) {
    const auto answer = run(apple::listOf({{'obj ', "x", {}}, unicodeText("/b")}));
    EXPECT_THAT(answer->items, ElementsAre("/b"));
}

TEST_F(MacScriptRunner, ByteOrderMarkIsNoPartOfAText) {
    const auto answer = run(apple::listOf({unicodeText("\xEF\xBB\xBF/a")}));
    EXPECT_THAT(answer->items, ElementsAre("/a"));
}

TEST_F(MacScriptRunner, EmptyListAndUncountableListHaveNoItems) {
    EXPECT_THAT(run(apple::listOf({}))->items, IsEmpty());
    fail("AECountItems", -1704);
    EXPECT_THAT(run(apple::listOf({unicodeText("/a")}))->items, IsEmpty());
}

TEST_F(MacScriptRunner, BooleansComeInEveryForm) {
    EXPECT_TRUE(run({typeTrue, "", {}})->booleanValue);
    EXPECT_FALSE(run({typeFalse, "", {}})->booleanValue);
    EXPECT_TRUE(run({typeBoolean, "\1", {}})->booleanValue);
    EXPECT_FALSE(run({typeBoolean, std::string(1, '\0'), {}})->booleanValue);
    EXPECT_TRUE(run({'long', std::string("\1\0\0\0", 4), {}})->booleanValue);
    EXPECT_FALSE(run({'long', std::string(4, '\0'), {}})->booleanValue);
    EXPECT_FALSE(run(unicodeText("text"))->booleanValue);
}

TEST_F(MacScriptRunner, ScriptMayBringItsThreadBackForAnother) {
    int depth = 0;
    apple::eventsDouble().onExecute = [&] {
        if (++depth > 1) return;
        const auto inner = runner.createScript("return 2");
        std::optional<platform::ScriptDescriptor> innerResult;
        EXPECT_EQ(runner.execute(*inner, innerResult), 0);
    };
    const auto script = runner.createScript(kSource);
    EXPECT_EQ(runner.execute(*script, result), 0);
    EXPECT_EQ(depth, 2);
}

TEST_F(MacScriptRunner, ScriptsMayOutliveTheirRunner) {
    auto shortLived = std::make_unique<platform::MacScriptRunner>();
    auto script = shortLived->createScript(kSource);
    shortLived->compile(*script);
    shortLived.reset();
    EXPECT_EQ(apple::ledger().countOf("component"), 1);
    script.reset();
    EXPECT_EQ(apple::ledger().countOf("component"), 0);
}

TEST_F(MacScriptRunner, ScriptOfAnotherMakeIsAParameterError) {
    platform::Script other;
    EXPECT_EQ(runner.compile(other), -50);
    EXPECT_EQ(runner.execute(other, result), -50);
}

}  // namespace
}  // namespace quillmore::tests
