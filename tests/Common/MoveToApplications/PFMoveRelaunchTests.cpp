#include <unistd.h>

#include "tests/Common/MoveToApplications/MoveFixture.h"

namespace quillmore::tests {
namespace {

using platform::ProcessRequest;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kImage = "/Volumes/Quillmore 1.15/Quillmore.app";

class MoveRelaunch : public MoveFixture {
protected:
    static std::string relaunch(const std::string& quarantine,
                                const std::string& bundle = kDestination) {
        return "/bin/sh -c (while [ `ps -p " + std::to_string(::getpid()) +
               " | wc -l` -gt 1 ]; do sleep 0.1; done; " + quarantine + " open '" + bundle + "') &";
    }
    static std::string pathOf(const ProcessRequest& request) {
        for (const std::string& entry : request.environment.value_or(std::vector<std::string>()))
            if (entry.starts_with("PATH=")) return entry;
        return "none";
    }
};

TEST_F(MoveRelaunch, ShellWaitsClearsTheQuarantineAndOpensTheCopy) {
    EXPECT_TRUE(moves());
    EXPECT_THAT(services.processes.started,
                ElementsAre(relaunch("/usr/bin/xattr -d -r com.apple.quarantine "
                                     "'/Applications/Quillmore.app';")));
}

TEST_F(MoveRelaunch, Framework949ClearsTheQuarantineOfTheBundleAlone) {
    services.system.frameworkVersion = 949.54;
    makeReadOnly("/Applications");
    EXPECT_TRUE(moves());
    EXPECT_THAT(services.processes.started,
                ElementsAre(relaunch("/usr/bin/xattr -d com.apple.quarantine "
                                     "'/Applications/Quillmore.app';")));
}

TEST_F(MoveRelaunch, Framework824KnowsNoQuarantine) {
    services.system.frameworkVersion = 824.48;
    makeReadOnly("/Applications");
    EXPECT_TRUE(moves());
    EXPECT_THAT(services.processes.started, ElementsAre(relaunch("")));
}

TEST_F(MoveRelaunch, PathIsPutBetweenSingleQuotesWhateverIsInIt) {
    const std::string name = "It's \"$HOME\" `id` \\ %@.app";
    makeApplication("/Applications/" + name);
    startFrom("/Users/jo/Downloads/" + name);
    EXPECT_TRUE(moves());
    const std::string bundle = "/Applications/" + name;
    EXPECT_THAT(services.processes.started,
                ElementsAre(relaunch("/usr/bin/xattr -d -r com.apple.quarantine '" + bundle + "';",
                                     bundle)));
}

TEST_F(MoveRelaunch, SourceIsInTheTrashBeforeTheShellStarts) {
    std::vector<bool> sourceWasThere;
    const auto look = [&](const ProcessRequest&) {
        sourceWasThere.push_back(services.exists(kSource));
    };
    services.processes.teach("/bin/sh", {"", {}, look});
    EXPECT_TRUE(moves());
    EXPECT_THAT(sourceWasThere, ElementsAre(false));
}

TEST_F(MoveRelaunch, NoOtherLauncherMovesUntilThisOneHasEnded) {
    bool lockIsFree = true;
    services.processes.teach(
        "/bin/sh", {"", {}, [&](const ProcessRequest&) { lockIsFree = takeLock().hasValue(); }});
    EXPECT_TRUE(moves());
    EXPECT_FALSE(lockIsFree);
}

TEST_F(MoveRelaunch, ShellFindsTheProgramsOfTheMovedCopyFirst) {
    moves();
    ASSERT_EQ(services.processes.requests.size(), 1U);
    EXPECT_THAT(
        pathOf(services.processes.requests[0]),
        testing::StartsWith("PATH=/Applications/Quillmore.app/Contents/SharedSupport/bin:"));
}

TEST_F(MoveRelaunch, ShellOutlivesTheTerminal) {
    moves();
    ASSERT_EQ(services.processes.requests.size(), 1U);
    const ProcessRequest& request = services.processes.requests[0];
    EXPECT_EQ(request.session, ProcessRequest::Session::own);
    EXPECT_NE(request.standardOutput, ProcessRequest::kInherit);
    EXPECT_NE(request.standardError, ProcessRequest::kInherit);
}

TEST_F(MoveRelaunch, DiskImageIsDetachedAndItsCopyStays) {
    startFrom(kImage);
    makeReadOnly(kImage);
    EXPECT_TRUE(moves());
    EXPECT_THAT(services.workspace.recycled, ElementsAre(kDestination));
    EXPECT_EQ(versionAt(kImage), "new");
    ASSERT_EQ(services.processes.started.size(), 2U);
    EXPECT_EQ(services.processes.started[1],
              "/bin/sh -c (sleep 5 && hdiutil detach '/Volumes/Quillmore 1.15') &");
    EXPECT_THAT(
        pathOf(services.processes.requests[1]),
        testing::StartsWith("PATH=/Applications/Quillmore.app/Contents/SharedSupport/bin:"));
}

TEST_F(MoveRelaunch, WritableVolumeIsNoDiskImage) {
    startFrom(kImage);
    EXPECT_TRUE(moves());
    EXPECT_THAT(services.workspace.recycled, ElementsAre(kDestination, kImage));
    EXPECT_EQ(services.processes.started.size(), 1U);
}

TEST_F(MoveRelaunch, MissingShellEndsTheProcessAllTheSame) {
    services.processes.teach("/bin/sh", {"", {}, [](const ProcessRequest&) {
                                             throw platform::Exception("Fault", "no shell");
                                         }});
    EXPECT_TRUE(moves());
    EXPECT_THAT(errorLines(), ElementsAre(testing::HasSubstr("no shell")));
    EXPECT_EQ(versionAt(kDestination), "new");
}

}  // namespace
}  // namespace quillmore::tests
