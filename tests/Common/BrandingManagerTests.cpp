#include "Common/BrandingManager.h"

#include <map>
#include <thread>

#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

class Branding : public LogTest {
protected:
    using Table = std::map<std::string, std::string>;

    void useTable(const Table& table) {
        std::string text;
        for (const auto& [key, value] : table) text += "\"" + key + "\" = \"" + value + "\";\n";
        services.makeResource("en.lproj/Localizable.strings", text);
    }
    static std::optional<std::string> mono(const std::string& section, const std::string& key) {
        return QMLocalizedMonoString(section, key);
    }
    static std::optional<std::string> stripped(const std::string& section, const std::string& key) {
        return QMLocalizedMonoStringStripProduct(section, key);
    }
};

const std::optional<std::string> kAbsent = std::nullopt;

TEST_F(Branding, TextComesFromTheTable) {
    useTable({{"Hello", "Good day"}});
    EXPECT_EQ(QMLocalizedString("Hello"), "Good day");
}

TEST_F(Branding, MissingKeyYieldsTheKey) {
    useTable({});
    EXPECT_EQ(QMLocalizedString("No such key"), "No such key");
    EXPECT_EQ(QMLocalizedString("SarvelProduct"), "SarvelProduct");
}

TEST_F(Branding, MissingTableYieldsTheKey) {
    EXPECT_EQ(QMLocalizedString("ProductName"), "ProductName");
}

TEST_F(Branding, NoBundleYieldsTheKey) {
    services.set.mainBundle = nullptr;
    EXPECT_EQ(QMLocalizedString("ProductName"), "ProductName");
}

TEST_F(Branding, AbsentKeyYieldsNothingFromEveryEntryPoint) {
    useTable({{"Mac_(null)", "trap"}, {"(null)", "trap"}});
    EXPECT_EQ(BrandingManager::sharedManager().localisedString(kAbsent), kAbsent);
    EXPECT_EQ(QMLocalizedString(kAbsent), kAbsent);
    EXPECT_EQ(QMLocalizedStringWithArguments(kAbsent, 1), kAbsent);
    EXPECT_EQ(QMLocalizedMonoString("Mac", kAbsent), kAbsent);
    EXPECT_EQ(QMLocalizedMonoStringStripProduct("Mac", kAbsent), kAbsent);
}

TEST_F(Branding, EveryPlaceholderIsReplaced) {
    useTable({{"ProductName", "P"},
              {"SarvelProduct", "S"},
              {"BackupProduct", "B"},
              {"TeamFolderProduct", "F"},
              {"TeamFoldersProduct", "Fs"},
              {"All",
               "{#ProductName#},{#SarvelProduct#},{#BackupProduct#},"
               "{#TeamFolderProduct#},{#TeamFoldersProduct#}"}});
    EXPECT_EQ(QMLocalizedString("All"), "P,S,B,F,Fs");
}

TEST_F(Branding, PlaceholderIsReplacedAtEveryOccurrence) {
    useTable({{"ProductName", "P"}, {"Twice", "{#ProductName#} and {#ProductName#}"}});
    EXPECT_EQ(QMLocalizedString("Twice"), "P and P");
}

TEST_F(Branding, PlaceholdersAreCaseSensitive) {
    useTable({{"ProductName", "P"}, {"Text", "{#productname#}"}});
    EXPECT_EQ(QMLocalizedString("Text"), "{#productname#}");
}

TEST_F(Branding, PlaceholderOfAMissingNameIsReplacedByTheNamesKey) {
    useTable({{"Text", "{#BackupProduct#}!"}});
    EXPECT_EQ(QMLocalizedString("Text"), "BackupProduct!");
}

TEST_F(Branding, KeyWithoutEntryHasItsPlaceholdersReplacedToo) {
    useTable({{"ProductName", "P"}});
    EXPECT_EQ(QMLocalizedString("Start {#ProductName#}"), "Start P");
}

TEST_F(Branding, LaterPlaceholderInsideAnEarlierNameIsReplaced) {
    useTable({{"ProductName", "P with {#BackupProduct#}"},
              {"BackupProduct", "B"},
              {"Text", "{#ProductName#}"}});
    EXPECT_EQ(QMLocalizedString("Text"), "P with B");
    EXPECT_EQ(QMLocalizedString("ProductName"), "P with B");
}

