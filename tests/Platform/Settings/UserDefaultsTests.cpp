// Domains, their order, and what the getters make of values.
#include "Platform/Settings/UserDefaults.h"

#include <gtest/gtest.h>

#include <thread>

#include "Platform/Formats/PropertyList.h"
#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/fakes/RecordingProblems.h"

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Dictionary;
using platform::UserDefaults;
using platform::Value;
using Texts = std::vector<std::string>;

constexpr const char* kFile = "/Preferences/com.test.plist";
constexpr const char* kGlobalFile = "/Preferences/.GlobalPreferences.plist";

class UserDefaultsTest : public testing::Test {
protected:
    UserDefaults defaultsFor(const Texts& arguments = {}) {
        return UserDefaults(disk.files, "/Preferences", "com.test", arguments, problems);
    }
    void write(const char* file, const Value& value) const {
        disk.makeFile(file, platform::writePropertyList(value));
    }
    std::optional<Value> argument(const Texts& arguments, const char* key) {
        return defaultsFor(arguments).objectForKey(key);
    }
    TemporaryFiles disk;
    RecordingProblems problems;
};

TEST_F(UserDefaultsTest, DomainsAreSearchedFromArgumentsToFactorySettings) {
    write(kFile, Dictionary{{"A", "application"}, {"B", "application"}});
    write(kGlobalFile, Dictionary{{"A", "global"}, {"B", "global"}, {"C", "global"}});
    UserDefaults defaults = defaultsFor({"-A", "argument"});
    defaults.registerDefaults(
        {{"A", "factory"}, {"B", "factory"}, {"C", "factory"}, {"D", "factory"}});
    EXPECT_EQ(defaults.stringForKey("A"), "argument");
    EXPECT_EQ(defaults.stringForKey("B"), "application");
    EXPECT_EQ(defaults.stringForKey("C"), "global");
    EXPECT_EQ(defaults.stringForKey("D"), "factory");
    EXPECT_EQ(defaults.objectForKey("E"), std::nullopt);
}

TEST_F(UserDefaultsTest, FactorySettingsAddUpAndTheLastOneHolds) {
    UserDefaults defaults = defaultsFor();
    defaults.registerDefaults({{"A", 1}, {"B", 1}});
    defaults.registerDefaults({{"B", 2}});
    EXPECT_EQ(defaults.objectForKey("A"), Value(1));
    EXPECT_EQ(defaults.objectForKey("B"), Value(2));
}

TEST_F(UserDefaultsTest, WhatWasSetIsSeenAtOnceAndNotWritten) {
    write(kFile, Dictionary{{"A", "old"}});
    UserDefaults defaults = defaultsFor();
    defaults.setObject("A", "new");
    EXPECT_EQ(defaults.stringForKey("A"), "new");
    EXPECT_EQ(defaultsFor().stringForKey("A"), "old");
}

TEST_F(UserDefaultsTest, ArgumentHidesWhatWasSet) {
    UserDefaults defaults = defaultsFor({"-A", "argument"});
    defaults.setObject("A", "set");
    EXPECT_EQ(defaults.stringForKey("A"), "argument");
}

TEST_F(UserDefaultsTest, RemovedKeyLetsTheLowerDomainsShow) {
    write(kFile, Dictionary{{"A", "application"}, {"B", "application"}});
    write(kGlobalFile, Dictionary{{"A", "global"}});
    UserDefaults defaults = defaultsFor();
    defaults.removeObject("A");
    defaults.setObject("B", Value());
    EXPECT_EQ(defaults.stringForKey("A"), "global");
    EXPECT_EQ(defaults.objectForKey("B"), std::nullopt);
}

TEST_F(UserDefaultsTest, StringsAndNumbersHaveATextAndNothingElseHas) {
    UserDefaults defaults = defaultsFor();
    defaults.registerDefaults({{"string", "text"}, {"number", 7}, {"real", 1.5}, {"flag", true}});
    defaults.registerDefaults({{"array", Array{"a"}}, {"dictionary", Dictionary{}}});
    EXPECT_EQ(defaults.stringForKey("string"), "text");
    EXPECT_EQ(defaults.stringForKey("number"), "7");
    EXPECT_EQ(defaults.stringForKey("real"), "1.5");
    EXPECT_EQ(defaults.stringForKey("flag"), "1");
    for (const char* key : {"array", "dictionary", "missing"})
        EXPECT_EQ(defaults.stringForKey(key), std::nullopt) << key;
}

