#include "Platform/Processes/ErrorTee.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <fstream>

#include "Platform/Processes/Task.h"
#include "Platform/Values/Exception.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

class ErrorTee : public testing::Test {
protected:
    /// What is kept of a script's words, and what standard error got of them.
    struct Said {
        std::string kept;
        std::string passedOn;
    };
    Said run(const std::string& script) {
        testing::internal::CaptureStderr();
        platform::ErrorTee tee;
        platform::Task task(*spawner_);
        task.setLaunchPath("/bin/sh");
        task.setArguments({"-c", script});
        task.setStandardError(tee.pipe());
        task.launch();
        task.waitUntilExit();
        const std::string kept = tee.take();
        return {kept, testing::internal::GetCapturedStderr()};
    }

    TemporaryFiles disk;

private:
    std::unique_ptr<platform::ProcessSpawner> spawner_ = platform::makePosixProcessSpawner();
};

TEST_F(ErrorTee, WordsArePassedOnAndKept) {
    const Said said = run("echo one >&2; echo two >&2; exit 3");
    EXPECT_EQ(said.kept, "one\ntwo\n");
    EXPECT_EQ(said.passedOn, "one\ntwo\n");
}

TEST_F(ErrorTee, SilenceIsKeptAsNothing) {
    EXPECT_EQ(run("echo out >/dev/null").kept, "");
}

TEST_F(ErrorTee, OfManyWordsAllArePassedOnAndTheLastAreKept) {
    const Said said =
        run("i=0; while [ $i -lt 20000 ]; do i=$((i+1)); echo 1234567; done >&2; "
            "echo the end >&2");
    EXPECT_EQ(said.passedOn.size(), 20000U * 8 + 8);
    EXPECT_EQ(said.kept.size(), platform::ErrorTee::kMostKept);
    EXPECT_TRUE(said.kept.ends_with("1234567\nthe end\n"));
}

TEST_F(ErrorTee, NobodyWaitsForAChildOfTheChild) {
    const std::string wait = disk.host("/wait");
    const std::string gone = disk.host("/gone");
    ::mkfifo(wait.c_str(), 0600);
    ::mkfifo(gone.c_str(), 0600);
    const Said said = run("echo first >&2; { read word; echo later >&2; echo >" + gone + "; } <>" +
                          wait + " >/dev/null &");
    EXPECT_EQ(said.kept, "first\n");
    EXPECT_EQ(said.passedOn, "first\n");
    // It can still speak: the pipe is open for as long as it holds it.
    std::ofstream(wait) << "go\n";
    std::string word = "unread";
    std::ifstream end(gone);
    EXPECT_TRUE(std::getline(end, word));
    EXPECT_EQ(word, "");
}

TEST_F(ErrorTee, ChildThatDoesNotStartSaysNothing) {
    const auto spawner = platform::makePosixProcessSpawner();
    platform::ErrorTee tee;
    platform::Task task(*spawner);
    task.setLaunchPath("/none");
    task.setStandardError(tee.pipe());
    EXPECT_THROW(task.launch(), platform::Exception);
    EXPECT_EQ(tee.take(), "");
}

}  // namespace
}  // namespace quillmore::tests
