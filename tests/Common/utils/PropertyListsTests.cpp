#include "Common/utils/PropertyLists.h"

#include <sys/stat.h>

#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using testing::MatchesRegex;

class PropertyLists : public LogTest {
protected:
    /// Reads, expects nothing, and gives what was logged as an error.
    static std::string complaintAbout(const std::string& path, Damage damage = Damage::isReported) {
        CapturedOutput captured;
        EXPECT_EQ(dictionaryWithContentsOfFile(path, damage), std::nullopt);
        return captured.take().standardError;
    }
};

TEST_F(PropertyLists, DictionaryIsRead) {
    services.makePropertyList("/tmp/a.plist", platform::Dictionary{{"Key", "text"}});
    EXPECT_EQ(dictionaryWithContentsOfFile("/tmp/a.plist"),
              (platform::Dictionary{{"Key", "text"}}));
}

TEST_F(PropertyLists, EmptyDictionaryIsADictionary) {
    services.makePropertyList("/tmp/a.plist", platform::Dictionary{});
    EXPECT_EQ(dictionaryWithContentsOfFile("/tmp/a.plist"), platform::Dictionary{});
}

TEST_F(PropertyLists, MissingFileIsNeverLogged) {
    EXPECT_EQ(complaintAbout("/tmp/none.plist"), "");
    EXPECT_EQ(complaintAbout("/none/none.plist"), "");
    services.makeFile("/tmp/file", "");
    EXPECT_EQ(complaintAbout("/tmp/file/none.plist"), "");
}

TEST_F(PropertyLists, DamagedFileIsLoggedOnceWithItsName) {
    services.makeFile("/tmp/a.plist", "<?xml version=\"1.0\"?><plist><dict><key>");
    EXPECT_THAT(complaintAbout("/tmp/a.plist"),
                MatchesRegex("[^\n]*\\(ERR\\) \\[0x1a2b\\] Failed to read property list "
                             "\"/tmp/a.plist\" \\([^\n]+\\)\n"));
}

TEST_F(PropertyLists, EmptyFileAndFolderAreLogged) {
    services.makeFile("/tmp/a.plist", "");
    EXPECT_THAT(complaintAbout("/tmp/a.plist"), testing::HasSubstr("\"/tmp/a.plist\" ("));
    EXPECT_THAT(complaintAbout("/tmp"), testing::HasSubstr("\"/tmp\" ("));
}

TEST_F(PropertyLists, ListThatIsNoDictionaryIsLogged) {
    services.makePropertyList("/tmp/a.plist", platform::Array{"text"});
    EXPECT_EQ(complaintAbout("/tmp/a.plist"),
              line("(ERR)", "Failed to read property list \"/tmp/a.plist\" (not a dictionary)"));
}

TEST_F(PropertyLists, PipeDoesNotHang) {
    ASSERT_EQ(::mkfifo(services.host("/tmp/pipe.plist").c_str(), 0600), 0);
    EXPECT_THAT(complaintAbout("/tmp/pipe.plist"), testing::HasSubstr("\"/tmp/pipe.plist\" ("));
}

TEST_F(PropertyLists, SilentReadersLogNothing) {
    services.makeFile("/tmp/a.plist", "damaged");
    services.makePropertyList("/tmp/b.plist", platform::Array{});
    EXPECT_EQ(complaintAbout("/tmp/a.plist", Damage::isIgnored), "");
    EXPECT_EQ(complaintAbout("/tmp/b.plist", Damage::isIgnored), "");
}

}  // namespace
}  // namespace quillmore::tests
