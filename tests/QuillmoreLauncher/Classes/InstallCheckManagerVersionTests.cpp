#include "QuillmoreLauncher/Classes/InstallCheckManager+Version.h"
#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using testing::ElementsAre;
using testing::IsEmpty;

class InstallCheckVersion : public LauncherFixture {
protected:
    static RequiredItem itemAt(const std::string& path) {
        return RequiredItem(Dictionary{{"InstallPath", path}});
    }
    static RequiredItem requiring(const std::string& version) {
        return RequiredItem(Dictionary{{"Version", version}});
    }
};

TEST_F(InstallCheckVersion, ThreePartsAreRead) {
    EXPECT_EQ(parseVersionString("1.15.4"), (Version{1, 15, 4}));
    EXPECT_EQ(parseVersionString("1.2x.b"), (Version{1, 2, 0}));
    EXPECT_EQ(parseVersionString(".."), (Version{0, 0, 0}));
}

TEST_F(InstallCheckVersion, OtherCountsAreNoVersion) {
    for (const char* text : {"", "1", "1.2", "1.2.3.4", "..."})
        EXPECT_EQ(parseVersionString(text), std::nullopt) << text;
    EXPECT_EQ(parseVersionString(std::nullopt), std::nullopt);
}

TEST_F(InstallCheckVersion, BundleVersionIsTheShortVersion) {
    installBundle("/b", "3.4.5");
    EXPECT_EQ(getBundleVersion(itemAt("/b")), (Version{3, 4, 5}));
}

TEST_F(InstallCheckVersion, BundleWithoutReadableVersionHasNone) {
    services.makePropertyList("/empty/Contents/Info.plist", Dictionary());
    services.makePropertyList("/blank/Contents/Info.plist",
                              Dictionary{{"CFBundleShortVersionString", ""}});
    services.makePropertyList("/number/Contents/Info.plist",
                              Dictionary{{"CFBundleShortVersionString", 3}});
    services.makeFile("/damaged/Contents/Info.plist", "bplist00 but no more");
    for (const char* path : {"", "/none", "/empty", "/blank", "/number", "/damaged"})
        EXPECT_EQ(getBundleVersion(itemAt(path)), std::nullopt) << path;
    EXPECT_EQ(getBundleVersion(RequiredItem{Dictionary()}), std::nullopt);
}

TEST_F(InstallCheckVersion, DamagedInformationFileIsNamedInTheLog) {
    services.makeFile("/damaged/Contents/Info.plist", "<plist>");
    getBundleVersion(itemAt("/damaged"));
    EXPECT_THAT(logLines(), ElementsAre(testing::HasSubstr("\"/damaged/Contents/Info.plist\"")));
}

TEST_F(InstallCheckVersion, FrameworkVersionLiesInTheCurrentVersion) {
    services.makePropertyList("/f/Versions/Current/Resources/Info.plist",
                              Dictionary{{"CFBundleShortVersionString", "2.6.7"}});
    EXPECT_EQ(getFrameworkVersion(itemAt("/f")), (Version{2, 6, 7}));
    EXPECT_EQ(getFrameworkVersion(itemAt("/g")), std::nullopt);
}

TEST_F(InstallCheckVersion, InstalledVersionIsComparedPartByPart) {
    struct Row {
        const char* required;
        std::int32_t major, minor, bugfix;
        bool upToDate;
    };
    for (const Row& row : {Row{"1.9.9", 2, 0, 0, true},
                           {"1.10.0", 1, 9, 10, false},
                           {"2.1.0", 2, 1, 0, true},
                           {"2.1.0", 2, 0, 9, false},
                           {"2.1.0", 2, 2, 0, true},
                           {"2.1.3", 2, 1, 2, false},
                           {"2.1.3", 2, 1, 4, true},
                           {"2.0.0", 1, 9, 9, false}}) {
        EXPECT_EQ(
            checkFrameworkVersion(requiring(row.required), {row.major, row.minor, row.bugfix}),
            row.upToDate)
            << row.required << " against " << row.major << row.minor << row.bugfix;
    }
}

TEST_F(InstallCheckVersion, ComparisonIsLogged) {
    checkFrameworkVersion(requiring("2.1x.00"), {2, 1, 7});
    checkFrameworkVersion(requiring("2.1.0"), {2, 0, 0});
    EXPECT_THAT(logLines(),
                ElementsAre("(dtl) Found framework version string \"2.1x.00\" parsed as 2.1.0",
                            "(dtl) Found framework up-to-date",
                            "(dtl) Found framework version string \"2.1.0\" parsed as 2.1.0",
                            "(dtl) Found framework out-of-date"));
}

TEST_F(InstallCheckVersion, UnreadableRequirementIsOutOfDate) {
    EXPECT_FALSE(checkFrameworkVersion(requiring("2.1"), {9, 9, 9}));
    EXPECT_FALSE(checkFrameworkVersion(requiring(""), {9, 9, 9}));
    EXPECT_FALSE(checkFrameworkVersion(RequiredItem{Dictionary()}, {9, 9, 9}));
    EXPECT_THAT(logLines(), ElementsAre("(dtl) Failed to parse version string \"2.1\"",
                                        "(dtl) Failed to parse version string \"\"",
                                        "(dtl) Failed to parse version string \"(null)\""));
}