TEST_F(Branding, EarlierPlaceholderInsideALaterNameStays) {
    useTable({{"ProductName", "P"},
              {"BackupProduct", "B of {#ProductName#}"},
              {"Text", "{#BackupProduct#}"}});
    EXPECT_EQ(QMLocalizedString("Text"), "B of {#ProductName#}");
}

TEST_F(Branding, PlaceholdersAreReplacedInTheOrderOfTheNames) {
    useTable({{"ProductName", "1{#SarvelProduct#}"},
              {"SarvelProduct", "2{#BackupProduct#}"},
              {"BackupProduct", "3{#TeamFolderProduct#}"},
              {"TeamFolderProduct", "4{#TeamFoldersProduct#}"},
              {"TeamFoldersProduct", "5{#ProductName#}"},
              {"Text", "{#ProductName#}"}});
    EXPECT_EQ(QMLocalizedString("Text"), "12345{#ProductName#}");
}

TEST_F(Branding, PlaceholderInsideItsOwnNameStays) {
    useTable({{"ProductName", "new {#ProductName#}"}, {"Text", "{#ProductName#}"}});
    EXPECT_EQ(QMLocalizedString("Text"), "new {#ProductName#}");
}

TEST_F(Branding, FinishedTextsAreKept) {
    useTable({{"Hello", "Good day"}});
    EXPECT_EQ(QMLocalizedString("Hello"), "Good day");
    services.set.mainBundle = nullptr;
    EXPECT_EQ(QMLocalizedString("Hello"), "Good day");
    EXPECT_EQ(QMLocalizedString("Not asked before"), "Not asked before");
}

TEST_F(Branding, NamesAreFixedAtCreation) {
    useTable({{"ProductName", "P"}});
    BrandingManager::sharedManager();
    services.set.mainBundle = nullptr;
    EXPECT_EQ(QMLocalizedString("{#ProductName#}"), "P");
}

TEST_F(Branding, SharedManagerIsOne) {
    EXPECT_EQ(&BrandingManager::sharedManager(), &BrandingManager::sharedManager());
}

