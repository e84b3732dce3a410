#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using testing::ElementsAre;
using testing::IsEmpty;

class InstallCheckVersion : public LauncherFixture {
protected:
    InstallCheckVersion() {
        manager();
        logLines();
    }
    static RequiredItem itemAt(const std::string& path) {
        return RequiredItem(Dictionary{{"InstallPath", path}});
    }
    static RequiredItem requiring(const std::string& version) {
        return RequiredItem(Dictionary{{"Version", version}});
    }
    struct Parts {
        bool read;
        std::int32_t major, minor, bugfix;
        bool operator==(const Parts&) const = default;
    };
    static Parts parsed(const std::optional<std::string>& text) {
        Parts parts{false, -1, -1, -1};
        parts.read = manager().parseVersionString(text, parts.major, parts.minor, parts.bugfix);
        return parts;
    }
    static Parts bundleVersion(const RequiredItem& item) {
        Parts parts{false, -1, -1, -1};
        parts.read = manager().getBundleVersion(item, parts.major, parts.minor, parts.bugfix);
        return parts;
    }
    static constexpr Parts kUntouched{false, -1, -1, -1};
};

TEST_F(InstallCheckVersion, ThreePartsAreRead) {
    EXPECT_EQ(parsed("1.15.4"), (Parts{true, 1, 15, 4}));
    EXPECT_EQ(parsed("1.2x.b"), (Parts{true, 1, 2, 0}));
    EXPECT_EQ(parsed(".."), (Parts{true, 0, 0, 0}));
}

TEST_F(InstallCheckVersion, OtherCountsLeaveTheOutputsAlone) {
    for (const char* text : {"", "1", "1.2", "1.2.3.4", "..."})
        EXPECT_EQ(parsed(text), kUntouched) << text;
    EXPECT_EQ(parsed(std::nullopt), kUntouched);
}

TEST_F(InstallCheckVersion, BundleVersionIsTheShortVersion) {
    installBundle("/b", "3.4.5");
    EXPECT_EQ(bundleVersion(itemAt("/b")), (Parts{true, 3, 4, 5}));
}

TEST_F(InstallCheckVersion, BundleWithoutReadableVersionHasNone) {
    services.makePropertyList("/empty/Contents/Info.plist", Dictionary());
    services.makePropertyList("/blank/Contents/Info.plist",
                              Dictionary{{"CFBundleShortVersionString", ""}});
    services.makePropertyList("/number/Contents/Info.plist",
                              Dictionary{{"CFBundleShortVersionString", 3}});
    services.makeFile("/damaged/Contents/Info.plist", "bplist00 but no more");
    for (const char* path : {"", "/none", "/empty", "/blank", "/number", "/damaged"})
        EXPECT_EQ(bundleVersion(itemAt(path)), kUntouched) << path;
    EXPECT_EQ(bundleVersion(RequiredItem{Dictionary()}), kUntouched);
}

TEST_F(InstallCheckVersion, DamagedInformationFileIsNamedInTheLog) {
    services.makeFile("/damaged/Contents/Info.plist", "<plist>");
    bundleVersion(itemAt("/damaged"));
    EXPECT_THAT(logLines(), ElementsAre(testing::HasSubstr("\"/damaged/Contents/Info.plist\"")));
}

TEST_F(InstallCheckVersion, FrameworkVersionLiesInTheCurrentVersion) {
    services.makePropertyList("/f/Versions/Current/Resources/Info.plist",
                              Dictionary{{"CFBundleShortVersionString", "2.6.7"}});
    Parts parts{false, -1, -1, -1};
    EXPECT_TRUE(
        manager().getFrameworkVersion(itemAt("/f"), parts.major, parts.minor, parts.bugfix));
    EXPECT_EQ(parts, (Parts{false, 2, 6, 7}));
    EXPECT_FALSE(
        manager().getFrameworkVersion(itemAt("/g"), parts.major, parts.minor, parts.bugfix));
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
        EXPECT_EQ(manager().checkFrameworkVersion(requiring(row.required), row.major, row.minor,
                                                  row.bugfix),
                  row.upToDate)
            << row.required << " against " << row.major << row.minor << row.bugfix;
    }
}

