#include "Common/utils/Versions.h"

#include <array>

#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;

class Versions : public LogTest {
protected:
    /// The main bundle with this Info.plist.
    const platform::Bundle& bundleWith(const platform::Dictionary& information) {
        services.makePropertyList(std::string(kTestBundlePath) + "/Contents/Info.plist",
                                  information);
        return *services.bundle;
    }
    static std::string truncatedBuild() {
        return std::to_string(static_cast<int>(Quillmore_ClientVersionNumber));
    }
};

using Parts = std::array<std::int32_t, 4>;

Parts parsed(std::string_view text) {
    const Version version = microsoftStyleVersionFromString(text);
    return {version.major, version.minor, version.build, version.revision};
}

TEST_F(Versions, BundleVersionIsShortVersionAndBuildInParentheses) {
    const auto& bundle =
        bundleWith({{"CFBundleShortVersionString", "2.3.4"}, {"CFBundleVersion", "567"}});
    EXPECT_EQ(versionOfBundleAsString(bundle, 1, true), "2.3.4 (567)");
    EXPECT_EQ(versionOfBundleAsString(bundle, 1, false), "2.3.4");
}

TEST_F(Versions, BundleBuildMayBeANumber) {
    const auto& bundle = bundleWith(
        {{"CFBundleShortVersionString", "2.3.4"}, {"CFBundleVersion", std::int64_t{567}}});
    EXPECT_EQ(versionOfBundleAsString(bundle, 1, true), "2.3.4 (567)");
}

TEST_F(Versions, BundleBuildIsReadAsAnInteger) {
    const auto& bundle =
        bundleWith({{"CFBundleShortVersionString", "2.3.4"}, {"CFBundleVersion", "567.8b"}});
    EXPECT_EQ(versionOfBundleAsString(bundle, 1, true), "2.3.4 (567)");
}

TEST_F(Versions, BundleBuildWithoutDigitsIsZero) {
    const auto& bundle =
        bundleWith({{"CFBundleShortVersionString", "2.3.4"}, {"CFBundleVersion", "beta"}});
    EXPECT_EQ(versionOfBundleAsString(bundle, 1, true), "2.3.4 (0)");
}

TEST_F(Versions, BundleWithoutBuildHasTheDefaultBuild) {
    const auto& bundle = bundleWith({{"CFBundleShortVersionString", "2.3.4"}});
    EXPECT_EQ(versionOfBundleAsString(bundle, 42, true), "2.3.4 (42)");
}

TEST_F(Versions, BundleBuildOfAnotherKindLeavesTheDefaultBuild) {
    const auto& bundle = bundleWith(
        {{"CFBundleShortVersionString", "2.3.4"}, {"CFBundleVersion", platform::Array{"1"}}});
    EXPECT_EQ(versionOfBundleAsString(bundle, 42, true), "2.3.4 (42)");
}

TEST_F(Versions, BundleWithoutShortVersionFallsBackAndKeepsItsBuild) {
    const auto& bundle = bundleWith({{"CFBundleVersion", "9"}});
    EXPECT_EQ(versionOfBundleAsString(bundle, 42, true), "1.15.4 (9)");
    EXPECT_EQ(versionOfBundleAsString(bundle, 42, false), "1.15.4");
}

TEST_F(Versions, BundleWithoutInformationFallsBack) {
    EXPECT_EQ(versionOfBundleAsString(*services.bundle, 42, true), "1.15.4 (42)");
    EXPECT_EQ(versionOfBundleAsString(*services.bundle, 42, false), "1.15.4");
}

TEST_F(Versions, ThisAppIsTheMainBundle) {
    bundleWith({{"CFBundleShortVersionString", "2.3.4"}, {"CFBundleVersion", "567"}});
    EXPECT_EQ(versionOfThisAppAsString(true), "2.3.4 (567)");
    EXPECT_EQ(versionOfThisAppAsString(false), "2.3.4");
}

TEST_F(Versions, ThisAppWithoutBuildCarriesTheTruncatedBuildConstant) {
    bundleWith({{"CFBundleShortVersionString", "2.3.4"}});
    EXPECT_EQ(versionOfThisAppAsString(true), "2.3.4 (" + truncatedBuild() + ")");
}

TEST_F(Versions, ThisAppIsComputedOnce) {
    bundleWith({{"CFBundleShortVersionString", "2.3.4"}});
    EXPECT_EQ(versionOfThisAppAsString(false), "2.3.4");
    services.set.mainBundle = nullptr;
    EXPECT_EQ(versionOfThisAppAsString(false), "2.3.4");
}

TEST_F(Versions, ThisAppWithoutABundleFallsBack) {
    services.set.mainBundle = nullptr;
    EXPECT_EQ(versionOfThisAppAsString(true), "1.15.4 (" + truncatedBuild() + ")");
}

TEST_F(Versions, BuildNumberIsTheSecondWordWithoutParentheses) {
    EXPECT_EQ(buildNumberFromVersionStr("1.15.4 (1856)"), 1856);
    EXPECT_EQ(buildNumberFromVersionStr("1.15.4 1856"), 1856);
    EXPECT_EQ(buildNumberFromVersionStr("1.15.4 ((12))("), 12);
    EXPECT_EQ(buildNumberFromVersionStr("1.15.4 (x)"), 0);
    EXPECT_EQ(buildNumberFromVersionStr("1.15.4 "), 0);
}

