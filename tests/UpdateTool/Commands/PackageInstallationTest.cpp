#include "tests/UpdateTool/Packages/FlatPackageBuilder.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

#ifndef __APPLE__

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kInstalled = "/Library/Filesystems/QuillmoreFS.fs";

class UpdateToolPackages : public UpdateToolMachine {
protected:
    int install(const std::string& bytes) {
        makeSigned("/a.pkg", bytes, "repairpackage", "");
        return run({"repairpackage", "/a.pkg"});
    }
    void expectRefused(const PackedItem& odd, const std::string& why) {
        std::vector<PackedItem> items = fileSystem();
        items.push_back(odd);
        EXPECT_EQ(install(flatPackage(items)), EX_DATAERR) << why;
        EXPECT_THAT(errors, HasSubstr(why));
        EXPECT_FALSE(exists("/Library"));
    }
    const std::string in = "./QuillmoreFS.fs/";
};

TEST_F(UpdateToolPackages, PayloadIsInstalledAtItsLocation) {
    EXPECT_EQ(install(flatPackage(fileSystem())), EX_OK) << errors;
    EXPECT_EQ(read(kInstalled + "/mount"), "code");
    EXPECT_THAT(visibleNames("/Library/Filesystems"), ElementsAre("QuillmoreFS.fs"));
}
TEST_F(UpdateToolPackages, ModesArePlainWithoutSetUserId) {
    EXPECT_EQ(install(flatPackage(fileSystem())), EX_OK) << errors;
    EXPECT_EQ(modeOf(kInstalled), 0755u);
    EXPECT_EQ(modeOf(kInstalled + "/mount"), 0755u);
    EXPECT_EQ(modeOf(kInstalled + "/Contents/Info.plist"), 0644u);
}
TEST_F(UpdateToolPackages, LinksInsideThePayloadAreKept) {
    EXPECT_EQ(install(flatPackage(fileSystem())), EX_OK) << errors;
    EXPECT_EQ(std::filesystem::read_symlink(host(kInstalled + "/Current")), "Contents/Info.plist");
}
TEST_F(UpdateToolPackages, FrameworksAreAllowedAndOtherPlacesAreNot) {
    EXPECT_EQ(install(flatPackage(fileSystem(), "/Library/Frameworks")), EX_OK) << errors;
    for (const char* place :
         {"/", "", "/etc", "/Library", "/Library/Filesystems/", "/Library/Filesystems/../../etc"}) {
        EXPECT_EQ(install(flatPackage(fileSystem(), place)), EX_DATAERR) << place;
        EXPECT_THAT(errors, HasSubstr("may not be installed at"));
    }
}
TEST_F(UpdateToolPackages, SignatureLiesBesideThePackage) {
    makeFile("/a.pkg", flatPackage(fileSystem()));
    EXPECT_EQ(run({"repairpackage", "/a.pkg"}), EX_NOINPUT);
    EXPECT_THAT(errors, HasSubstr("cannot open \"/a.pkg.sig\""));
}
TEST_F(UpdateToolPackages, ChangedPackageChangesNothing) {
    makeSigned("/a.pkg", flatPackage(fileSystem()), "repairpackage", "");
    makeFile("/a.pkg", flatPackage(fileSystem("9.9.9")));
    EXPECT_EQ(run({"repairpackage", "/a.pkg"}), EX_DATAERR);
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolPackages, FileThatIsNoPackageIsRefused) {
    EXPECT_EQ(install("no package"), EX_DATAERR);
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolPackages, PackageWithoutItsPartsIsRefused) {
    EXPECT_EQ(install(packItems({{"PackageInfo", "<pkg-info/>"}}, archive_write_set_format_xar,
                                archive_write_add_filter_none)),
              EX_DATAERR);
    EXPECT_THAT(errors, HasSubstr("no PackageInfo or no Payload"));
}
TEST_F(UpdateToolPackages, NamesThatLeadElsewhereAreRefused) {
    expectRefused({in + "../../up", "x"}, "leads out");
    expectRefused({"/etc/passwd", "x"}, "leads out");
    expectRefused({in + "Contents/info.PLIST", "x"}, "is there twice");
    expectRefused({in + "none/x", "x"}, "no entry for its folder");
    expectRefused({in + std::string(241, 'x'), "x"}, "too long a name");
    expectRefused({"./Second.fs", "", kFolder}, "lies beside");
}
TEST_F(UpdateToolPackages, LinksThatLeadOutAreRefused) {
    for (const char* target : {"/etc", "..", "Contents/../../x", "../../x", "a//b"})
        expectRefused({in + "link", target, AE_IFLNK | 0777}, "link inside the package");
}
TEST_F(UpdateToolPackages, NothingIsWrittenThroughALink) {
    expectRefused({in + "Current/x", "x"}, "no entry for its folder");
}
TEST_F(UpdateToolPackages, DevicesAndFifosAreRefused) {
    expectRefused({in + "device", "", AE_IFCHR | 0666}, "no folder, plain file");
    expectRefused({in + "fifo", "", AE_IFIFO | 0666}, "no folder, plain file");
}
TEST_F(UpdateToolPackages, OlderPackageIsRefused) {
    ASSERT_EQ(install(flatPackage(fileSystem("1.2.0"))), EX_OK);
    EXPECT_EQ(install(flatPackage(fileSystem("1.1.9"))), EX_DATAERR);
    EXPECT_EQ(errors, "updateqm: \"QuillmoreFS.fs\" is older than the installed one\n");
    EXPECT_EQ(install(flatPackage(fileSystem("1.2.1"))), EX_OK) << errors;
}
TEST_F(UpdateToolPackages, NameThatIsNotPlainIsRefused) {
    for (const char* name : {"./semi;colon.fs", "./-option.fs", "./_x.fs"}) {
        EXPECT_EQ(install(flatPackage({{".", "", kFolder}, {name, "", kFolder}})), EX_USAGE)
            << name;
        EXPECT_THAT(errors, HasSubstr("is not allowed"));
        EXPECT_FALSE(exists("/Library"));
    }
}
TEST_F(UpdateToolPackages, EmptyPayloadIsRefused) {
    EXPECT_EQ(install(flatPackage({{".", "", kFolder}})), EX_DATAERR);
    EXPECT_THAT(errors, HasSubstr("empty"));
}

}  // namespace
}  // namespace quillmore::tests

#endif
