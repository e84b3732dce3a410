#include "Platform/Processes/Environment.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>

#include "Platform/Processes/Task.h"

namespace quillmore::tests {
namespace {

using platform::withFolderFirstInPath;
using testing::Contains;
using testing::ElementsAre;

TEST(Environment, IsThatOfThisProcess) {
    ::setenv("QUILLMORE_TEST_VARIABLE", "a=b", 1);
    EXPECT_THAT(platform::environmentOfThisProcess(), Contains("QUILLMORE_TEST_VARIABLE=a=b"));
    ::unsetenv("QUILLMORE_TEST_VARIABLE");
}

TEST(Environment, FolderGoesBeforeThoseOfThePath) {
    EXPECT_THAT(withFolderFirstInPath({"A=1", "PATH=/usr/bin:/bin", "PATHS=x"}, "/b"),
                ElementsAre("A=1", "PATH=/b:/usr/bin:/bin", "PATHS=x"));
}

TEST(Environment, WithoutAPathTheUsualFoldersFollow) {
    EXPECT_THAT(withFolderFirstInPath({"A=1"}, "/b"),
                ElementsAre("A=1", "PATH=/b:/usr/bin:/bin:/usr/sbin:/sbin"));
    EXPECT_THAT(withFolderFirstInPath({"PATH="}, "/b"),
                ElementsAre("PATH=/b:/usr/bin:/bin:/usr/sbin:/sbin"));
}

TEST(Environment, ProgramIsLookedForInEachFolderOfThePath) {
    EXPECT_TRUE(platform::isProgramInPath({"A=1", "PATH=/none:/usr/bin:/bin"}, "sh"));
    EXPECT_TRUE(platform::isProgramInPath({"A=1"}, "sh"));
    EXPECT_FALSE(platform::isProgramInPath({"PATH=/none:/dev"}, "sh"));
    EXPECT_FALSE(platform::isProgramInPath({"PATH=/bin"}, "no such program"));
}

TEST(Environment, FolderIsTakenOutOfAPath) {
    EXPECT_EQ(platform::pathWithoutFolder("/b:/usr/bin:/b:/bin", "/b"), "/usr/bin:/bin");
    EXPECT_EQ(platform::pathWithoutFolder("/bin:/b", "/b"), "/bin");
    EXPECT_EQ(platform::pathWithoutFolder("/b", "/b"), "");
    EXPECT_EQ(platform::pathWithoutFolder("/bin:/bin2", "/b"), "/bin:/bin2");
}

class DetachedTask : public testing::Test {
protected:
    /// What a script says that runs in a prepared task.
    std::string said(platform::Task& task, const std::string& script) {
        platform::Pipe output;
        task.setLaunchPath("/bin/sh");
        task.setArguments({"-c", script});
        task.setStandardOutput(output);
        task.launch();
        std::string text = output.readToEnd();
        task.waitUntilExit();
        return text;
    }
    std::unique_ptr<platform::ProcessSpawner> spawner_ = platform::makePosixProcessSpawner();
};

TEST_F(DetachedTask, ChildHasTheGivenEnvironmentAlone) {
    platform::Task task(*spawner_);
    task.setEnvironment({"A=1", "PATH=/usr/bin:/bin"});
    EXPECT_EQ(said(task, "echo $A-$HOME"), "1-\n");
}

TEST_F(DetachedTask, ChildLeadsASessionOfItsOwnAndReadsAndWritesNothing) {
    platform::Task task(*spawner_);
    task.setDetached();
    const std::string text =
        said(task, "cat; echo lost >&2; [ -c /dev/stdin ] && ps -o sid= -p $$ | tr -d ' '");
    EXPECT_EQ(text, std::to_string(task.processIdentifier()) + "\n");
}

TEST_F(DetachedTask, OrdinaryChildStaysInTheSession) {
    platform::Task task(*spawner_);
    EXPECT_EQ(said(task, "ps -o sid= -p $$ | tr -d ' '"), std::to_string(::getsid(0)) + "\n");
}

}  // namespace
}  // namespace quillmore::tests
