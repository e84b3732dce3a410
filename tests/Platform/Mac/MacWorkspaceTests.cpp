#include "Platform/Mac/MacWorkspace.h"

#include "tests/Platform/Mac/AppleTest.h"
#include "tests/apple/doubles/CoreFoundationDouble.h"

namespace quillmore::tests {
namespace {

using apple::makeArray;
using apple::makeDictionary;
using apple::makeNumber;
using apple::makeString;
using platform::Dictionary;
using testing::ElementsAre;
using testing::IsEmpty;

CFTypeRef makeRecord(const std::string& identifier, std::int64_t process) {
    return makeDictionary({{"NSApplicationBundleIdentifier", makeString(identifier)},
                           {"NSApplicationName", makeString("Some Application")},
                           {"NSApplicationProcessIdentifier", makeNumber(process)}});
}

class MacWorkspace : public AppleTest {
protected:
    /// The array is made of what `make` gives, each time that it is asked for.
    static void running(std::function<std::vector<CFTypeRef>()> make) {
        apple::workspaceDouble().launchedApplications = [make = std::move(make)] {
            return makeArray(make());
        };
    }
    static constexpr const char* kRecycle =
        "performFileOperation: \"recycle\" source: \"/Users/anna/Desktop\" destination: \"\" "
        "files: [\"Old.app\"]";

    platform::MacWorkspace workspace;
};

TEST_F(MacWorkspace, ApplicationsComeInTheWorkspacesOrderWithTheTwoKeys) {
    running([] {
        return std::vector{makeRecord("com.apple.finder", 93), makeRecord("com.apple.iTunes", 81)};
    });
    const Dictionary finder{{"NSApplicationBundleIdentifier", "com.apple.finder"},
                            {"NSApplicationProcessIdentifier", std::int64_t{93}}};
    const Dictionary player{{"NSApplicationBundleIdentifier", "com.apple.iTunes"},
                            {"NSApplicationProcessIdentifier", std::int64_t{81}}};
    EXPECT_THAT(workspace.launchedApplications(), ElementsAre(finder, player));
}

TEST_F(MacWorkspace, ApplicationWithoutAnIdentifierHasNone) {
    running([] {
        return std::vector{makeDictionary({{"NSApplicationProcessIdentifier", makeNumber(7)}})};
    });
    EXPECT_THAT(workspace.launchedApplications(),
                ElementsAre(Dictionary{{"NSApplicationProcessIdentifier", std::int64_t{7}}}));
}

TEST_F(MacWorkspace, EntriesOfOtherTypesAreLeftOut) {
    running([] {
        return std::vector{makeString("no record"),
                           makeDictionary({{"NSApplicationBundleIdentifier", makeNumber(1)},
                                           {"NSApplicationProcessIdentifier", makeString("x")}})};
    });
    EXPECT_THAT(workspace.launchedApplications(), ElementsAre(Dictionary{}));
}

TEST_F(MacWorkspace, IdentifierThatHasNoUtf8IsLeftOut) {
    running([] {
        return std::vector{
            makeDictionary({{"NSApplicationBundleIdentifier", apple::makeStringWithoutUtf8()},
                            {"NSApplicationProcessIdentifier", makeNumber(7)}})};
    });
    EXPECT_THAT(workspace.launchedApplications(),
                ElementsAre(Dictionary{{"NSApplicationProcessIdentifier", std::int64_t{7}}}));
}

TEST_F(MacWorkspace, TextOutsideAsciiSurvives) {
    running([] { return std::vector{makeRecord("com.\xC3\xA9t\xC3\xA9.\xF0\x9F\x8E\x88", 1)}; });
    EXPECT_EQ(platform::stringForKey(workspace.launchedApplications().at(0),
                                     "NSApplicationBundleIdentifier"),
              "com.\xC3\xA9t\xC3\xA9.\xF0\x9F\x8E\x88");
}

TEST_F(MacWorkspace, NoListIsAnEmptyOne) {
    EXPECT_THAT(workspace.launchedApplications(), IsEmpty());
    running([] { return std::vector<CFTypeRef>(); });
    EXPECT_THAT(workspace.launchedApplications(), IsEmpty());
}

TEST_F(MacWorkspace, ApplicationIsLaunchedByItsPath) {
    EXPECT_TRUE(workspace.launchApplication("/System/Library/CoreServices/Finder.app"));
    EXPECT_THAT(calls(),
                ElementsAre("launchApplication: \"/System/Library/CoreServices/Finder.app\""));
}

TEST_F(MacWorkspace, FailedLaunchIsTold) {
    apple::workspaceDouble().launchSucceeds = false;
    EXPECT_FALSE(workspace.launchApplication("/Applications/Missing.app"));
}

TEST_F(MacWorkspace, PathThatIsNilOrNoTextLaunchesNothing) {
    EXPECT_FALSE(workspace.launchApplication(std::nullopt));
    EXPECT_FALSE(workspace.launchApplication("/Applications/\xFF.app"));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MacWorkspace, ItemIsRecycledByTheFileOperation) {
    EXPECT_TRUE(workspace.recycleFile("/Users/anna/Desktop", "Old.app"));
    EXPECT_THAT(calls(), ElementsAre(kRecycle));
}

TEST_F(MacWorkspace, FailedRecyclingIsTold) {
    apple::workspaceDouble().recycleSucceeds = false;
    EXPECT_FALSE(workspace.recycleFile("/Users/anna/Desktop", "Old.app"));
    EXPECT_THAT(calls(), ElementsAre(kRecycle));
}

TEST_F(MacWorkspace, NameThatIsNoneRecyclesNothing) {
    EXPECT_FALSE(workspace.recycleFile("/Users/anna", ""));
    EXPECT_FALSE(workspace.recycleFile("/Users/anna", "Desktop/Old.app"));
    EXPECT_FALSE(workspace.recycleFile("/Users/anna", "\xFF"));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MacWorkspace, WithoutTheClassEveryAnswerIsNo) {
    apple::workspaceDouble().unknownClasses = {"NSWorkspace"};
    EXPECT_THAT(workspace.launchedApplications(), IsEmpty());
    EXPECT_FALSE(workspace.launchApplication("/Applications/A.app"));
    EXPECT_FALSE(workspace.recycleFile("/Applications", "A.app"));
}

TEST_F(MacWorkspace, MessageThatALaterSystemDroppedIsAnsweredWithNo) {
    apple::workspaceDouble().unknownMessages = {
        "launchedApplications",
        "launchApplication:", "performFileOperation:source:destination:files:tag:"};
    EXPECT_THAT(workspace.launchedApplications(), IsEmpty());
    EXPECT_FALSE(workspace.launchApplication("/Applications/A.app"));
    EXPECT_FALSE(workspace.recycleFile("/Applications", "A.app"));
    EXPECT_THAT(calls(), IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
