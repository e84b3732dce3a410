#include "Platform/Linux/LinuxWorkspace.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/Platform/Linux/FakeProcFolder.h"
#include "tests/fakes/RecordingProblems.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using platform::kApplicationBundleIdentifier;
using platform::kApplicationProcessIdentifier;
using platform::ProcessRequest;
using platform::Value;

class LinuxWorkspace : public testing::Test {
protected:
    void makeBundle(const std::string& path, const Dictionary& information) const {
        makeFile(path + "/Contents/Info.plist", platform::writePropertyList(information), 0644);
    }
    void makeFile(const std::string& path, const std::string& bytes, mode_t mode) const {
        const std::filesystem::path host = root.path() + path;
        std::filesystem::create_directories(host.parent_path());
        FakeProcFolder::write(host, bytes);
        ::chmod(host.c_str(), mode);
    }
    std::vector<std::int64_t> runningProcesses() {
        std::vector<std::int64_t> processes;
        for (const Dictionary& record : workspace.launchedApplications())
            processes.push_back(record.at(kApplicationProcessIdentifier).longLongValue());
        return processes;
    }
    /// Teaches the program at a path to be startable.
    void makeProgram(const std::string& path) {
        makeFile(path, "#!/bin/sh\n", 0755);
        spawner.teach(root.path() + path, {});
    }

    TemporaryFolder root;
    platform::FileManager files{root.path()};
    FakeProcessSpawner spawner;
    FakeProcFolder proc;
    RecordingProblems problems;
    platform::LinuxWorkspace workspace{files, spawner, proc.path(), "", problems};
};

TEST_F(LinuxWorkspace, ApplicationIsListedWithIdentifierAndProcess) {
    makeBundle("/Applications/Mail.app", {{"CFBundleIdentifier", "com.example.mail"}});
    proc.add(31, {.executable = "/Applications/Mail.app/Contents/MacOS/Mail"});
    EXPECT_THAT(
        workspace.launchedApplications(),
        testing::ElementsAre(Dictionary{{kApplicationBundleIdentifier, "com.example.mail"},
                                        {kApplicationProcessIdentifier, std::int64_t{31}}}));
}

TEST_F(LinuxWorkspace, ApplicationsAreListedOldestFirstThenByNumber) {
    proc.add(10, {.executable = "/A.app/Contents/MacOS/A", .startTime = 900});
    proc.add(11, {.executable = "/B.app/Contents/MacOS/B", .startTime = 1000});
    proc.add(12, {.executable = "/C.app/Contents/MacOS/C", .startTime = 99});
    proc.add(9, {.executable = "/D.app/Contents/MacOS/D", .startTime = 900});
    EXPECT_THAT(runningProcesses(), testing::ElementsAre(12, 9, 10, 11));
}

TEST_F(LinuxWorkspace, ProcessesOfOtherUsersAreLeftOut) {
    proc.add(10, {.executable = "/A.app/Contents/MacOS/A", .user = ::getuid() + 1});
    EXPECT_TRUE(workspace.launchedApplications().empty());
}

TEST_F(LinuxWorkspace, ProgramsOutsideABundleAreLeftOut) {
    proc.add(10, {.executable = "/usr/bin/sleep"});
    proc.add(11, {.executable = "/A.app/Contents/Resources/helper"});
    proc.add(12, {.executable = ""});
    EXPECT_TRUE(workspace.launchedApplications().empty());
}

TEST_F(LinuxWorkspace, ReplacedApplicationIsStillListed) {
    makeBundle("/A.app", {{"CFBundleIdentifier", "a"}});
    proc.add(10, {.executable = "/A.app/Contents/MacOS/A (deleted)"});
    ASSERT_THAT(workspace.launchedApplications(), testing::SizeIs(1));
    EXPECT_EQ(workspace.launchedApplications()[0].at(kApplicationBundleIdentifier), Value("a"));
}

TEST_F(LinuxWorkspace, BundleWithoutReadableIdentifierHasNoIdentifierEntry) {
    makeBundle("/A.app", {{"CFBundleIdentifier", std::int64_t{5}}});
    makeFile("/B.app/Contents/Info.plist", "rubbish", 0644);
    proc.add(10, {.executable = "/A.app/Contents/MacOS/A"});
    proc.add(11, {.executable = "/B.app/Contents/MacOS/B"});
    proc.add(12, {.executable = "/Missing.app/Contents/MacOS/C"});
    for (const Dictionary& record : workspace.launchedApplications())
        EXPECT_THAT(record, testing::SizeIs(1));
    EXPECT_THAT(runningProcesses(), testing::ElementsAre(10, 11, 12));
}

TEST_F(LinuxWorkspace, InnermostBundleGivesTheIdentifier) {
    makeBundle("/P.app", {{"CFBundleIdentifier", "outer"}});
    makeBundle("/P.app/Contents/Resources/PCore.app", {{"CFBundleIdentifier", "inner"}});
    proc.add(10, {.executable = "/P.app/Contents/Resources/PCore.app/Contents/MacOS/PCore"});
    ASSERT_THAT(workspace.launchedApplications(), testing::SizeIs(1));
    EXPECT_EQ(workspace.launchedApplications()[0].at(kApplicationBundleIdentifier), Value("inner"));
}

