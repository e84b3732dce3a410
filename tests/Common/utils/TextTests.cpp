#include "Common/utils/Text.h"

#include <gmock/gmock.h>

namespace quillmore::tests {
namespace {

using testing::ElementsAre;

TEST(Text, EveryOccurrenceIsReplaced) {
    EXPECT_EQ(stringByReplacing("a-b-c-", "-", "+"), "a+b+c+");
    EXPECT_EQ(stringByReplacing("abc", "x", "y"), "abc");
}

TEST(Text, WhatWasPutInIsNotLookedAtAgain) {
    EXPECT_EQ(stringByReplacing("ab", "ab", "abab"), "abab");
    EXPECT_EQ(stringByReplacing("aabb", "ab", ""), "ab");
}

TEST(Text, EmptyTargetOccursNowhere) {
    EXPECT_EQ(stringByReplacing("abc", "", "x"), "abc");
}

TEST(Text, ComponentsAreOneMoreThanSeparators) {
    EXPECT_THAT(componentsSeparatedBy("a.b.c", '.'), ElementsAre("a", "b", "c"));
    EXPECT_THAT(componentsSeparatedBy("..", '.'), ElementsAre("", "", ""));
    EXPECT_THAT(componentsSeparatedBy("", '.'), ElementsAre(""));
}

}  // namespace
}  // namespace quillmore::tests
