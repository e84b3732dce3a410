#include "UpdateTool/Packages/InfoPropertyList.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kBundle = kPlugIns + "/QuillmoreCM.plugin";

ZipBuilder plugIn(const std::string& version = "1.15.4", const std::string& build = "1") {
    return ZipBuilder()
        .folder("QuillmoreCM.plugin")
        .folder("QuillmoreCM.plugin/Contents")
        .file("QuillmoreCM.plugin/Contents/Info.plist", infoWithVersion(version, build))
        .folder("QuillmoreCM.plugin/Contents/MacOS")
        .file("QuillmoreCM.plugin/Contents/MacOS/QuillmoreCM", "code", 0104777)
        .file("QuillmoreCM.plugin/Contents/note", "note", 0100755);
}

class UpdateToolZipItems : public UpdateToolMachine {
protected:
    int install(const ZipBuilder& archive, const std::string& path = kBundle) {
        makeSigned("/a.zip", archive, "repairzipitem", path);
        return run({"repairzipitem", "/a.zip", "/a.zip.sig", path});
    }
    /// An archive whose odd entry follows a plain bundle's.
    void expectRefused(const ZipEntry& odd, const std::string& why) {
        EXPECT_EQ(install(plugIn().add(odd)), EX_DATAERR) << why;
        EXPECT_THAT(errors, HasSubstr(why));
        EXPECT_FALSE(exists("/Library"));
    }
    const std::string in = "QuillmoreCM.plugin/";
};