using VersionsDeathTest = Versions;

TEST_F(VersionsDeathTest, BuildNumberOfOneWordOrThreeIsAnAssertion) {
    const auto aborted = testing::KilledBySignal(SIGABRT);
    const auto text =
        HasSubstr("ASSERTION ERROR: [vAndB count] == 2 (file \"Common/utils\", line 98)\n");
    EXPECT_EXIT(buildNumberFromVersionStr("1.15.4"), aborted, text);
    EXPECT_EXIT(buildNumberFromVersionStr("1.15.4  (1856)"), aborted, text);
    EXPECT_EXIT(buildNumberFromVersionStr(""), aborted, text);
}

TEST_F(Versions, FourPartsAreReadFromVersionAndBuild) {
    EXPECT_EQ(parsed("1.15.4 (1856)"), (Parts{1, 15, 4, 1856}));
    EXPECT_EQ(parsed("1.15.4.1856"), (Parts{1, 15, 4, 1856}));
}

TEST_F(Versions, OnePartIsTheMajorNumber) {
    EXPECT_EQ(parsed("2"), (Parts{2, 0, 0, 0}));
    EXPECT_EQ(parsed(""), (Parts{0, 0, 0, 0}));
}

TEST_F(Versions, OnlyTheFirstLineCounts) {
    EXPECT_EQ(parsed("1.2.3.4\n5.6.7.8"), (Parts{1, 2, 3, 4}));
    EXPECT_EQ(parsed("\n5.6.7.8"), (Parts{0, 0, 0, 0}));
}

TEST_F(Versions, TheWordVersionIsDropped) {
    EXPECT_EQ(parsed("version 1.2.3.4"), (Parts{1, 2, 3, 4}));
}

TEST_F(Versions, TheWordVersionIsDroppedWhereverItStands) {
    EXPECT_EQ(parsed("version version 1.2.version 3.4"), (Parts{1, 2, 3, 4}));
}

TEST_F(Versions, TheWordVersionIsDroppedBeforeTheLettersThatMayHideIt) {
    CapturedOutput captured;
    EXPECT_EQ(parsed("vaersion 1.2.3.4"), (Parts{0, 0, 0, 0}));
}

TEST_F(Versions, TheWordVersionIsDroppedInSmallLettersOnly) {
    CapturedOutput captured;
    EXPECT_EQ(parsed("Version 1.2.3.4"), (Parts{0, 0, 0, 0}));
}

TEST_F(Versions, LettersAAndBAreDroppedWhereverTheyStand) {
    EXPECT_EQ(parsed("1.2b3.4.5"), (Parts{1, 23, 4, 5}));
    EXPECT_EQ(parsed("a1.2.b3.4a"), (Parts{1, 2, 3, 4}));
}

TEST_F(Versions, OtherLettersEndANumber) {
    EXPECT_EQ(parsed("1.2rc9.x3.-4"), (Parts{1, 2, 0, -4}));
}

TEST_F(Versions, NumbersSaturate) {
    EXPECT_EQ(parsed("99999999999.0.0.0"), (Parts{2147483647, 0, 0, 0}));
}

TEST_F(Versions, AnyOtherCountOfPartsIsLoggedAndGivesZeros) {
    for (const std::string text : {"1.15 (1856)", "1.2", "1.2.3.4.5"}) {
        CapturedOutput captured;
        EXPECT_EQ(parsed(text), (Parts{0, 0, 0, 0}));
        EXPECT_EQ(captured.take().standardError,
                  line("(ERR)", "Failed to extract version from string \"" + text + "\""));
    }
}

TEST(Version, IsOrderedPartByPart) {
    const Version version{2, 3, 4, 5};
    for (const Version& newer : {Version{3, 0, 0, 0}, {2, 4, 0, 0}, {2, 3, 5, 0}, {2, 3, 4, 6}}) {
        EXPECT_LT(version, newer);
        EXPECT_FALSE(newer <= version);
    }
    EXPECT_GE(version, (Version{2, 3, 4, 5}));
}

TEST(Version, OfAnOlderReleaseDiffersInMajorOrMinor) {
    const Version version{2, 3, 4, 5};
    EXPECT_TRUE(isOlderRelease({1, 9, 9, 9}, version));
    EXPECT_TRUE(isOlderRelease({2, 2, 9, 9}, version));
    EXPECT_FALSE(isOlderRelease({2, 3, 0, 0}, version));
    EXPECT_FALSE(isOlderRelease({2, 4, 0, 0}, version));
    EXPECT_FALSE(isOlderRelease({3, 0, 0, 0}, version));
}

TEST_F(Versions, TheErrorLineCarriesTheStringAsItWasPassed) {
    CapturedOutput captured;
    parsed("version 1.2b\nsecond");
    EXPECT_EQ(captured.take().standardError,
              line("(ERR)", "Failed to extract version from string \"version 1.2b\nsecond\""));
}

}  // namespace
}  // namespace quillmore::tests
