#include "Platform/Values/Text.h"

#include <gmock/gmock.h>

namespace quillmore::tests {
namespace {

using testing::ElementsAre;

TEST(Text, EveryOccurrenceIsReplaced) {
    EXPECT_EQ(platform::stringByReplacing("a-b-c-", "-", "+"), "a+b+c+");
    EXPECT_EQ(platform::stringByReplacing("abc", "x", "y"), "abc");
}

TEST(Text, WhatWasPutInIsNotLookedAtAgain) {
    EXPECT_EQ(platform::stringByReplacing("ab", "ab", "abab"), "abab");
    EXPECT_EQ(platform::stringByReplacing("aabb", "ab", ""), "ab");
}

TEST(Text, EmptyTargetOccursNowhere) {
    EXPECT_EQ(platform::stringByReplacing("abc", "", "x"), "abc");
}

TEST(Text, ComponentsAreOneMoreThanSeparators) {
    EXPECT_THAT(platform::componentsSeparatedBy("a.b.c", '.'), ElementsAre("a", "b", "c"));
    EXPECT_THAT(platform::componentsSeparatedBy("..", '.'), ElementsAre("", "", ""));
    EXPECT_THAT(platform::componentsSeparatedBy("", '.'), ElementsAre(""));
}

}  // namespace
}  // namespace quillmore::tests
