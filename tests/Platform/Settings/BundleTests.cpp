#include "Platform/Settings/Bundle.h"

#include <gtest/gtest.h>

#include <thread>

#include "Platform/Formats/PropertyList.h"
#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/fakes/RecordingProblems.h"

namespace quillmore::tests {
namespace {

using platform::Bundle;
using platform::Dictionary;
using platform::Value;
using Names = std::vector<std::string>;

/// A bundle folder at /Apps/Test.app.
class BundleTest : public testing::Test {
protected:
    Bundle bundleFor(Names languages = {"en"}) {
        return Bundle(disk.files, "/Apps/Test.app", std::move(languages), problems);
    }
    void writeInfo(const Value& value) const {
        disk.makeFile("/Apps/Test.app/Contents/Info.plist", platform::writePropertyList(value));
    }
    void writeResource(const std::string& name, const std::string& bytes = "x") const {
        disk.makeFile("/Apps/Test.app/Contents/Resources/" + name, bytes);
    }
    TemporaryFiles disk;
    RecordingProblems problems;
};

TEST_F(BundleTest, FoldersLieInContents) {
    const Bundle bundle(disk.files, "/Apps/Test.app/", {}, problems);
    EXPECT_EQ(bundle.resourcePath(), "/Apps/Test.app/Contents/Resources");
    EXPECT_EQ(bundle.plugInsPath(), "/Apps/Test.app/Contents/PlugIns");
    EXPECT_EQ(bundle.helpersPath(), "/Apps/Test.app/Contents/Helpers");
    EXPECT_EQ(bundle.programsPath(), "/Apps/Test.app/Contents/SharedSupport/bin");
    EXPECT_EQ(bundle.bundlePath(), "/Apps/Test.app/");
}

TEST_F(BundleTest, InformationDictionaryNamesTheIdentifier) {
    writeInfo(Dictionary{{"CFBundleExecutable", "Test"}, {"CFBundleIdentifier", "com.test"}});
    const Bundle bundle = bundleFor();
    ASSERT_NE(bundle.infoDictionary(), nullptr);
    EXPECT_EQ(bundle.infoDictionary()->size(), 2u);
    EXPECT_EQ(bundle.bundleIdentifier(), "com.test");
}

TEST_F(BundleTest, MissingInformationIsNoProblem) {
    const Bundle bundle = bundleFor();
    EXPECT_EQ(bundle.infoDictionary(), nullptr);
    EXPECT_EQ(bundle.bundleIdentifier(), std::nullopt);
    EXPECT_EQ(problems.take(), Names{});
}

TEST_F(BundleTest, BundleThatIsAFileIsNoProblem) {
    disk.makeFile("/Apps/Test.app", "x");
    const Bundle bundle = bundleFor();
    EXPECT_EQ(bundle.infoDictionary(), nullptr);
    EXPECT_EQ(bundle.localizedString("Key"), "Key");
    EXPECT_EQ(problems.take(), Names{});
}

TEST_F(BundleTest, DamagedInformationIsSaidOnce) {
    disk.makeFile("/Apps/Test.app/Contents/Info.plist", "<plist><dict><key>");
    const Bundle bundle = bundleFor();
    EXPECT_EQ(bundle.infoDictionary(), nullptr);
    const Names reported = problems.take();
    ASSERT_EQ(reported.size(), 1u);
    EXPECT_TRUE(reported[0].starts_with("\"/Apps/Test.app/Contents/Info.plist\": "));
    EXPECT_EQ(bundle.infoDictionary(), nullptr);
    EXPECT_EQ(problems.take(), Names{});
}

TEST_F(BundleTest, InformationOfAnotherKindIsSaid) {
    writeInfo(Value("text"));
    const Bundle bundle = bundleFor();
    EXPECT_EQ(bundle.infoDictionary(), nullptr);
    EXPECT_EQ(problems.take(),
              Names{"\"/Apps/Test.app/Contents/Info.plist\": is not a dictionary"});
}

TEST_F(BundleTest, FifoInPlaceOfTheInformationDoesNotHang) {
    disk.makeFolder("/Apps/Test.app/Contents");
    ::mkfifo(disk.host("/Apps/Test.app/Contents/Info.plist").c_str(), 0600);
    const Bundle bundle = bundleFor();
    EXPECT_EQ(bundle.infoDictionary(), nullptr);
    EXPECT_EQ(problems.take(),
              Names{"\"/Apps/Test.app/Contents/Info.plist\": is not a regular file"});
}

TEST_F(BundleTest, EntriesOfAnotherKindCountAsMissing) {
    writeInfo(Dictionary{{"CFBundleIdentifier", true}});
    EXPECT_EQ(bundleFor().bundleIdentifier(), std::nullopt);
}

TEST_F(BundleTest, ResourceIsFoundByNameAndType) {
    writeResource("Config.plist");
    writeResource("tool");
    disk.makeFolder("/Apps/Test.app/Contents/Resources/Core.app");
    const Bundle bundle = bundleFor();
    const std::string resources = bundle.resourcePath() + "/";
    EXPECT_EQ(bundle.pathForResource("Config", "plist"), resources + "Config.plist");
    EXPECT_EQ(bundle.pathForResource("tool", ""), resources + "tool");
    EXPECT_EQ(bundle.pathForResource("Core", "app"), resources + "Core.app");
    EXPECT_EQ(bundle.pathForResource("Config", "txt"), std::nullopt);
    EXPECT_EQ(bundle.pathForResource("", "plist"), std::nullopt);
}

TEST_F(BundleTest, ResourceOutsideTheLocalizationsComesFirst) {
    writeResource("Help.txt");
    writeResource("en.lproj/Help.txt");
    EXPECT_EQ(bundleFor().pathForResource("Help", "txt"),
              "/Apps/Test.app/Contents/Resources/Help.txt");
}

TEST_F(BundleTest, LocalizedResourceFollowsTheUsersOrderThenTheDevelopmentRegion) {
    writeInfo(Dictionary{{"CFBundleDevelopmentRegion", "fr"}});
    for (const char* name :
         {"de.lproj/A.txt", "it.lproj/A.txt", "fr.lproj/B.txt", "Base.lproj/C.txt"})
        writeResource(name);
    const Bundle bundle = bundleFor({"it", "de"});
    const std::string resources = bundle.resourcePath() + "/";
    EXPECT_EQ(bundle.pathForResource("A", "txt"), resources + "it.lproj/A.txt");
    EXPECT_EQ(bundle.pathForResource("B", "txt"), resources + "fr.lproj/B.txt");
    EXPECT_EQ(bundle.pathForResource("C", "txt"), resources + "Base.lproj/C.txt");
}

TEST_F(BundleTest, LocalizationsAreThoseTheBundleHas) {
    for (const char* name : {"de.lproj/A", "en.lproj/A", "Base.lproj/A", "fr.lproj/A"})
        writeResource(name);
    EXPECT_EQ(bundleFor({"sv", "de-AT", "fr"}).preferredLocalizations(),
              (Names{"de", "fr", "en", "Base"}));
    EXPECT_EQ(bundleFor({}).preferredLocalizations(), (Names{"en", "Base"}));
}

TEST_F(BundleTest, FolderNamedInEnglishServesTheLanguage) {
    writeInfo(Dictionary{{"CFBundleDevelopmentRegion", "English"}});
    writeResource("German.lproj/A");
    writeResource("en.lproj/A");
    EXPECT_EQ(bundleFor({"de"}).preferredLocalizations(), (Names{"German", "en"}));
}

TEST_F(BundleTest, TextComesFromTheFirstLocalizationWithTheTable) {
    writeResource("de.lproj/Localizable.strings", "\"Quit\" = \"Beenden\";");
    writeResource("en.lproj/Localizable.strings",
                  "\"Quit\" = \"Leave\"; \"More\" = \"More text\";");
    writeResource("fr.lproj/Other.strings", "\"Quit\" = \"Quitter\";");
    const Bundle bundle = bundleFor({"fr", "de", "en"});
    EXPECT_EQ(bundle.localizedString("Quit"), "Beenden");
    EXPECT_EQ(bundle.localizedString("Quit", "Other"), "Quitter");
    EXPECT_EQ(bundle.localizedString("More"), "More") << "tables are not mixed";
    EXPECT_EQ(problems.take(), Names{});
}

TEST_F(BundleTest, MissingTextIsTheKeyAndAnEmptyTextStaysEmpty) {
    writeResource("en.lproj/Localizable.strings", "\"Empty\" = \"\";");
    const Bundle bundle = bundleFor();
    EXPECT_EQ(bundle.localizedString("Empty"), "");
    EXPECT_EQ(bundle.localizedString("Missing"), "Missing");
    EXPECT_EQ(bundle.localizedString("Missing", "NoTable"), "Missing");
    EXPECT_EQ(bundle.localizedString(""), "");
}

TEST_F(BundleTest, DamagedTableCountsAsMissingAndIsSaidOnce) {
    writeResource("de.lproj/Localizable.strings", "\"Quit\" = ");
    writeResource("en.lproj/Localizable.strings", "\"Quit\" = \"Leave\";");
    const Bundle bundle = bundleFor({"de", "en"});
    EXPECT_EQ(bundle.localizedString("Quit"), "Leave");
    EXPECT_EQ(bundle.localizedString("Quit"), "Leave");
    const Names reported = problems.take();
    ASSERT_EQ(reported.size(), 1u);
    EXPECT_TRUE(reported[0].starts_with(
        "\"/Apps/Test.app/Contents/Resources/de.lproj/Localizable.strings\": "));
    EXPECT_EQ(problems.take(), Names{});
}

TEST_F(BundleTest, ListingThatFailsIsSaidAndTriedAgain) {
    writeResource("en.lproj/Localizable.strings", R"("Key" = "Text";)");
    const Bundle bundle = bundleFor();
    const int next = ::dup(0);
    ::close(next);
    {
        const LoweredLimit descriptors(RLIMIT_NOFILE, static_cast<rlim_t>(next));
        EXPECT_EQ(bundle.localizedString("Key"), "Key");
        EXPECT_EQ(bundle.resourcesFault(), platform::Error::posix(EMFILE));
    }
    EXPECT_EQ(problems.take(), (Names{"\"/Apps/Test.app/Contents/Resources\": Too many open files",
                                      "\"/Apps/Test.app/Contents/Info.plist\": "
                                      "Too many open files"}));
    EXPECT_EQ(bundle.resourcesFault(), std::nullopt);
    EXPECT_EQ(bundle.localizedString("Key"), "Text");
    EXPECT_EQ(problems.take(), Names{});
}

TEST_F(BundleTest, FolderThatIsMissingIsNoFaultOfTheListing) {
    const Bundle bundle = bundleFor();
    EXPECT_EQ(bundle.resourcesFault(), std::nullopt);
    EXPECT_EQ(problems.take(), Names{});
}

TEST_F(BundleTest, ManyThreadsMayAskAtOnce) {
    writeInfo(Dictionary{{"CFBundleIdentifier", "com.test"}});
    writeResource("en.lproj/Localizable.strings", "\"Quit\" = \"Leave\";");
    const Bundle bundle = bundleFor();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            EXPECT_EQ(bundle.bundleIdentifier(), "com.test");
            EXPECT_EQ(bundle.localizedString("Quit"), "Leave");
            EXPECT_EQ(bundle.preferredLocalizations(), Names{"en"});
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(BundlePathOfExecutable, IsTheApplicationFolderAround) {
    using platform::bundlePathOfExecutable;
    EXPECT_EQ(bundlePathOfExecutable("/A/Quillmore.app/Contents/MacOS/Quillmore"),
              "/A/Quillmore.app");
    EXPECT_EQ(bundlePathOfExecutable("Quillmore.app/Contents/MacOS/Quillmore"), "Quillmore.app");
}

TEST(BundlePathOfExecutable, IsNothingElsewhere) {
    for (const char* path : {"/usr/bin/tool", "/A/Q.app/Contents/Resources/Q", "/A/Q.app/MacOS/Q",
                             "/Contents/MacOS/Q", "/A/Q/Contents/MacOS/Q",
                             "/A/.app/Contents/MacOS/Q", "/A/Q.app/Contents/MacOS/deep/Q", ""})
        EXPECT_EQ(platform::bundlePathOfExecutable(path), std::nullopt) << path;
}

}  // namespace
}  // namespace quillmore::tests