TEST_F(UpdateToolZipItems, BundleIsInstalledWithPlainModes) {
    EXPECT_EQ(install(plugIn()), EX_OK) << errors;
    EXPECT_EQ(modeOf(kBundle), 0755u);
    EXPECT_EQ(modeOf(kBundle + "/Contents"), 0755u);
    EXPECT_EQ(modeOf(kBundle + "/Contents/Info.plist"), 0644u);
    EXPECT_EQ(modeOf(kBundle + "/Contents/MacOS/QuillmoreCM"), 0755u);
    EXPECT_EQ(modeOf(kBundle + "/Contents/note"), 0644u);
    EXPECT_EQ(read(kBundle + "/Contents/MacOS/QuillmoreCM"), "code");
}
TEST_F(UpdateToolZipItems, NothingElseIsLeftInTheFolder) {
    install(plugIn());
    EXPECT_THAT(visibleNames(kPlugIns), ElementsAre("QuillmoreCM.plugin"));
}
TEST_F(UpdateToolZipItems, InstalledBundleIsReplacedWhole) {
    makeFile(kBundle + "/Contents/stale", "stale");
    EXPECT_EQ(install(plugIn()), EX_OK) << errors;
    EXPECT_FALSE(exists(kBundle + "/Contents/stale"));
}
TEST_F(UpdateToolZipItems, EveryAllowedFolderIsAllowedAndNoOther) {
    for (const std::string& place :
         {kPlugIns, kProduct, std::string("/Library/Application Support/SIMBL/Plugins")})
        EXPECT_EQ(install(plugIn(), place + "/QuillmoreCM.plugin"), EX_OK) << place << errors;
    for (const std::string& place :
         {std::string("/etc"), std::string("/Library"), kPlugIns + "/deeper", kPlugIns + "/..",
          std::string("/Applications"), std::string("/library/Contextual Menu Items")})
        EXPECT_EQ(install(plugIn(), place + "/QuillmoreCM.plugin"), EX_USAGE) << place;
}
TEST_F(UpdateToolZipItems, PlacesOfOtherCommandsAreRefused) {
    for (const char* name : {"/updateqm", "/Updateqm", "/Fixes10_5", "/.receipts"})
        EXPECT_EQ(install(plugIn(), kProduct + name), EX_USAGE) << name;
}
TEST_F(UpdateToolZipItems, ArchiveOfAnotherNameIsRefused) {
    EXPECT_EQ(install(plugIn(), kPlugIns + "/Other.plugin"), EX_DATAERR);
    EXPECT_THAT(errors, HasSubstr("holds \"QuillmoreCM.plugin\", not \"Other.plugin\""));
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolZipItems, UnsignedArchiveChangesNothing) {
    makeSigned("/a.zip", plugIn(), "repairzipitem", kBundle);
    makeFile("/a.zip", plugIn("9.9.9").bytes());
    EXPECT_EQ(run({"repairzipitem", "/a.zip", "/a.zip.sig", kBundle}), EX_DATAERR);
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolZipItems, NamesThatLeadElsewhereAreRefused) {
    expectRefused({in + "../../up", "x"}, "leads out");
    expectRefused({"../up", "x"}, "leads out");
    expectRefused({"/etc/passwd", "x"}, "leads out");
    expectRefused({in + "./x", "x"}, "leads out");
    expectRefused({in + "a//x", "x"}, "leads out");
    expectRefused({in + "a\\x", "x"}, "forbidden character");
    expectRefused({in + "a\nx", "x"}, "forbidden character");
    expectRefused({in + "\xc3\xa9", "x"}, "forbidden character");
    expectRefused({in + std::string(237, 'x'), "x"}, "too long a name");
    expectRefused({in + std::string(300, 'x'), "x"}, "invalid name");
    expectRefused({in + std::string("a\0b", 3), "x"}, "invalid name");
    expectRefused({"", "x"}, "has no name");
}
TEST_F(UpdateToolZipItems, EntriesThatMeetOthersAreRefused) {
    expectRefused({in + "Contents/note", "x"}, "is there twice");
    expectRefused({in + "contents/NOTE", "x"}, "no entry for its folder");
    expectRefused({in + "Contents/NOTE", "x"}, "is there twice");
    expectRefused({in + "Contents/note/", ""}, "is there twice");
    expectRefused({in + "Contents/note/x", "x"}, "no entry for its folder");
}
TEST_F(UpdateToolZipItems, EntriesBesideTheOneFolderAreRefused) {
    expectRefused({"Second.plugin/", ""}, "lies beside");
    expectRefused({"file", "x"}, "lies beside");
    expectRefused({".archive", "x"}, "is hidden");
}
TEST_F(UpdateToolZipItems, FileWithoutItsFolderIsRefused) {
    expectRefused({in + "none/x", "x"}, "no entry for its folder");
}
TEST_F(UpdateToolZipItems, LinksDevicesAndEncryptedEntriesAreRefused) {
    expectRefused({in + "x", "/etc", 0120777}, "neither a folder nor a plain file");
    expectRefused({in + "x", "", 0020666}, "neither a folder nor a plain file");
    expectRefused({in + "x", "", 0010666}, "neither a folder nor a plain file");
    expectRefused({in + "x", "", 0040755}, "neither a folder nor a plain file");
    expectRefused({in + "x/", "", 0100755}, "neither a folder nor a plain file");
    expectRefused({in + "x", "x", 0, 1}, "is encrypted");
    expectRefused({in + "x", "x", 0, 0, 99}, "compressed in a way");
    expectRefused({in + "x/", "x"}, "has contents of its own");
}
TEST_F(UpdateToolZipItems, DamagedFileIsNoticedAndNothingInstalled) {
    expectRefused({in + "x", "x", 0, 0, 0, 1}, "is damaged");
    expectRefused({in + "x", "no deflated data", 0, 0, 8}, "is damaged");
    expectRefused({in + "x", "x", 0, 0, 0, 0, 5}, "is damaged");
}
TEST_F(UpdateToolZipItems, EntryThatSaysItIsHugeIsRefused) {
    ZipEntry huge{in + "x", "x", 0, 0, 8};
    huge.sizeError = 0x7fffffff;
    expectRefused(huge, "grows too much");
    EXPECT_EQ(install(plugIn().add(huge).add(huge)), EX_DATAERR);
}
TEST_F(UpdateToolZipItems, FileThatIsNoArchiveIsRefused) {
    makeSigned("/a.zip", std::string("no archive"), "repairzipitem", kBundle);
    EXPECT_EQ(run({"repairzipitem", "/a.zip", "/a.zip.sig", kBundle}), EX_DATAERR);
    EXPECT_EQ(errors, "updateqm: the file is not a ZIP archive\n");
}
TEST_F(UpdateToolZipItems, OlderBundleIsRefused) {
    ASSERT_EQ(install(plugIn("1.15.4", "7")), EX_OK);
    EXPECT_EQ(install(plugIn("1.15.3", "9")), EX_DATAERR);
    EXPECT_EQ(install(plugIn("1.15.4", "6")), EX_DATAERR);
    EXPECT_EQ(install(plugIn("1.15.4", "7")), EX_OK) << errors;
    EXPECT_EQ(install(plugIn("1.15.10", "1")), EX_OK) << errors;
}

