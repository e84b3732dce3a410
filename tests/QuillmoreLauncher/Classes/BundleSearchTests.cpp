#include "QuillmoreLauncher/Classes/BundleSearch.h"

#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BundleSearch : public LauncherFixture {
protected:
    void makeBundle(const std::string& path, const std::string& identifier = "wanted") {
        services.makePropertyList(path + "/Contents/Info.plist",
                                  platform::Dictionary{{"CFBundleIdentifier", identifier}});
    }
    void makeLink(const std::string& path, const std::string& target) {
        std::filesystem::create_symlink(target, services.host(path));
    }
    static std::vector<std::string> found() { return bundlesWithIdentifier("wanted", "/A"); }
};

TEST_F(BundleSearch, FindsInTheOrderOfTheListing) {
    makeBundle("/A/b.app");
    makeBundle("/A/a.app");
    EXPECT_THAT(found(), ElementsAre("/A/a.app", "/A/b.app"));
}

TEST_F(BundleSearch, ComparesIdentifiersExactly) {
    makeBundle("/A/a.app", "Wanted");
    makeBundle("/A/b.app", "wanted.too");
    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(BundleSearch, TheExtensionMayBeInAnyCase) {
    makeBundle("/A/Old.APP");
    EXPECT_THAT(found(), ElementsAre("/A/Old.APP"));
}

TEST_F(BundleSearch, DescendsIntoPlainFolders) {
    makeBundle("/A/one/two/c.app");
    EXPECT_THAT(found(), ElementsAre("/A/one/two/c.app"));
}

TEST_F(BundleSearch, NeverLooksInsideABundle) {
    makeBundle("/A/outer.app", "other");
    makeBundle("/A/outer.app/Contents/inner.app");
    makeBundle("/A/match.app");
    makeBundle("/A/match.app/inner.app");
    EXPECT_THAT(found(), ElementsAre("/A/match.app"));
}

TEST_F(BundleSearch, NamesWithAnEarlierExtensionAreFolders) {
    makeBundle("/A/a.app.app");
    makeBundle("/A/x.app.old");
    makeBundle("/A/x.app.old/inner.app");
    EXPECT_THAT(found(), ElementsAre("/A/x.app.old/inner.app"));
}

TEST_F(BundleSearch, JudgesNamesByTheFirstExtension) {
    for (const char* name : {".app", "a.app", "a.ApP", "a b.app"})
        EXPECT_TRUE(isApplicationBundleName(name)) << name;
    for (const char* name : {"", "app", "a.ap", "a.app.app", "a.APPx.app", "a.application"})
        EXPECT_FALSE(isApplicationBundleName(name)) << name;
}

TEST_F(BundleSearch, LinksToFoldersCountAsFolders) {
    makeBundle("/elsewhere/c.app");
    services.makeFolder("/A");
    makeLink("/A/link", services.host("/elsewhere"));
    EXPECT_THAT(found(), ElementsAre("/A/link/c.app"));
}

TEST_F(BundleSearch, LinkToABundleIsABundle) {
    makeBundle("/elsewhere/c.app");
    services.makeFolder("/A");
    makeLink("/A/d.app", services.host("/elsewhere/c.app"));
    EXPECT_THAT(found(), ElementsAre("/A/d.app"));
}

TEST_F(BundleSearch, LoopsOfLinksEnd) {
    makeBundle("/A/one/c.app");
    makeLink("/A/one/up", "..");
    makeLink("/A/self", ".");
    makeLink("/A/nowhere", "nowhere");
    EXPECT_THAT(found(), ElementsAre("/A/one/c.app"));
}

TEST_F(BundleSearch, FolderIsListedUnderEveryNameThatItHas) {
    makeBundle("/A/one/c.app");
    makeLink("/A/two", "one");
    makeLink("/A/three", "one");
    EXPECT_THAT(found(), ElementsAre("/A/one/c.app", "/A/three/c.app", "/A/two/c.app"));
}

TEST_F(BundleSearch, FoldersThatPointAtEachOtherEnd) {
    for (const char* from : {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"}) {
        services.makeFolder(std::string("/A/") + from);
        for (const char* to : {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"})
            makeLink(std::string("/A/") + from + "/" + to, std::string("../") + to);
    }
    makeBundle("/A/z/c.app");
    logLines();
    found();
    EXPECT_THAT(logLines(), ElementsAre(testing::HasSubstr("too many folders")));
}

TEST_F(BundleSearch, VeryDeepFoldersAreCut) {
    std::string folder = "/A";
    for (int i = 0; i < kMaximumSearchDepth + 5; ++i) folder += "/d";
    makeBundle(folder + "/c.app");
    makeBundle("/A/x.app");
    logLines();
    EXPECT_THAT(found(), ElementsAre("/A/x.app"));
    EXPECT_EQ(logLines().size(), 1U);
}

TEST_F(BundleSearch, MissingFolderHasNoEntries) {
    EXPECT_THAT(bundlesWithIdentifier("wanted", "/none"), IsEmpty());
}

TEST_F(BundleSearch, UnreadableFolderHasNoEntries) {
    if (::geteuid() == 0) GTEST_SKIP() << "root reads every folder";
    makeBundle("/A/locked/c.app");
    makeBundle("/A/z.app");
    ::chmod(services.host("/A/locked").c_str(), 0);
    EXPECT_THAT(found(), ElementsAre("/A/z.app"));
    ::chmod(services.host("/A/locked").c_str(), 0755);
}

TEST_F(BundleSearch, OddInformationFilesAreNoMatchAndNotComplainedAbout) {
    services.makeFolder("/A/folder.app/Contents/Info.plist");
    services.makeFolder("/A/fifo.app/Contents");
    ASSERT_EQ(::mkfifo(services.host("/A/fifo.app/Contents/Info.plist").c_str(), 0644), 0);
    services.makeFile("/A/huge.app/Contents/Info.plist", "<plist>");
    std::filesystem::resize_file(services.host("/A/huge.app/Contents/Info.plist"), 1ULL << 30);
    services.makeFile("/A/broken.app/Contents/Info.plist", "<plist><dict>");
    services.makeFile("/A/plain.app", "a file");
    services.makePropertyList("/A/number.app/Contents/Info.plist",
                              platform::Dictionary{{"CFBundleIdentifier", 5}});
    makeBundle("/A/z.app");
    logLines();
    EXPECT_THAT(found(), ElementsAre("/A/z.app"));
    EXPECT_THAT(logLines(), IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
