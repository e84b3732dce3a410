#include "Platform/Interface/TerminalQuestion.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Interface/Application.h"
#include "tests/Platform/Processes/ForkedProcess.h"

namespace quillmore::tests {
namespace {

using platform::beginTerminalQuestion;
using platform::drawUnlessTerminalQuestion;
using platform::endTerminalQuestion;
using platform::FileDescriptor;
using platform::TerminalEcho;

/// A terminal that is not the tests' own.
class TerminalQuestion : public testing::Test {
protected:
    TerminalQuestion() : user(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        EXPECT_EQ(::grantpt(user.get()), 0);
        EXPECT_EQ(::unlockpt(user.get()), 0);
        terminal = FileDescriptor(::open(::ptsname(user.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    }
    ~TerminalQuestion() override { endTerminalQuestion(); }

    termios modes() const {
        termios found{};
        EXPECT_EQ(::tcgetattr(terminal.get(), &found), 0);
        return found;
    }
    bool echoes() const { return (modes().c_lflag & ECHO) != 0; }
    bool suspends() const { return modes().c_cc[VSUSP] != _POSIX_VDISABLE; }
    bool draws() const {
        bool drawn = false;
        EXPECT_EQ(drawUnlessTerminalQuestion(terminal.get(), [&drawn] { drawn = true; }), drawn);
        return drawn;
    }
    void type(const std::string& text) const {
        EXPECT_EQ(::write(user.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    std::string readLine() const {
        char line[64];
        const ssize_t count = ::read(terminal.get(), line, sizeof line);
        return std::string(line, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }

    FileDescriptor user;
    FileDescriptor terminal;
};

TEST_F(TerminalQuestion, HiddenAnswerNeitherEchoesNorSuspendsUntilTheEnd) {
    ASSERT_TRUE(beginTerminalQuestion(terminal.get(), TerminalEcho::off));
    EXPECT_FALSE(echoes());
    EXPECT_FALSE(suspends());
    endTerminalQuestion();
    EXPECT_TRUE(echoes());
    EXPECT_TRUE(suspends());
}

TEST_F(TerminalQuestion, EchoOfAnOpenQuestionChangesAndItsEndStillIsTheBeginning) {
    ASSERT_TRUE(beginTerminalQuestion(terminal.get(), TerminalEcho::off));
    ASSERT_TRUE(beginTerminalQuestion(terminal.get(), TerminalEcho::on));
    EXPECT_TRUE(echoes());
    EXPECT_FALSE(suspends());
    ASSERT_TRUE(beginTerminalQuestion(terminal.get(), TerminalEcho::off));
    EXPECT_FALSE(echoes());
    endTerminalQuestion();
    EXPECT_TRUE(echoes());
    EXPECT_TRUE(suspends());
}

TEST_F(TerminalQuestion, WhatWasTypedBeforeAndAfterTheAnswerIsDropped) {
    type("before\n");
    ASSERT_TRUE(beginTerminalQuestion(terminal.get(), TerminalEcho::off));
    type("answer\n");
    EXPECT_EQ(readLine(), "answer\n");
    type("beyond\n");
    endTerminalQuestion();
    type("next\n");
    EXPECT_EQ(readLine(), "next\n");
}

TEST_F(TerminalQuestion, DescriptorOfTheAskerMayBeClosedBeforeTheEnd) {
    FileDescriptor asker(::fcntl(terminal.get(), F_DUPFD_CLOEXEC, 0));
    ASSERT_TRUE(beginTerminalQuestion(asker.get(), TerminalEcho::off));
    asker.reset();
    endTerminalQuestion();
    EXPECT_TRUE(echoes());
}

TEST_F(TerminalQuestion, WhatIsNoTerminalIsNotAsked) {
    const FileDescriptor file(::open("/dev/null", O_RDWR | O_CLOEXEC));
    EXPECT_FALSE(beginTerminalQuestion(file.get(), TerminalEcho::off));
    EXPECT_TRUE(draws());
}

TEST_F(TerminalQuestion, KeepsOthersFromDrawingWhateverTheEcho) {
    EXPECT_TRUE(draws());
    ASSERT_TRUE(beginTerminalQuestion(terminal.get(), TerminalEcho::on));
    EXPECT_FALSE(draws());
    endTerminalQuestion();
    EXPECT_TRUE(draws());
}

TEST_F(TerminalQuestion, OfAnotherProgramShowsByTheMissingEcho) {
    termios hidden = modes();
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ASSERT_EQ(::tcsetattr(terminal.get(), TCSANOW, &hidden), 0);
    EXPECT_FALSE(draws());
}

TEST_F(TerminalQuestion, BeginsOnceADrawingIsDoneWhichDoesNotHoldUpAnEnd) {
    std::atomic<bool> begins = false;
    std::thread asker;
    EXPECT_TRUE(drawUnlessTerminalQuestion(terminal.get(), [&] {
        asker = std::thread([&] {
            begins = true;
            beginTerminalQuestion(terminal.get(), TerminalEcho::off);
        });
        while (!begins) std::this_thread::yield();
        endTerminalQuestion();
        EXPECT_TRUE(echoes());
    }));
    asker.join();
    EXPECT_FALSE(echoes());
}

TEST_F(TerminalQuestion, EndsWithTheProgram) {
    ForkedProcess program([this]() -> int {
        beginTerminalQuestion(terminal.get(), TerminalEcho::off);
        platform::MainApplication().exitProcess(7);
    });
    EXPECT_EQ(program.exitStatus(), 7);
    EXPECT_TRUE(echoes());
}

}  // namespace
}  // namespace quillmore::tests