TEST_F(LinuxWorkspace, EveryProcessOfABundleIsListed) {
    makeBundle("/A.app", {{"CFBundleIdentifier", "a"}});
    proc.add(10, {.executable = "/A.app/Contents/MacOS/A"});
    proc.add(11, {.executable = "/A.app/Contents/MacOS/helper"});
    const auto records = workspace.launchedApplications();
    ASSERT_THAT(records, testing::SizeIs(2));
    EXPECT_EQ(records[0].at(kApplicationBundleIdentifier), Value("a"));
    EXPECT_EQ(records[1].at(kApplicationBundleIdentifier), Value("a"));
}

TEST_F(LinuxWorkspace, LaunchOfNilDoesNothing) {
    EXPECT_FALSE(workspace.launchApplication(std::nullopt));
    EXPECT_TRUE(spawner.started.empty());
}

TEST_F(LinuxWorkspace, LaunchOfABundleStartsTheExecutableItNames) {
    makeBundle("/A.app", {{"CFBundleExecutable", "run me"}});
    makeProgram("/A.app/Contents/MacOS/run me");
    EXPECT_TRUE(workspace.launchApplication("/A.app"));
    EXPECT_THAT(spawner.started,
                testing::ElementsAre(root.path() + "/A.app/Contents/MacOS/run me"));
}

TEST_F(LinuxWorkspace, LaunchOfABundleWithoutExecutableNameUsesTheFolderName) {
    makeProgram("/A B.app/Contents/MacOS/A B");
    EXPECT_TRUE(workspace.launchApplication("/A B.app"));
    EXPECT_TRUE(workspace.launchApplication("/A B.app/"));
    EXPECT_THAT(spawner.started, testing::Each(root.path() + "/A B.app/Contents/MacOS/A B"));
}

TEST_F(LinuxWorkspace, LaunchOfAnExecutablePathStartsIt) {
    makeProgram("/A.app/Contents/MacOS/A");
    makeProgram("/odd.app");  // a file, not a bundle
    EXPECT_TRUE(workspace.launchApplication("/A.app/Contents/MacOS/A"));
    EXPECT_TRUE(workspace.launchApplication("/odd.app"));
    EXPECT_THAT(spawner.started, testing::ElementsAre(root.path() + "/A.app/Contents/MacOS/A",
                                                      root.path() + "/odd.app"));
}

TEST_F(LinuxWorkspace, LaunchedApplicationHasItsOwnSessionNoStreamsAndIsAbandoned) {
    makeProgram("/A.app/Contents/MacOS/A");
    ASSERT_TRUE(workspace.launchApplication("/A.app"));
    const ProcessRequest& request = spawner.requests.at(0);
    EXPECT_EQ(request.session, ProcessRequest::Session::own);
    EXPECT_GE(request.standardInput, 0);
    EXPECT_GE(request.standardOutput, 0);
    EXPECT_GE(request.standardError, 0);
    EXPECT_TRUE(request.arguments.empty());
    EXPECT_THAT(spawner.abandoned, testing::SizeIs(1));
}

TEST_F(LinuxWorkspace, LaunchOfWhatIsNoRegularExecutableFails) {
    makeFile("/plain", "text", 0644);
    makeFile("/A.app/Contents/MacOS/A", "text", 0644);
    std::filesystem::create_directories(root.path() + "/folder");
    ASSERT_EQ(::mkfifo((root.path() + "/fifo").c_str(), 0755), 0);
    for (const char* path :
         {"/plain", "/A.app", "/folder", "/fifo", "/missing", "/missing.app", ""})
        EXPECT_FALSE(workspace.launchApplication(path)) << path;
    EXPECT_TRUE(spawner.started.empty());
}

TEST_F(LinuxWorkspace, LaunchOfABundleWhoseExecutableNameLeavesItFails) {
    makeBundle("/A.app", {{"CFBundleExecutable", "../../../program"}});
    makeProgram("/A.app/Contents/MacOS/A");
    makeProgram("/program");
    EXPECT_FALSE(workspace.launchApplication("/A.app"));
}

TEST_F(LinuxWorkspace, PartOfMacOSThatThisSystemHasNotIsNotMissed) {
    const std::string finder = "/System/Library/CoreServices/Finder.app";
    EXPECT_TRUE(workspace.launchApplication(finder));
    EXPECT_TRUE(spawner.started.empty());
    EXPECT_THAT(
        problems.takeNotes(),
        testing::ElementsAre("\"" + finder + "\": this system has none - nothing is launched"));
}

TEST_F(LinuxWorkspace, PartOfMacOSThatIsThereAndCannotBeStartedFails) {
    makeBundle("/System/Library/CoreServices/Finder.app", {});
    EXPECT_FALSE(workspace.launchApplication("/System/Library/CoreServices/Finder.app"));
    EXPECT_FALSE(workspace.launchApplication("/System/Finder.app")) << "not a part of it";
    EXPECT_THAT(problems.takeNotes(), testing::IsEmpty());
}

TEST_F(LinuxWorkspace, LaunchThatTheSystemRefusesFails) {
    makeFile("/A.app/Contents/MacOS/A", "not taught to the spawner, which raises", 0755);
    EXPECT_FALSE(workspace.launchApplication("/A.app"));
    EXPECT_THAT(spawner.started, testing::SizeIs(1));
}

}  // namespace
}  // namespace quillmore::tests
