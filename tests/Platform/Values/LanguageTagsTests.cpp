#include "Platform/Values/LanguageTags.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>

namespace quillmore::tests {
namespace {

using platform::languagesOfEnvironment;
using platform::namesForLanguage;
using Names = std::vector<std::string>;

/// The language variables, exactly these, while it lives.
class LanguageVariables {
public:
    explicit LanguageVariables(const std::map<std::string, std::string>& wanted) {
        for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
            if (const char* text = std::getenv(name)) before_[name] = text;
            ::unsetenv(name);
        }
        for (const auto& [name, text] : wanted) ::setenv(name.c_str(), text.c_str(), 1);
    }
    ~LanguageVariables() {
        for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) ::unsetenv(name);
        for (const auto& [name, text] : before_) ::setenv(name.c_str(), text.c_str(), 1);
    }

private:
    std::map<std::string, std::string> before_;
};

Names languagesUnder(const std::map<std::string, std::string>& variables) {
    const LanguageVariables set(variables);
    return languagesOfEnvironment();
}

TEST(LanguageNames, ExactNameComesFirstThenOtherSpellingsThenTheShorterName) {
    const Names available = {"DE_at", "de", "de-AT", "en"};
    EXPECT_EQ(namesForLanguage("de-AT", available), (Names{"de-AT", "DE_at", "de"}));
}

TEST(LanguageNames, RegionFallsBackToTheLanguageButNotTheOtherWayRound) {
    EXPECT_EQ(namesForLanguage("de-AT", {"de", "en"}), Names{"de"});
    EXPECT_EQ(namesForLanguage("de", {"de-AT", "en"}), Names{});
    EXPECT_EQ(namesForLanguage("zh-Hant-TW", {"zh", "zh_Hant"}), (Names{"zh_Hant", "zh"}));
}

TEST(LanguageNames, CaseAndUnderscoresDoNotCount) {
    EXPECT_EQ(namesForLanguage("pt_br", {"pt-BR"}), Names{"pt-BR"});
    EXPECT_EQ(namesForLanguage("EN", {"en"}), Names{"en"});
}

TEST(LanguageNames, EnglishNamesOfOlderBundlesCount) {
    const std::map<std::string, std::string> pairs = {
        {"en", "English"}, {"de", "German"}, {"fr", "French"},  {"it", "Italian"},
        {"es", "Spanish"}, {"nl", "Dutch"},  {"ja", "Japanese"}};
    for (const auto& [code, name] : pairs) {
        EXPECT_EQ(namesForLanguage(code, {name}), Names{name});
        EXPECT_EQ(namesForLanguage(name, {code}), Names{code});
    }
    EXPECT_EQ(namesForLanguage("de-AT", {"German"}), Names{"German"});
}

TEST(LanguageNames, UnknownAndEmptyLanguagesHaveNone) {
    EXPECT_EQ(namesForLanguage("sv", {"de", "en"}), Names{});
    EXPECT_EQ(namesForLanguage("", {"de", "en"}), Names{});
    EXPECT_EQ(namesForLanguage("-", {"de", "en"}), Names{});
}

TEST(EnvironmentLanguages, LocaleVariablesCountInTheOrderOfTheCLibrary) {
    EXPECT_EQ(languagesUnder({{"LC_ALL", "de_AT.UTF-8"}, {"LC_MESSAGES", "fr"}, {"LANG", "it"}}),
              Names{"de-AT"});
    EXPECT_EQ(languagesUnder({{"LC_ALL", ""}, {"LC_MESSAGES", "fr_FR"}, {"LANG", "it"}}),
              Names{"fr-FR"});
    EXPECT_EQ(languagesUnder({{"LANG", "it_IT@euro"}}), Names{"it-IT"});
}

TEST(EnvironmentLanguages, LanguageListTakesPrecedence) {
    EXPECT_EQ(languagesUnder({{"LANG", "it_IT"}, {"LANGUAGE", "de_AT:de::fr:de"}}),
              (Names{"de-AT", "de", "fr"}));
}

TEST(EnvironmentLanguages, LanguageListEndsAtTheCLocale) {
    EXPECT_EQ(languagesUnder({{"LANG", "it_IT"}, {"LANGUAGE", "de:C:fr"}}), Names{"de"});
}

TEST(EnvironmentLanguages, CLocaleGivesNothingWhateverTheListSays) {
    for (const char* locale : {"C", "POSIX", "C.UTF-8", ""}) {
        EXPECT_EQ(languagesUnder({{"LANG", locale}, {"LANGUAGE", "de"}}), Names{}) << locale;
        EXPECT_EQ(languagesUnder({{"LANG", locale}}), Names{}) << locale;
    }
    EXPECT_EQ(languagesUnder({}), Names{});
    EXPECT_EQ(languagesUnder({{"LC_ALL", "C"}, {"LANG", "de"}}), Names{});
}

TEST(EnvironmentLanguages, TextsThatNameNoLanguageArePassedOver) {
    EXPECT_EQ(languagesUnder({{"LANG", "/usr/lib/locale"}}), Names{});
    EXPECT_EQ(languagesUnder({{"LANG", "de"}, {"LANGUAGE", "../../etc:fr"}}), Names{"fr"});
}

}  // namespace
}  // namespace quillmore::tests
