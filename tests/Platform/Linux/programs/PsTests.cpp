// The bundle's own ps, run for real beside processes of the test's own, and as the shell lines that
// look for a running core call it.
#include <gmock/gmock.h>
#include <sys/prctl.h>

#include <csignal>
#include <filesystem>

#include "Platform/Processes/Environment.h"
#include "Platform/Processes/Task.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kUmlauts = "Sch\xc3\xb6ne \xc3\x84pfel";

class Ps : public testing::Test {
protected:
    ~Ps() override {
        for (const pid_t process : running_) {
            ::kill(process, SIGKILL);
            spawner_->wait(process);
        }
    }
    /// A process that runs until the end of the test.
    pid_t start(const std::string& name, const std::vector<std::string>& arguments = {"600"}) {
        platform::ProcessRequest request;
        request.launchPath = disk.host("/" + name);
        request.arguments = arguments;
        running_.push_back(spawner_->spawn(request));
        return running_.back();
    }
    pid_t startProgram(const std::string& name) {
        std::filesystem::copy_file("/bin/sleep", disk.host("/" + name));
        return start(name);
    }
    /// A script that says in a FIFO that it runs, and goes on waiting.
    void startScript(const std::string& name, const std::string& body) {
        ::mkfifo(disk.host("/runs").c_str(), 0600);
        disk.makeFile("/" + name, body, 0755);
        start(name, {disk.host("/runs")});
        std::ifstream said(disk.host("/runs"));
        std::string word;
        said >> word;
        ASSERT_EQ(word, "runs");
    }

    struct Ended {
        int status;
        std::string output;
    };
    Ended shell(const std::string& line, const std::string& path = QUILLMORE_TEST_PROGRAMS) const {
        platform::Task task(*spawner_);
        platform::Pipe output;
        task.setLaunchPath("/bin/sh");
        task.setArguments({"-c", line});
        auto environment = platform::environmentOfThisProcess();
        task.setEnvironment(platform::withFolderFirstInPath(std::move(environment), path));
        task.setStandardOutput(output);
        task.launch();
        const std::string text = output.readToEnd();
        task.waitUntilExit();
        return {task.terminationStatus(), text};
    }
    /// Whether a line of the table is the name, exactly.
    bool isInTable(const std::string& name) const {
        return ("\n" + shell("ps ax -o comm").output).find("\n" + name + "\n") != std::string::npos;
    }
    bool isFoundByTheShellLine(const std::string& name) const {
        return shell("ps ax -o comm | fgrep '" + name +
                     "' | grep -v grep | grep -v relaunchqm > /dev/null")
                   .status == 0;
    }

    TemporaryFiles disk;

private:
    std::unique_ptr<platform::ProcessSpawner> spawner_ = platform::makePosixProcessSpawner();
    std::vector<pid_t> running_;
};

TEST_F(Ps, NameOfEveryLengthIsWhole) {
    for (const std::size_t length : {1U, 2U, 11U, 14U, 15U, 16U, 17U, 31U, 32U, 63U, 64U}) {
        const std::string name = std::string(length - 1, 'x') + "Y";
        startProgram(name);
        EXPECT_TRUE(isInTable(name)) << length;
    }
}

TEST_F(Ps, ShellLineFindsNamesWithBlanksUmlautsAndMarks) {
    for (const std::string& product :
         {std::string("Two Words And More"), std::string(kUmlauts),
          std::string("100% of %s and %@"), std::string("Say \"hello\" to all"),
          std::string("Back\\slash $HOME `id`"), std::string("a.*[b]^c of a pattern")}) {
        EXPECT_FALSE(isFoundByTheShellLine(product + "Core")) << product;
        startProgram(product + "Core");
        EXPECT_TRUE(isFoundByTheShellLine(product + "Core")) << product;
    }
}

TEST_F(Ps, ShellLineDoesNotFindWhatOnlyBeginsLikeTheName) {
    startProgram("AcmeLongProductLauncher");
    EXPECT_FALSE(isFoundByTheShellLine("AcmeLongProductCore"));
}

TEST_F(Ps, ScriptHasItsOwnNameNotItsInterpreters) {
    startScript("AcmeLongProductCore", "#!/bin/sh\necho runs >$1\nread word <$1\n");
    EXPECT_TRUE(isInTable("AcmeLongProductCore"));
}

TEST_F(Ps, ScriptOfAnInterpreterWithAnOptionHasItsOwnName) {
    startScript("AcmeLongProductCore", "#!/bin/sh -u\necho runs >$1\nread word <$1\n");
    EXPECT_TRUE(isInTable("AcmeLongProductCore"));
}

TEST_F(Ps, NameHoldsTheLineTogether) {
    startProgram("Two\nLines");
    EXPECT_TRUE(isInTable("Two?Lines"));
}

TEST_F(Ps, ProcessThatEndedWithoutBeingWaitedForKeepsItsName) {
    std::filesystem::copy_file("/bin/true", disk.host("/ended"));
    const pid_t process = start("ended", {});
    siginfo_t ignored;
    ::waitid(P_PID, static_cast<id_t>(process), &ignored, WEXITED | WNOWAIT);
    EXPECT_TRUE(isInTable("ended"));
}

TEST_F(Ps, ProgramThatWasRemovedKeepsItsName) {
    startProgram("AcmeLongProductCore");
    std::filesystem::remove(disk.host("/AcmeLongProductCore"));
    EXPECT_TRUE(isInTable("AcmeLongProductCore"));
}

TEST_F(Ps, OneProcessIsTwoLinesAndAMissingOneIsOne) {
    const std::string process = std::to_string(startProgram("AcmeLongProductCore"));
    EXPECT_THAT(shell("ps -p " + process).output, HasSubstr(process + " AcmeLongProductCore\n"));
    EXPECT_EQ(shell("[ `ps -p " + process + " | wc -l` -gt 1 ]").status, 0);
    EXPECT_EQ(shell("[ `ps -p 2147483647 | wc -l` -gt 1 ]").status, 1);
}

TEST_F(Ps, OtherArgumentsAreForTheSystemsOwn) {
    disk.makeFile("/bin/ps", "#!/bin/sh\necho system: $*\n", 0755);
    const std::string path = std::string(QUILLMORE_TEST_PROGRAMS) + ":" + disk.host("/bin");
    EXPECT_EQ(shell("ps -ef", path).output, "system: -ef\n");
    EXPECT_EQ(shell("ps -p 1x", path).output, "system: -p 1x\n");
}

TEST_F(Ps, WithoutTheSystemsOwnItSaysSo) {
    const Ended ended = shell("PATH=" QUILLMORE_TEST_PROGRAMS "; ps -ef 2>&1");
    EXPECT_EQ(ended.status, 127);
    EXPECT_EQ(ended.output, "ps: the system's own: No such file or directory\n");
}

}  // namespace
}  // namespace quillmore::tests