TEST_F(UserDefaultsTest, FlagsAreReadFromBooleansNumbersAndTexts) {
    UserDefaults defaults = defaultsFor({"-word", "YES", "-no", "NO"});
    defaults.registerDefaults({{"true", true}, {"false", false}, {"one", 1}, {"zero", 0}});
    defaults.registerDefaults({{"array", Array{true}}});
    for (const char* key : {"word", "true", "one"}) EXPECT_TRUE(defaults.boolForKey(key)) << key;
    for (const char* key : {"no", "false", "zero", "array", "missing"})
        EXPECT_FALSE(defaults.boolForKey(key)) << key;
}

TEST_F(UserDefaultsTest, OnlyArraysAreArrays) {
    UserDefaults defaults = defaultsFor();
    defaults.registerDefaults({{"array", Array{"a", 1}}, {"string", "a"}});
    EXPECT_EQ(defaults.arrayForKey("array"), (Array{"a", 1}));
    EXPECT_EQ(defaults.arrayForKey("string"), std::nullopt);
    EXPECT_EQ(defaults.arrayForKey("missing"), std::nullopt);
}

TEST_F(UserDefaultsTest, ArgumentsArePairsOfKeyAndText) {
    const Texts arguments = {"stray", "-A", "1", "more", "-B", "two words", "-A", "2"};
    EXPECT_EQ(argument(arguments, "A"), Value("2"));
    EXPECT_EQ(argument(arguments, "B"), Value("two words"));
    EXPECT_EQ(argument(arguments, "more"), std::nullopt);
}

TEST_F(UserDefaultsTest, KeyWithoutAValueIsPassedOver) {
    const Texts arguments = {"-A", "-B", "b", "-C"};
    EXPECT_EQ(argument(arguments, "A"), std::nullopt);
    EXPECT_EQ(argument(arguments, "B"), Value("b"));
    EXPECT_EQ(argument(arguments, "C"), std::nullopt);
}

TEST_F(UserDefaultsTest, NegativeNumbersAndALoneHyphenAreValues) {
    for (const char* text : {"-5", "-0.5", "-.5", "-1e9", "-", ""})
        EXPECT_EQ(argument({"-A", text}, "A"), Value(text)) << text;
    for (const char* text : {"-5x", "-inf", "-nan", "--", "-."})
        EXPECT_EQ(argument({"-A", text}, "A"), std::nullopt) << text;
    EXPECT_EQ(argument({"-5", "x"}, "5"), std::nullopt);
}

TEST_F(UserDefaultsTest, MissingFilesAndFolderAreNoProblem) {
    const UserDefaults defaults = defaultsFor();
    EXPECT_EQ(defaults.objectForKey("A"), std::nullopt);
    EXPECT_EQ(problems.take(), Texts{});
    EXPECT_FALSE(disk.exists("/Preferences"));
}

TEST_F(UserDefaultsTest, HostileFilesCountAsEmptyAndAreSaidOnce) {
    disk.makeFolder(kGlobalFile);
    write(kFile, Array{"not", "a", "dictionary"});
    UserDefaults defaults = defaultsFor();
    EXPECT_EQ(defaults.objectForKey("A"), std::nullopt);
    EXPECT_EQ(problems.take(),
              (Texts{"\"/Preferences/com.test.plist\": is not a dictionary",
                     "\"/Preferences/.GlobalPreferences.plist\": is not a regular file"}));
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_EQ(problems.take(), Texts{});
}

TEST_F(UserDefaultsTest, FifoInPlaceOfTheFileDoesNotHang) {
    disk.makeFolder("/Preferences");
    ::mkfifo(disk.host(kFile).c_str(), 0600);
    const UserDefaults defaults = defaultsFor();
    EXPECT_EQ(defaults.objectForKey("A"), std::nullopt);
    EXPECT_EQ(problems.take().size(), 1u);
}

TEST_F(UserDefaultsTest, HugeFileIsRefusedUnread) {
    write(kFile, Dictionary{{"A", "text"}});
    ASSERT_EQ(::truncate(disk.host(kFile).c_str(), off_t{1} << 30), 0);
    const UserDefaults defaults = defaultsFor();
    EXPECT_EQ(defaults.objectForKey("A"), std::nullopt);
    EXPECT_EQ(problems.take(),
              Texts{"\"/Preferences/com.test.plist\": is larger than 33554432 bytes"});
}

TEST_F(UserDefaultsTest, ManyThreadsMayAskAndSaveAtOnce) {
    UserDefaults defaults = defaultsFor();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int j = 0; j < 5; ++j) {
                defaults.setObject(std::to_string(i) + "-" + std::to_string(j), j);
                EXPECT_EQ(defaults.synchronize(), std::nullopt);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 5; ++j)
            EXPECT_EQ(defaultsFor().objectForKey(std::to_string(i) + "-" + std::to_string(j)),
                      Value(j));
    }
}

}  // namespace
}  // namespace quillmore::tests
