// The privileged program itself, run without privileges by a launcher that is not to be trusted.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sysexits.h>

#include <csignal>

#include "Platform/Files/Pipe.h"
#include "Platform/Linux/AdministratorProtocol.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "tests/fakes/TemporaryRoot.h"

namespace quillmore::tests {
namespace {

using namespace platform::administrator;
using platform::ProcessEnd;
using platform::ProcessRequest;

class AdministratorProgram : public testing::Test {
protected:
    ~AdministratorProgram() override {
        sockets.launchers.reset();
        if (process > 0) spawner->wait(process);
    }
    void start() {
        ProcessRequest request;
        request.launchPath = QUILLMORE_TEST_PROGRAM;
        request.standardInput = sockets.programs.get();
        process = spawner->spawn(request);
        sockets.programs.reset();
        const auto answer = receiveAnswer(launchers());
        ASSERT_TRUE(answer && answer->kind == Answer::Kind::ready);
    }
    int launchers() const { return sockets.launchers.get(); }
    ProcessEnd end() { return spawner->wait(std::exchange(process, 0)); }
    Answer answerTo(const std::vector<std::string>& words, const std::vector<int>& streams = {}) {
        EXPECT_TRUE(sendCommand(launchers(), words, streams));
        for (;;) {
            const auto answer = receiveAnswer(launchers());
            EXPECT_TRUE(answer) << words.front();
            if (!answer) return {};
            if (answer->kind == Answer::Kind::started || answer->kind == Answer::Kind::refused)
                return *answer;
        }
    }
    /// Of a tool whose output is handed over.
    std::string outputOf(const std::vector<std::string>& words) {
        platform::Pipe pipe;
        EXPECT_EQ(answerTo(words, {0, pipe.writeEnd().get(), 2}).kind, Answer::Kind::started);
        pipe.writeEnd().reset();
        return pipe.readToEnd();
    }

    SocketPair sockets = makeSocketPair();
    std::unique_ptr<platform::ProcessSpawner> spawner = platform::makePosixProcessSpawner();
    pid_t process = 0;
};

TEST_F(AdministratorProgram, ProgramThatNoLauncherStartedEnds) {
    for (const char* input : {"/dev/null", "/bin"}) {
        ProcessRequest request;
        request.launchPath = QUILLMORE_TEST_PROGRAM;
        const platform::FileDescriptor opened(::open(input, O_RDONLY | O_CLOEXEC));
        request.standardInput = opened.get();
        EXPECT_EQ(spawner->wait(spawner->spawn(request)).value, EX_USAGE) << input;
    }
}

TEST_F(AdministratorProgram, WordsThatAreInNoTableAreRefusedAndTheProgramGoesOn) {
    start();
    const std::vector<std::vector<std::string>> refused = {
        {"chmod", "/x"},       {"Remove", "/x"}, {""},   {kRemove},
        {kRemove, "/x", "/y"}, {kCopy, "/x"},    {kRun}, {kRun, "relative/path"}};
    for (const auto& words : refused)
        EXPECT_EQ(answerTo(words).kind, Answer::Kind::refused) << words.front();
    EXPECT_EQ(answerTo({kRemove, "/nowhere/at/all"}).kind, Answer::Kind::started);
}

TEST_F(AdministratorProgram, StreamsBelongToARunAndToNothingElse) {
    start();
    EXPECT_EQ(answerTo({kRun, "/bin/true"}).kind, Answer::Kind::refused);
    EXPECT_EQ(answerTo({kRemove, "/nowhere"}, {0, 1, 2}).kind, Answer::Kind::refused);
}

TEST_F(AdministratorProgram, MessageThatIsNoneEndsIt) {
    start();
    ASSERT_EQ(::send(launchers(), "no end", 6, 0), 6);
    EXPECT_FALSE(receiveAnswer(launchers()));
    EXPECT_EQ(end().value, 0);
}

TEST_F(AdministratorProgram, LauncherThatGoesEndsItOnceTheToolHasEnded) {
    start();
    const TemporaryFolder folder;
    const std::string mark = folder.path() + "/mark";
    platform::Pipe gate;
    ASSERT_EQ(answerTo({kRun, "/bin/sh", "-c", "read line; echo done >\"$0\"", mark},
                       {gate.readEnd().get(), 1, 2})
                  .kind,
              Answer::Kind::started);
    gate.readEnd().reset();
    sockets.launchers.reset();
    EXPECT_FALSE(spawner->poll(process).has_value());
    gate.writeEnd().reset();
    EXPECT_EQ(end().value, 0);
    EXPECT_TRUE(std::filesystem::exists(mark));
}

TEST_F(AdministratorProgram, SignalsOfATerminalDoNotEndIt) {
    start();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGPIPE})
        ::kill(process, signal);
    EXPECT_EQ(outputOf({kRun, "/bin/echo", "still here"}), "still here\n");
}

TEST_F(AdministratorProgram, ToolStartsWithAPlainEnvironmentAndNothingOfTheProgram) {
    ::setenv("QUILLMORE_TEST_LEAK", "leaked", 1);
    start();
    ::unsetenv("QUILLMORE_TEST_LEAK");
    EXPECT_EQ(outputOf({kRun, "/usr/bin/env"}),
              "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin\nHOME=/root\n"
              "USER=root\nLOGNAME=root\nSHELL=/bin/sh\n");
    EXPECT_EQ(outputOf({kRun, "/bin/sh", "-c",
                        "pwd; umask; for n in 3 4 5 6 7 8 9; do"
                        " if [ -e /proc/$$/fd/$n ]; then echo $n; fi; done"}),
              "/\n0022\n");
}

TEST_F(AdministratorProgram, ToolThatCannotBeStartedIsRefused) {
    start();
    EXPECT_EQ(answerTo({kRun, "/nowhere/tool"}, {0, 1, 2}).kind, Answer::Kind::refused);
}

TEST_F(AdministratorProgram, EndsAreToldByTheNumbersOfTheirCommands) {
    start();
    EXPECT_EQ(answerTo({"unknown"}).command, 1);
    EXPECT_EQ(answerTo({kRun, "/bin/sh", "-c", "exit 3"}, {0, 1, 2}).command, 2);
    const auto ended = receiveAnswer(launchers());
    ASSERT_TRUE(ended);
    EXPECT_EQ(ended->kind, Answer::Kind::exited);
    EXPECT_EQ(ended->command, 2);
    EXPECT_EQ(ended->value, 3);
}

}  // namespace
}  // namespace quillmore::tests
