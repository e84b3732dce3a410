#include "UpdateTool/Commands/InstalledVersions.h"

#include <fcntl.h>

#include "Platform/Files/FileDescriptor.h"
#include "tests/UpdateTool/Refusal.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using updatetool::Version;
using Row = std::pair<std::string, std::optional<Version>>;

std::optional<Version> versionOfText(const std::string& text) {
    return updatetool::versionOfTool(updatetool::Bytes(text.begin(), text.end()));
}

TEST(InstalledVersion, BannerHasTwoToFourNumbers) {
    for (const auto& [text, version] : {Row{"1.15.4 (1856)", Version{1, 15, 4, 1856}},
                                        Row{"1.15.4.1856", Version{1, 15, 4, 1856}},
                                        Row{"1.15.4", Version{1, 15, 4, 0}},
                                        Row{"1.15", Version{1, 15, 0, 0}},
                                        Row{"1.15 (7)", Version{1, 15, 0, 7}},
                                        Row{"1", std::nullopt},
                                        Row{"1.", std::nullopt},
                                        Row{"1 (7)", std::nullopt},
                                        Row{"", std::nullopt},
                                        Row{"x", std::nullopt},
                                        Row{".1.2", std::nullopt},
                                        Row{"-1.2", std::nullopt},
                                        Row{" 1.2", std::nullopt},
                                        Row{"1.2.", Version{1, 2, 0, 0}},
                                        Row{"1.2x", Version{1, 2, 0, 0}},
                                        Row{"1.2(7)", Version{1, 2, 0, 0}},
                                        Row{"1.2 7", Version{1, 2, 0, 0}},
                                        Row{"1.2 (x)", Version{1, 2, 0, 0}},
                                        Row{"1.2.3.4.5", Version{1, 2, 3, 4}},
                                        Row{"1.2.3.4 (5)", Version{1, 2, 3, 5}},
                                        Row{"01.002", Version{1, 2, 0, 0}}})
        EXPECT_EQ(versionOfText("Limited " + text), version) << text;
}
TEST(InstalledVersion, NumbersHave32Bits) {
    EXPECT_EQ(versionOfText("Limited 1.4294967295"), (Version{1, 4294967295, 0, 0}));
    EXPECT_EQ(versionOfText("Limited 1.4294967296"), std::nullopt);
    EXPECT_EQ(versionOfText("Limited 1.2.4294967296"), (Version{1, 2, 0, 0}));
}
TEST(InstalledVersion, FirstBannerWithAVersionCounts) {
    const std::string start("x Limited \0 Limited ", 20);
    EXPECT_EQ(versionOfText(start + "Limited 1.2\n Limited 3.4"), (Version{1, 2, 0, 0}));
    EXPECT_EQ(versionOfText("limited 1.2"), std::nullopt);
    EXPECT_EQ(versionOfText("Limited  1.2"), std::nullopt);
}
TEST(InstalledVersion, BannerIsReadFor64Bytes) {
    const std::string zeros(61, '0');
    EXPECT_EQ(versionOfText("Limited " + zeros + "1.2"), (Version{1, 2, 0, 0}));
    EXPECT_EQ(versionOfText("Limited 0" + zeros + "1.2"), std::nullopt);
}
TEST(InstalledVersion, InfoHasAVersionAndPerhapsABuild) {
    const auto versionOf = [](const std::string& version, const std::string& build) {
        return updatetool::versionOfInfo(infoWithVersion(version, build));
    };
    EXPECT_EQ(versionOf("1.15.4", "1856"), (Version{1, 15, 4, 1856}));
    EXPECT_EQ(versionOf("1.15.4.7", "1856"), (Version{1, 15, 4, 1856}));
    EXPECT_EQ(versionOf("1.15.4.7", ""), (Version{1, 15, 4, 7}));
    EXPECT_EQ(versionOf("1.15.4.7", "x"), (Version{1, 15, 4, 0}));
    EXPECT_EQ(versionOf("1.15", "2.9"), (Version{1, 15, 0, 2}));
    EXPECT_EQ(versionOf("1", "1856"), std::nullopt);
    EXPECT_EQ(versionOf("", "1856"), std::nullopt);
    EXPECT_EQ(updatetool::versionOfInfo("no property list"), std::nullopt);
}
TEST(InstalledVersion, NothingIsReplacedByALowerOne) {
    const std::string older = "65: \"x\" is older than the installed one";
    const std::string none = "65: \"x\" has no version; the installed one has";
    struct Change {
        std::optional<Version> incoming, installed;
        std::string refusal;
    };
    const Version base{1, 15, 4, 1856};
    for (const Change& change :
         {Change{base, base, ""}, Change{base, std::nullopt, ""},
          Change{std::nullopt, std::nullopt, ""}, Change{std::nullopt, base, none},
          Change{std::nullopt, Version{0, 0, 0, 0}, none},
          Change{Version{1, 15, 4, 1855}, base, older}, Change{Version{1, 15, 4, 1857}, base, ""},
          Change{Version{1, 15, 3, 9999}, base, older}, Change{Version{1, 15, 5, 0}, base, ""},
          Change{Version{1, 14, 9, 9999}, base, older}, Change{Version{1, 16, 0, 0}, base, ""},
          Change{Version{0, 99, 9, 9999}, base, older}, Change{Version{2, 0, 0, 0}, base, ""}})
        EXPECT_EQ(
            refusalOf([&] { updatetool::requireNotOlder(change.incoming, change.installed, "x"); }),
            change.refusal);
}

