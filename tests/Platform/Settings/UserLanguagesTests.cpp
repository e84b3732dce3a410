#include "Platform/Settings/UserLanguages.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/fakes/TestServices.h"

namespace quillmore::tests {
namespace {

class UserLanguagesTest : public testing::Test {
protected:
    UserLanguagesTest() {
        for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) ::unsetenv(name);
    }
    std::vector<std::string> languagesWith(const std::vector<std::string>& arguments) {
        const platform::UserDefaults defaults(
            services.files, std::string(kTestHome) + "/Library/Preferences",
            "com.quillmore.launcher", arguments, services.problems);
        return platform::preferredLanguages(defaults);
    }
    TestServices services;
};

using Languages = std::vector<std::string>;

TEST_F(UserLanguagesTest, CommandLineTextMayBeAListOrOneLanguage) {
    EXPECT_EQ(languagesWith({"-AppleLanguages", "(de, \"en-GB\")"}), (Languages{"de", "en-GB"}));
    EXPECT_EQ(languagesWith({"-AppleLanguages", "de"}), Languages{"de"});
}

TEST_F(UserLanguagesTest, StoredArrayIsTakenInItsOrder) {
    services.makePropertyList(
        std::string(kTestHome) + "/Library/Preferences/.GlobalPreferences.plist",
        platform::Dictionary{{"AppleLanguages", platform::Array{"fr", 7, "de"}}});
    EXPECT_EQ(languagesWith({}), (Languages{"fr", "de"}));
}

TEST_F(UserLanguagesTest, EnvironmentCountsWhenNothingIsStored) {
    ::setenv("LANG", "de_AT.UTF-8", 1);
    EXPECT_EQ(languagesWith({}), Languages{"de-AT"});
    ::unsetenv("LANG");
    EXPECT_EQ(languagesWith({}), Languages{});
}

}  // namespace
}  // namespace quillmore::tests