TEST_F(UpdateToolZipItems, ArchiveForOnePlaceGoesToNoOther) {
    makeSigned("/a.zip", plugIn(), "repairzipitem", kBundle);
    EXPECT_EQ(run({"repairzipitem", "/a.zip", "/a.zip.sig", kProduct + "/QuillmoreCM.plugin"}),
              EX_DATAERR);
    EXPECT_FALSE(exists("/Library"));
}
TEST_F(UpdateToolZipItems, PathsThatAreTooDeepAreRefused) {
    ZipBuilder archive = plugIn();
    std::string path = "QuillmoreCM.plugin";
    for (int depth = 0; depth < 40; ++depth) archive.folder(path += "/d");
    EXPECT_EQ(install(archive), EX_DATAERR);
    EXPECT_THAT(errors, HasSubstr("lies too deep"));
}
TEST_F(UpdateToolZipItems, VersionOfABinaryPropertyListIsCompared) {
    // CFBundleShortVersionString 1.15.5, CFBundleVersion 1.
    constexpr char kBytes[] =
        "\x62\x70\x6c\x69\x73\x74\x30\x30\xd2\x01\x02\x03\x04\x5f\x10\x1a\x43\x46\x42\x75"
        "\x6e\x64\x6c\x65\x53\x68\x6f\x72\x74\x56\x65\x72\x73\x69\x6f\x6e\x53\x74\x72\x69"
        "\x6e\x67\x5f\x10\x0f\x43\x46\x42\x75\x6e\x64\x6c\x65\x56\x65\x72\x73\x69\x6f\x6e"
        "\x56\x31\x2e\x31\x35\x2e\x35\x51\x31\x08\x0d\x2a\x3c\x43\x00\x00\x00\x00\x00\x00"
        "\x01\x01\x00\x00\x00\x00\x00\x00\x00\x05\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"
        "\x00\x00\x00\x00\x00\x45";
    const std::string binary(kBytes, sizeof kBytes - 1);
    makeFile(kBundle + "/Contents/Info.plist", binary);
    EXPECT_EQ(install(plugIn("1.15.4")), EX_DATAERR);
    EXPECT_EQ(install(plugIn("1.15.5")), EX_OK) << errors;
}

TEST_F(UpdateToolZipItems, VersionOfABundleThatOthersMayWriteIsNotBelieved) {
    makeFile(kBundle + "/Contents/Info.plist", infoWithVersion("9.9.9"));
    makeFolder(kBundle, 0777);
    EXPECT_EQ(install(plugIn("1.15.4")), EX_OK) << errors;
}
TEST_F(UpdateToolZipItems, LongStringsOfABinaryPropertyListAreNotRead) {
    // One string of 4096 characters as key and as value: a list may name it a million times.
    std::string list = "bplist00" + std::string("\xd1\x01\x01\x5f\x11\x10\x00", 7);
    list += std::string(4096, 'x') + std::string("\x08\x0b", 2) + std::string(6, '\0');
    list += std::string("\x01\x01\0\0\0\0\0\0\0\x02\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x10\x0f", 26);
    EXPECT_THAT(updatetool::stringsOfInfo(list), IsEmpty());
    list.replace(11, 4, std::string("\x5f\x11\x04\x00", 4));
    EXPECT_EQ(updatetool::stringsOfInfo(list).count(std::string(1024, 'x')), 1u);
}

