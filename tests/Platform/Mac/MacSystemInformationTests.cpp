#include "Platform/Mac/MacSystemInformation.h"

#include <unistd.h>

#include "tests/Platform/Mac/AppleTest.h"

namespace quillmore::tests {
namespace {

using platform::fourCharCode;
using testing::ElementsAre;

class MacSystemInformation : public AppleTest {
protected:
    const platform::MacSystemInformation information;
};

TEST_F(MacSystemInformation, SelectorsAreThoseOfGestalt) {
    apple::kernelDouble().selectors = {{'sys1', 10}, {'sys2', 6}, {'sys3', 8}, {'sysa', 10}};
    EXPECT_EQ(information.gestalt(fourCharCode("sys1")), 10);
    EXPECT_EQ(information.gestalt(fourCharCode("sys2")), 6);
    EXPECT_EQ(information.gestalt(fourCharCode("sys3")), 8);
    EXPECT_EQ(information.gestalt(fourCharCode("sysa")), 10);
    EXPECT_THAT(calls(),
                ElementsAre("Gestalt sys1", "Gestalt sys2", "Gestalt sys3", "Gestalt sysa"));
}

TEST_F(MacSystemInformation, FailedSelectorGivesNothing) {
    EXPECT_EQ(information.gestalt(fourCharCode("sys1")), std::nullopt);
}

TEST_F(MacSystemInformation, FlagsAreThoseOfThisProcess) {
    apple::kernelDouble().processes = {
        {.process = 1, .flags = 0xFFFF},
        {.process = ::getpid(), .flags = 0x4000 | platform::kProcessFlagTraced}};
    EXPECT_EQ(information.processFlags(), 0x4800U);
}

TEST_F(MacSystemInformation, FlagsOfAFailedQueryAreNothing) {
    fail("sysctl", EPERM);
    EXPECT_EQ(information.processFlags(), std::nullopt);
}

TEST_F(MacSystemInformation, QueryThatFindsNoProcessGivesNothing) {
    EXPECT_EQ(information.processFlags(), std::nullopt);
}

TEST_F(MacSystemInformation, ThreadIsNumberedByItsMachPort) {
    apple::kernelDouble().threadPort = 0x2b07;
    EXPECT_EQ(information.currentThreadPort(), 0x2b07U);
}

TEST_F(MacSystemInformation, FrameworkVersionKeepsItsFraction) {
    EXPECT_DOUBLE_EQ(information.applicationFrameworkVersion(), 1038.36);
}

}  // namespace
}  // namespace quillmore::tests
