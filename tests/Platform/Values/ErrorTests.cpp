#include "Platform/Values/Error.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "Platform/Values/Exception.h"

namespace quillmore::tests {
namespace {

using platform::Error;
using platform::Exception;

TEST(Errors, PosixErrorsCarryTheMessageOfTheCLibrary) {
    const Error error = Error::posix(ENOENT);
    EXPECT_EQ(error.domain(), platform::kPosixErrorDomain);
    EXPECT_EQ(error.code(), ENOENT);
    EXPECT_EQ(error.localizedDescription(), "No such file or directory");
}

TEST(Errors, FileErrorsCarryTheGivenDescription) {
    const Error error = Error::file("too large");
    EXPECT_EQ(error.domain(), platform::kFileErrorDomain);
    EXPECT_EQ(error.code(), 0);
    EXPECT_EQ(error.localizedDescription(), "too large");
}

TEST(Errors, WithoutADescriptionDomainAndCodeAreNamed) {
    EXPECT_EQ(Error("Some", -3).localizedDescription(),
              "The operation couldn't be completed. (Some error -3.)");
}

TEST(Errors, ADescriptionThatIsNoTextCountsAsNone) {
    const Error error("Some", 1, {{platform::kLocalizedDescriptionKey, 5}});
    EXPECT_EQ(error.localizedDescription(), "The operation couldn't be completed. (Some error 1.)");
}

TEST(Errors, TheFailureReasonMayBeAbsent) {
    EXPECT_EQ(Error("Some", 1).localizedFailureReason(), std::nullopt);
    const Error error("Some", 1, {{platform::kLocalizedFailureReasonKey, "why"}});
    EXPECT_EQ(error.localizedFailureReason(), "why");
}

TEST(Errors, DescriptionNamesDomainCodeAndText) {
    EXPECT_EQ(Error("Some", -1, {{platform::kLocalizedDescriptionKey, "text"}}).description(),
              "Error Domain=Some Code=-1 \"text\"");
}

TEST(Exceptions, DescriptionIsTheReasonElseTheName) {
    EXPECT_EQ(Exception("Name", "reason").description(), "reason");
    EXPECT_EQ(Exception("Name", std::nullopt).description(), "Name");
    EXPECT_EQ(Exception("Name", "").description(), "");
}

TEST(Exceptions, WhatNamesBoth) {
    EXPECT_STREQ(Exception("Name", "reason").what(), "Name: reason");
    EXPECT_STREQ(Exception("Name", std::nullopt).what(), "Name");
}

TEST(Exceptions, CopiesShareTheArraysOfTheUserInformation) {
    const auto stack = std::make_shared<std::vector<std::string>>();
    const Exception original("Name", "reason", {{"stack", stack}});
    const Exception copy = original;
    stack->push_back("entry");
    EXPECT_EQ(copy.userInfo().at("stack")->size(), 1U);
}

}  // namespace
}  // namespace quillmore::tests