class UpdateToolArchives : public UpdateToolMachine {};

TEST_F(UpdateToolArchives, FixesAreUnpackedAsOneFolder) {
    makeSigned("/f.zip", ZipBuilder().folder("One.bundle").file("One.bundle/a", "1").file("b", "2"),
               "repairintel10_5", "Fixes10_5");
    EXPECT_EQ(run({"repairintel10_5", "/f.zip", "/f.zip.sig"}), EX_OK) << errors;
    EXPECT_EQ(read(kProduct + "/Fixes10_5/One.bundle/a"), "1");
    EXPECT_EQ(read(kProduct + "/Fixes10_5/b"), "2");
    EXPECT_THAT(visibleNames(kProduct), ElementsAre("Fixes10_5"));
    EXPECT_THAT(visibleNames(kProduct + "/Fixes10_5"), ElementsAre("One.bundle", "b"));
}
TEST_F(UpdateToolArchives, FixesWithoutAnInstalledOneAreRefused) {
    makeFile(kProduct + "/Fixes10_5/A.bundle/Contents/Info.plist", infoWithVersion("1.0.0"));
    makeSigned("/f.zip", ZipBuilder().file("b", "x"), "repairintel10_5", "Fixes10_5");
    EXPECT_EQ(run({"repairintel10_5", "/f.zip", "/f.zip.sig"}), EX_DATAERR);
    EXPECT_THAT(errors, HasSubstr("\"A.bundle\" has no version; the installed one has"));
    EXPECT_TRUE(exists(kProduct + "/Fixes10_5/A.bundle"));
}
TEST_F(UpdateToolArchives, DamagedFixesLeaveTheInstalledOnes) {
    makeFile(kProduct + "/Fixes10_5/b", "old");
    makeSigned("/f.zip", ZipBuilder().add({"b", "new", 0100644, 0, 0, 1}).file("c", "x"),
               "repairintel10_5", "Fixes10_5");
    EXPECT_EQ(run({"repairintel10_5", "/f.zip", "/f.zip.sig"}), EX_DATAERR);
    EXPECT_EQ(read(kProduct + "/Fixes10_5/b"), "old");
}
TEST_F(UpdateToolArchives, ApplicationIsReplacedWithItsExecutables) {
    makeFile("/Applications/Quillmore.app/old", "old");
    makeSigned("/u.zip",
               ZipBuilder()
                   .folder("Quillmore.app")
                   .file("Quillmore.app/tool", "x", 0100755)
                   .file("Quillmore.app/text", "x", 0100644),
               "applyfullupdate", "/Applications/Quillmore.app");
    EXPECT_EQ(run({"applyfullupdate", "/u.zip", "/u.zip.sig", "/Applications/Quillmore.app"}),
              EX_OK)
        << errors;
    EXPECT_EQ(modeOf("/Applications/Quillmore.app/tool"), 0755u);
    EXPECT_EQ(modeOf("/Applications/Quillmore.app/text"), 0644u);
    EXPECT_FALSE(exists("/Applications/Quillmore.app/old"));
}
TEST_F(UpdateToolArchives, ApplicationsGoDirectlyIntoTheirFolder) {
    for (const char* path : {"/A.app", "/Applications/deeper/A.app", "/Applications/A",
                             "/Applications/../A.app", "/Library/A.app"}) {
        makeSigned("/u.zip", ZipBuilder().folder("A.app").file("A.app/x", "x"), "applyfullupdate",
                   path);
        EXPECT_EQ(run({"applyfullupdate", "/u.zip", "/u.zip.sig", path}), EX_USAGE) << path;
    }
}

}  // namespace
}  // namespace quillmore::tests
