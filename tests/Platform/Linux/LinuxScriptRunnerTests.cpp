#include "Platform/Linux/LinuxScriptRunner.h"

#include <gtest/gtest.h>

namespace quillmore::tests {
namespace {

TEST(LinuxScriptRunner, NothingCompiles) {
    platform::LinuxScriptRunner runner;
    const auto script = runner.createScript("return 1");
    ASSERT_NE(script, nullptr);
    EXPECT_EQ(runner.compile(*script), -1750);
}

TEST(LinuxScriptRunner, NothingRunsAndThereIsNoResult) {
    platform::LinuxScriptRunner runner;
    const auto script = runner.createScript("return 1");
    std::optional<platform::ScriptDescriptor> result = platform::ScriptDescriptor();
    EXPECT_EQ(runner.execute(*script, result), -1750);
    EXPECT_FALSE(result);
}

}  // namespace
}  // namespace quillmore::tests