TEST_F(InstallCheckVersion, ComparisonIsLogged) {
    manager().checkFrameworkVersion(requiring("2.1x.00"), 2, 1, 7);
    manager().checkFrameworkVersion(requiring("2.1.0"), 2, 0, 0);
    EXPECT_THAT(logLines(),
                ElementsAre("(dtl) Found framework version string \"2.1x.00\" parsed as 2.1.0",
                            "(dtl) Found framework up-to-date",
                            "(dtl) Found framework version string \"2.1.0\" parsed as 2.1.0",
                            "(dtl) Found framework out-of-date"));
}

TEST_F(InstallCheckVersion, UnreadableRequirementIsOutOfDate) {
    EXPECT_FALSE(manager().checkFrameworkVersion(requiring("2.1"), 9, 9, 9));
    EXPECT_FALSE(manager().checkFrameworkVersion(requiring(""), 9, 9, 9));
    EXPECT_FALSE(manager().checkFrameworkVersion(RequiredItem{Dictionary()}, 9, 9, 9));
    EXPECT_THAT(logLines(), ElementsAre("(dtl) Failed to parse version string \"2.1\"",
                                        "(dtl) Failed to parse version string \"\"",
                                        "(dtl) Failed to parse version string \"(null)\""));
}

// The operating system

TEST_F(InstallCheckVersion, SystemVersionNeedsAllThreeSelectors) {
    Parts parts{false, -1, -1, -1};
    const auto ask = [&parts] {
        return manager().getMacOSXVersion(parts.major, parts.minor, parts.bugfix);
    };
    EXPECT_FALSE(ask());
    EXPECT_EQ(parts, kUntouched);
    services.system.setSystemVersion(10, 6, 8);
    EXPECT_TRUE(ask());
    EXPECT_EQ(parts, (Parts{false, 10, 6, 8}));
    parts = kUntouched;
    services.system.selectors.erase(platform::fourCharCode("sys2"));
    EXPECT_FALSE(ask());
    EXPECT_EQ(parts, (Parts{false, 10, -1, -1}));
    parts = kUntouched;
    services.system.selectors.erase(platform::fourCharCode("sys1"));
    EXPECT_FALSE(ask());
    EXPECT_EQ(parts, kUntouched);
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
        EXPECT_EQ(manager().checkMaxMacOSXVersion(item), row.required)
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
        EXPECT_EQ(manager().checkMinMacOSXVersion(item), row.required)
            << row.bound << " on " << row.major << "." << row.minor;
    }
}

TEST_F(InstallCheckVersion, WithoutABoundEverySystemIsMeant) {
    services.system.setSystemVersion(9, 2, 0);
    EXPECT_TRUE(manager().checkMaxMacOSXVersion(RequiredItem{Dictionary()}));
    EXPECT_TRUE(manager().checkMinMacOSXVersion(RequiredItem{Dictionary()}));
}

TEST_F(InstallCheckVersion, AnUnknownSystemVersionMeetsEveryBound) {
    EXPECT_TRUE(manager().checkMaxMacOSXVersion(RequiredItem(Dictionary{{"MaxMacOSX", "10.4"}})));
    EXPECT_TRUE(manager().checkMinMacOSXVersion(RequiredItem(Dictionary{{"MinMacOSX", "10.4"}})));
}

// The launcher

TEST_F(InstallCheckVersion, LauncherVersionCarriesTheBuild) {
    EXPECT_EQ(manager().getMacClientVersionAsString(), "1.15.4 (1856)");
    std::int32_t major = 0, minor = 0, build = 0, revision = 0;
    manager().getMacClientVersion(major, minor, build, revision);
    EXPECT_THAT((std::vector{major, minor, build, revision}), ElementsAre(1, 15, 4, 1856));
}

TEST_F(InstallCheckVersion, AbsentVersionTextGivesZerosAndALine) {
    std::int32_t major = 1, minor = 1, build = 1, revision = 1;
    manager().getVersionFromString(std::nullopt, major, minor, build, revision);
    EXPECT_THAT((std::vector{major, minor, build, revision}), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(logLines(), ElementsAre("(ERR) Failed to extract version from string \"(null)\""));
}

}  // namespace
}  // namespace quillmore::tests