TEST_F(Branding, ThreadsMayAskTogether) {
    useTable({{"ProductName", "P"}});
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([] {
            for (int i = 0; i < 100; ++i) {
                const std::string key = "{#ProductName#} " + std::to_string(i);
                EXPECT_EQ(QMLocalizedString(key.c_str()), "P " + std::to_string(i));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST_F(Branding, LocalisedTextIsAFormatOverTheArguments) {
    useTable({{"ProductName", "P"}, {"Files", "{#ProductName#}: %d of %@"}});
    EXPECT_EQ(QMLocalizedStringWithArguments("Files", 3, "seven"), "P: 3 of seven");
}

TEST_F(Branding, MonoStringPrefersTheSectionsText) {
    useTable({{"Mac_Title", "Mac title"}, {"Title", "plain title"}});
    EXPECT_EQ(mono("Mac", "Title"), "Mac title");
    EXPECT_EQ(mono("Windows", "Title"), "plain title");
}

TEST_F(Branding, MonoStringWithoutAnyEntryIsTheKeyAlone) {
    useTable({});
    EXPECT_EQ(mono("Mac", "Title"), "Title");
}

TEST_F(Branding, MonoStringWhoseTextEqualsItsKeyCountsAsMissing) {
    useTable({{"Mac_Title", "Mac_Title"}, {"Title", "plain title"}});
    EXPECT_EQ(mono("Mac", "Title"), "plain title");
}

TEST_F(Branding, StrippedKeyLosesTheBrandsWords) {
    useTable({{"ProductName", "Acme"},
              {"SarvelProduct", "Sarv"},
              {"BackupProduct", "Back"},
              {"TeamFolderProduct", "Fold"},
              {"TeamFoldersProduct", "Dirs"},
              {"Open_Title", "neutral"},
              {"Title", "plain"}});
    EXPECT_EQ(stripped("AcmeOpen", "Title"), "neutral");
    EXPECT_EQ(stripped("SarvBackOpenAcme", "FoldTitleDirs"), "neutral");
    EXPECT_EQ(stripped("Other", "Title"), "plain");
}

TEST_F(Branding, StrippedKeyLosesBlanksAndSlashLetters) {
    useTable({{"ProductName", "Acme"}, {"OpenNow_Title", "neutral"}});
    EXPECT_EQ(stripped("Open Acme/n Now/r", "Title"), "neutral");
}

TEST_F(Branding, StrippedKeyKeepsControlCharacters) {
    useTable({{"Open_Title", "neutral"}, {"Title", "plain"}});
    EXPECT_EQ(stripped("Open\n", "Title"), "plain");
    EXPECT_EQ(stripped("Open\r", "Title"), "plain");
}

TEST_F(Branding, WordsAreStrippedOneAfterTheOther) {
    // Taking the first word out leaves the second, which goes too.
    useTable({{"ProductName", "x"}, {"SarvelProduct", "ab"}, {"Open_Title", "neutral"}});
    EXPECT_EQ(stripped("aOxpenxb", "Title"), "Title");
    EXPECT_EQ(stripped("axbOpen", "Title"), "neutral");
}

TEST_F(Branding, WordsBlanksAndSlashLettersAreStrippedInThisOrder) {
    // Each word, and each mark after the words, comes to light when the one before it is gone.
    useTable({{"ProductName", "1"},
              {"SarvelProduct", "23"},
              {"BackupProduct", "45"},
              {"TeamFolderProduct", "67"},
              {"TeamFoldersProduct", "8 9"},
              {"Open_Title", "neutral"}});
    EXPECT_EQ(stripped("8 64213579Open", "Title"), "neutral");
    EXPECT_EQ(stripped("/ nOpen", "Title"), "neutral");
    EXPECT_EQ(stripped("//nrOpen", "Title"), "neutral");
}

TEST_F(Branding, EmptyNameStripsNothing) {
    useTable({{"ProductName", ""}, {"Open_Title", "neutral"}});
    EXPECT_EQ(stripped("Open", "Title"), "neutral");
}

TEST_F(Branding, StrippedKeyWithoutEntryGivesThePlainText) {
    useTable({{"ProductName", "Acme"}, {"Acme", "plain text"}});
    EXPECT_EQ(stripped("Open", "Acme"), "plain text");
}

TEST_F(Branding, AbsentSectionIsLookedUpAsItPrints) {
    useTable({{"(null)_Title", "of no section"}, {"Title", "plain"}, {"Other", "other"}});
    EXPECT_EQ(QMLocalizedMonoString(kAbsent, "Title"), "of no section");
    EXPECT_EQ(QMLocalizedMonoString(kAbsent, "Other"), "other");
    EXPECT_EQ(QMLocalizedMonoStringStripProduct(kAbsent, "Title"), "of no section");
    EXPECT_EQ(QMLocalizedMonoStringStripProduct(kAbsent, "Other"), "other");
}

TEST_F(Branding, DamagedTableIsLoggedOnce) {
    services.makeResource("en.lproj/Localizable.strings", std::string("\"ProductName\" = "));
    CapturedOutput captured;
    EXPECT_EQ(QMLocalizedString("ProductName"), "ProductName");
    EXPECT_THAT(messages(captured.take().standardError),
                testing::ElementsAre(testing::HasSubstr("en.lproj/Localizable.strings")));
    QMLocalizedString("Another");
    EXPECT_EQ(captured.take().standardError, "");
}

class BrandNumber : public Branding {
protected:
    void useRecord(platform::Dictionary record) {
        record["UserName"] = "jo";
        services.defaults->setObject("LastUsedUserName", "jo");
        services.defaults->setObject("UserList", platform::Array{record});
    }
    static std::int32_t brand() { return BrandingManager::sharedManager().getBrandingID(); }
    static bool reseller() { return BrandingManager::sharedManager().isReseller(); }
};

TEST_F(BrandNumber, IsThatOfTheLastUser) {
    useRecord({{"BrandID", std::int64_t{15}}});
    EXPECT_EQ(brand(), 15);
}

TEST_F(BrandNumber, IsMinusOneWithoutUsersOrNumber) {
    EXPECT_EQ(brand(), -1);
    useRecord({});
    EXPECT_EQ(brand(), -1);
    EXPECT_FALSE(reseller());
}

TEST_F(BrandNumber, IsReadAnewOnEveryCall) {
    useRecord({{"BrandID", std::int64_t{15}}});
    EXPECT_EQ(brand(), 15);
    useRecord({{"BrandID", std::int64_t{16}}});
    EXPECT_EQ(brand(), 16);
}

TEST_F(BrandNumber, Above10000IsAReseller) {
    useRecord({{"BrandID", std::int64_t{10000}}});
    EXPECT_FALSE(reseller());
    useRecord({{"BrandID", std::int64_t{10001}}});
    EXPECT_TRUE(reseller());
    useRecord({{"BrandID", std::int64_t{-10001}}});
    EXPECT_FALSE(reseller());
}

}  // namespace
}  // namespace quillmore::tests