class InstalledItemVersion : public UpdateToolMachine {
protected:
    InstalledItemVersion() {
        makeFolder(kProduct);
        product = platform::FileDescriptor(::open(host(kProduct).c_str(), O_RDONLY | O_CLOEXEC));
    }
    std::optional<Version> versionOfBundle() const {
        return updatetool::versionOfBundle(context, product.get(), "A.bundle");
    }
    std::optional<Version> versionOfTool() const {
        return updatetool::versionOfInstalledTool(product.get(), "tool");
    }
    const std::string bundle = kProduct + "/A.bundle";
    const std::string tool = kProduct + "/tool";
    platform::FileDescriptor product;
};

TEST_F(InstalledItemVersion, InfoLiesInOneOfThreePlacesTheFirstOfWhichCounts) {
    for (const char* path : {"/Versions/Current/Resources/Info.plist", "/Resources/Info.plist",
                             "/Contents/Info.plist"}) {
        const unsigned number = static_cast<unsigned>(std::string(path).size());
        makeFile(bundle + path, infoWithVersion("1." + std::to_string(number)));
        EXPECT_EQ(versionOfBundle(), (Version{1, number, 0, 1})) << path;
    }
}
TEST_F(InstalledItemVersion, BundleThatOthersMayWriteIsNotBelieved) {
    makeFile(bundle + "/Contents/Info.plist", infoWithVersion("1.2"));
    for (const mode_t mode : {0755, 0700}) {
        makeFolder(bundle, mode);
        EXPECT_TRUE(versionOfBundle().has_value()) << mode;
    }
    for (const mode_t mode : {0775, 0757, 0777}) {
        makeFolder(bundle, mode);
        EXPECT_EQ(versionOfBundle(), std::nullopt) << mode;
    }
}
TEST_F(InstalledItemVersion, LinkOrFileInTheBundlesPlaceHasNoVersion) {
    EXPECT_EQ(versionOfBundle(), std::nullopt);
    makeFile("/real/Contents/Info.plist", infoWithVersion("1.2"));
    std::filesystem::create_directory_symlink(host("/real"), host(bundle));
    EXPECT_EQ(versionOfBundle(), std::nullopt);
}
TEST_F(InstalledItemVersion, InfoHas1MiBAtMost) {
    std::string info = infoWithVersion("1.2");
    info.resize(1 << 20, ' ');
    makeFile(bundle + "/Contents/Info.plist", info);
    EXPECT_TRUE(versionOfBundle().has_value());
    makeFile(bundle + "/Contents/Info.plist", info + " ");
    EXPECT_EQ(versionOfBundle(), std::nullopt);
}
TEST_F(InstalledItemVersion, InfoThatIsNoPlainFileIsNotWaitedFor) {
    makeFolder(bundle + "/Contents");
    ASSERT_EQ(::mkfifo(host(bundle + "/Contents/Info.plist").c_str(), 0600), 0);
    EXPECT_EQ(versionOfBundle(), std::nullopt);
}
TEST_F(InstalledItemVersion, OnlyAPlainToolIsRead) {
    EXPECT_EQ(versionOfTool(), std::nullopt);
    makeFile(tool, "Limited 1.2");
    EXPECT_EQ(versionOfTool(), (Version{1, 2, 0, 0}));
    makeFile(tool, std::string(1 << 20, '\0') + "Limited 3.4");
    EXPECT_EQ(versionOfTool(), (Version{3, 4, 0, 0}));
    std::filesystem::rename(host(tool), host("/real"));
    std::filesystem::create_symlink(host("/real"), host(tool));
    EXPECT_EQ(versionOfTool(), std::nullopt);
    std::filesystem::remove(host(tool));
    ASSERT_EQ(::mkfifo(host(tool).c_str(), 0600), 0);
    EXPECT_EQ(versionOfTool(), std::nullopt);
}

}  // namespace
}  // namespace quillmore::tests