// The operating system

constexpr platform::FourCharCode sys1 = platform::fourCharCode("sys1");
constexpr platform::FourCharCode sys2 = platform::fourCharCode("sys2");
constexpr platform::FourCharCode sys3 = platform::fourCharCode("sys3");

TEST_F(InstallCheckVersion, SystemVersionNeedsAllThreeSelectors) {
    EXPECT_EQ(getMacOSXVersion(), std::nullopt);
    services.system.setSystemVersion(10, 6, 8);
    EXPECT_EQ(getMacOSXVersion(), (Version{10, 6, 8}));
    for (const auto selector : {sys1, sys2, sys3}) {
        services.system.setSystemVersion(10, 6, 8);
        services.system.selectors.erase(selector);
        EXPECT_EQ(getMacOSXVersion(), std::nullopt);
    }
}

TEST_F(InstallCheckVersion, SystemVersionIsAskedForUpToTheFirstSelectorThatFails) {
    getMacOSXVersion();
    EXPECT_THAT(services.system.asked, ElementsAre(sys1));
    services.system.setSystemVersion(10, 6, 8);
    services.system.selectors.erase(sys2);
    services.system.asked.clear();
    getMacOSXVersion();
    EXPECT_THAT(services.system.asked, ElementsAre(sys1, sys2));
    services.system.setSystemVersion(10, 6, 8);
    services.system.asked.clear();
    getMacOSXVersion();
    EXPECT_THAT(services.system.asked, ElementsAre(sys1, sys2, sys3));
}

struct BoundRow {
    const char* bound;
    std::int32_t major, minor;
    bool required;
};

TEST_F(InstallCheckVersion, UpperBoundIsAsymmetric) {
    for (const BoundRow& row : {BoundRow{"10.4", 10, 3, false},
                                {"10.4", 10, 4, true},
                                {"10.4", 10, 5, false},
                                {"10.5", 10, 2, true},
                                {"10.5", 10, 5, true},
                                {"10.5", 10, 6, false},
                                {"10.6", 10, 4, true},
                                {"10.6", 10, 6, true},
                                {"10.6", 10, 7, false},
                                {"10.6", 11, 0, false},
                                {"10.5", 9, 5, false},
                                {"10.4", 11, 4, false},
                                {"10.7", 10, 5, false},
                                {"", 10, 4, false},
                                {"10.4.0", 10, 4, false}}) {
        services.system.setSystemVersion(row.major, row.minor, 0);
        const RequiredItem item(Dictionary{{"MaxMacOSX", row.bound}});
        EXPECT_EQ(checkMaxMacOSXVersion(item), row.required)
            << row.bound << " on " << row.major << "." << row.minor;
    }
}

TEST_F(InstallCheckVersion, LowerBoundHasItsConsequences) {
    for (const BoundRow& row : {BoundRow{"10.4", 10, 3, false},
                                {"10.4", 10, 4, false},
                                {"10.4", 10, 5, false},
                                {"10.4", 11, 0, false},
                                {"10.5", 10, 4, false},
                                {"10.5", 10, 5, true},
                                {"10.5", 10, 15, true},
                                {"10.5", 11, 6, false},
                                {"10.6", 10, 6, false},
                                {"10.6", 10, 9, false},
                                {"10.6", 11, 0, true},
                                {"10.6", 9, 9, false},
                                {"10.7", 11, 7, false},
                                {"", 10, 6, false}}) {
        services.system.setSystemVersion(row.major, row.minor, 0);
        const RequiredItem item(Dictionary{{"MinMacOSX", row.bound}});
        EXPECT_EQ(checkMinMacOSXVersion(item), row.required)
            << row.bound << " on " << row.major << "." << row.minor;
    }
}

TEST_F(InstallCheckVersion, WithoutABoundEverySystemIsMeant) {
    services.system.setSystemVersion(9, 2, 0);
    EXPECT_TRUE(checkMaxMacOSXVersion(RequiredItem{Dictionary()}));
    EXPECT_TRUE(checkMinMacOSXVersion(RequiredItem{Dictionary()}));
}

TEST_F(InstallCheckVersion, AnUnknownSystemVersionMeetsEveryBound) {
    EXPECT_TRUE(checkMaxMacOSXVersion(RequiredItem(Dictionary{{"MaxMacOSX", "10.4"}})));
    EXPECT_TRUE(checkMinMacOSXVersion(RequiredItem(Dictionary{{"MinMacOSX", "10.4"}})));
}

// The launcher

TEST_F(InstallCheckVersion, LauncherVersionCarriesTheBuild) {
    EXPECT_EQ(getMacClientVersionAsString(), "1.15.4 (1856)");
    EXPECT_EQ(getMacClientVersion(), (Version{1, 15, 4, 1856}));
}

TEST_F(InstallCheckVersion, AbsentVersionTextGivesZerosAndALine) {
    EXPECT_EQ(getVersionFromString(std::nullopt), (Version{0, 0, 0, 0}));
    EXPECT_THAT(logLines(), ElementsAre("(ERR) Failed to extract version from string \"(null)\""));
}

}  // namespace
}  // namespace quillmore::tests
