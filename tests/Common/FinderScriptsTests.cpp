#include "Common/FinderScripts.h"

#include <gtest/gtest.h>

namespace quillmore::tests {
namespace {

TEST(FinderScripts, SelectionScriptIsByteForByte) {
    EXPECT_EQ(selectionScript(),
              "\x09\x09\x09\x20tell application \"Finder\"\x0A"
              "\x09\x09\x09\x20set alist to selection as alias list\x0A"
              "\x09\x09\x09\x20set plist to {}\x0A"
              "\x09\x09\x09\x20repeat with afile in alist\x0A"
              "\x09\x09\x09\x20set end of plist to (POSIX path of (afile as text))\x0A"
              "\x09\x09\x09\x20"
              "end repeat\x0A"
              "\x09\x09\x09\x20"
              "end tell\x0A"
              "\x09\x09\x09\x20return plist");
}

TEST(FinderScripts, RetryScriptIsByteForByte) {
    EXPECT_EQ(
        retrySelectionScript("Acme"),
        R"(									  tell application "AcmeCore"
									  activate
									  end tell
									  tell application "Finder"
									  activate
									  set alist to selection as alias list
									  set plist to {}
									  repeat with afile in alist
									  set end of plist to (POSIX path of (afile as text))
									  end repeat
									  end tell
									  return plist)");
}

TEST(FinderScripts, ProductNameGoesIntoTheRetryScriptAsItIs) {
    EXPECT_TRUE(retrySelectionScript("A \"%@\" \\")
                    .starts_with("\t\t\t\t\t\t\t\t\t  tell application \"A \"%@\" \\Core\"\n"));
}

TEST(FinderScripts, ConnectedServersScriptIsByteForByte) {
    EXPECT_EQ(showConnectedServersScript(), R"(on run argv
tell application "Finder"
return desktop shows connected servers of Finder preferences
end tell
end run
)");
}

TEST(FinderScripts, SettingConnectedServersIsByteForByte) {
    EXPECT_EQ(setShowConnectedServersScript(true), R"(on run argv
tell application "Finder"
set desktop shows connected servers of Finder preferences to true
end tell
end run
)");
    EXPECT_EQ(setShowConnectedServersScript(false), R"(on run argv
tell application "Finder"
set desktop shows connected servers of Finder preferences to false
end tell
end run
)");
}

TEST(FinderScripts, UpdateScriptIsByteForByte) {
    EXPECT_EQ(updateFileScript("/Users/jo/a file"), R"(tell application "Finder"
set fileAlias to POSIX file "/Users/jo/a file"
update fileAlias
end tell)");
}

TEST(FinderScripts, PathGoesInWithoutQuoting) {
    EXPECT_EQ(updateFileScript("/a\"b\\c%@"),
              "tell application \"Finder\"\nset fileAlias to POSIX file \"/a\"b\\c%@\"\n"
              "update fileAlias\nend tell");
}

}  // namespace
}  // namespace quillmore::tests
