#include "Platform/Console/ConsoleUserInterface.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <thread>

namespace quillmore::platform {
namespace {

/// A console whose input is a pipe and whose output is kept as text.
class ConsoleTest : public testing::Test {
protected:
    ConsoleTest() {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        readEnd = FileDescriptor(ends[0]);
        writeEnd = FileDescriptor(ends[1]);
        output = std::tmpfile();
        console.emplace(queue, readEnd.get(), output,
                        [](std::string_view key) { return "<" + std::string(key) + ">"; });
        window.setTitle("Quillmore");
        text.setStringValue("Something must be installed.\n");
        install.setTitle("Continue");
        quit.setTitle("Quit");
        window.setViews({&text, &install, &quit});
        window.setDefaultButton(&install);
        progressText.setStringValue("Installing...");
        sheet.setViews({&progressText, &indicator});
    }
    ~ConsoleTest() override { std::fclose(output); }

    void type(const std::string& bytes) {
        EXPECT_EQ(::write(writeEnd.get(), bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
    }
    void endInput() { writeEnd.reset(); }
    std::string printed() {
        std::fflush(output);
        std::string bytes(static_cast<std::size_t>(std::ftell(output)), '\0');
        std::rewind(output);
        EXPECT_EQ(std::fread(bytes.data(), 1, bytes.size(), output), bytes.size());
        return bytes;
    }
    /// Makes the window's close end run(), as the program's own window does by ending the process.
    int closes = 0;
    void countCloses() {
        window.setWillClose([this] { ++closes; });
    }

    MainQueue queue;
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
    std::FILE* output = nullptr;
    std::optional<ConsoleUserInterface> console;
    Window window{"InstallCheck", "checkWindow"};
    TextField text{"checkText"};
    Button install{"checkInstall"};
    Button quit{"checkDontInstall"};
    Window sheet{"InstallCheck", "repairProgressWindow"};
    TextField progressText{"repairProgressText"};
    ProgressIndicator indicator{"repairProgressIndicator"};
};

const Alert kTwoButtons{"Move?", "I can move.", {{"Move", ""}, {"Do Not Move", "\033"}}, false};

TEST(ConsoleChoice, EmptyLineTakesTheDefaultAndNumbersTheirOwn) {
    EXPECT_EQ(choiceOfLine("", 2, 0), 0U);
    EXPECT_EQ(choiceOfLine("  \t", 2, 1), 1U);
    EXPECT_EQ(choiceOfLine("2", 2, 0), 1U);
    EXPECT_EQ(choiceOfLine(" 1 ", 2, 1), 0U);
}

TEST(ConsoleChoice, AnythingElseChoosesNothing) {
    for (const char* line : {"0", "3", "-1", "yes", "1x", "99999999999999999999", "1 2"}) {
        EXPECT_EQ(choiceOfLine(line, 2, 0), std::nullopt) << line;
    }
}

TEST(ConsoleChoice, EmptyLineWithoutADefaultChoosesNothing) {
    EXPECT_EQ(choiceOfLine("", 2, 2), std::nullopt);
}

TEST_F(ConsoleTest, AlertShowsItsTextsAndNumberedButtons) {
    type("\n");
    EXPECT_EQ(console->runModal(kTwoButtons).button, 0U);
    EXPECT_EQ(printed(), "\nMove?\nI can move.\n  1) Move (Return)\n  2) Do Not Move\n> \n");
}

TEST_F(ConsoleTest, AlertIsAnsweredByNumber) {
    type("2\n");
    EXPECT_EQ(console->runModal(kTwoButtons).button, 1U);
}

TEST_F(ConsoleTest, UnknownAnswerIsAskedAgain) {
    type("what\n9\n2\n");
    EXPECT_EQ(console->runModal(kTwoButtons).button, 1U);
}

TEST_F(ConsoleTest, EndOfInputAtAnAlertTakesTheEscapeButton) {
    endInput();
    EXPECT_EQ(console->runModal(kTwoButtons).button, 1U);
}

TEST_F(ConsoleTest, EndOfInputAtAnAlertWithoutEscapeTakesTheLastButton) {
    endInput();
    EXPECT_EQ(console->runModal({"A", "", {{"Go on", ""}, {"Stop", ""}}, false}).button, 1U);
    EXPECT_EQ(console->runModal({"A", "", {{"Quit", ""}}, false}).button, 0U);
}

TEST_F(ConsoleTest, SuppressionIsTickedBeforeTheAnswer) {
    Alert alert = kTwoButtons;
    alert.showsSuppressionButton = true;
    type("s\n2\n");
    const AlertAnswer answer = console->runModal(alert);
    EXPECT_EQ(answer.button, 1U);
    EXPECT_TRUE(answer.suppressed);
    const std::string shown = printed();
    EXPECT_NE(shown.find("  s) [ ] <Do not show this message again>\n"), std::string::npos)
        << shown;
    EXPECT_NE(shown.find("  s) [x] <Do not show this message again>\n"), std::string::npos)
        << shown;
}

TEST_F(ConsoleTest, TickedBoxCountsWhenTheInputEnds) {
    Alert alert = kTwoButtons;
    alert.showsSuppressionButton = true;
    type("s\n");
    endInput();
    const AlertAnswer answer = console->runModal(alert);
    EXPECT_EQ(answer.button, 1U);
    EXPECT_TRUE(answer.suppressed);
}

TEST_F(ConsoleTest, ControlCharactersOfATextDoNotReachTheTerminal) {
    type("\n");
    console->runModal({"A\033[2J\a", "", {{"OK", ""}}, false});
    EXPECT_EQ(printed().find('\033'), std::string::npos);
    EXPECT_NE(printed().find("A[2J\n"), std::string::npos);
}

TEST_F(ConsoleTest, ControlCharactersOfTwoBytesDoNotReachTheTerminalAndLettersDo) {
    type("\n");
    console->runModal({"A\u009b2J \u00a0\u00c4\xc2", "", {{"OK", ""}}, false});
    EXPECT_EQ(printed().find("\nA2J \u00a0\u00c4\xc2\n"), 0U);
}

TEST_F(ConsoleTest, WindowIsPrintedWhenTheLoopRunsAndClosedByEndOfInput) {
    countCloses();
    console->present(window);
    endInput();
    console->run();
    EXPECT_EQ(printed(),
              "\nQuillmore\nSomething must be installed.\n  1) Continue (Return)\n  2) Quit\n> \n");
    EXPECT_EQ(closes, 1);
}

TEST_F(ConsoleTest, ReturnPressesTheDefaultButton) {
    int installs = 0;
    install.setAction([&] { ++installs; });
    countCloses();
    console->present(window);
    type("\n");
    endInput();
    console->run();
    EXPECT_EQ(installs, 1);
}

TEST_F(ConsoleTest, NumberPressesItsButton) {
    int quits = 0;
    quit.setAction([&] { ++quits; });
    console->present(window);
    type("2\n");
    endInput();
    console->run();
    EXPECT_EQ(quits, 1);
}

TEST_F(ConsoleTest, InputIsNotReadWhileASheetIsUp) {
    int installs = 0;
    bool ended = false;
    install.setAction([&] {
        ++installs;
        console->beginSheet(sheet, window, [&] { ended = true; });
        queue.post([&] { console->endSheet(sheet); });
    });
    quit.setAction([&] { EXPECT_TRUE(ended); });
    console->present(window);
    type("1\n2\n");
    endInput();
    console->run();
    EXPECT_EQ(installs, 1);
    EXPECT_TRUE(ended);
    EXPECT_NE(printed().find("\nInstalling...\n"), std::string::npos);
}

TEST_F(ConsoleTest, EndOfInputDoesNotCloseTheWindowUnderASheet) {
    countCloses();
    install.setAction([&] {
        console->beginSheet(sheet, window, nullptr);
        queue.post([&] {
            EXPECT_EQ(closes, 0);
            console->endSheet(sheet);
        });
    });
    console->present(window);
    type("\n");
    endInput();
    console->run();
    EXPECT_EQ(closes, 1);
}

TEST_F(ConsoleTest, AlertSheetIsPrintedAtOnceAndAnsweredBeforeTheWindow) {
    int quits = 0;
    quit.setAction([&] { ++quits; });
    console->present(window);
    console->beginAlertSheet({"Repair failed", "Try again.", {{"OK", ""}}, false}, window);
    EXPECT_EQ(printed(), "\nRepair failed\nTry again.\n  1) OK (Return)\n> ");
    type("\n2\n");
    endInput();
    console->run();
    EXPECT_EQ(quits, 1);
}

TEST_F(ConsoleTest, AlertSheetsAreAskedOneAfterTheOtherUntilEachIsAnswered) {
    countCloses();
    console->beginAlertSheet({"First", "", {{"OK", ""}}, false}, window);
    console->beginAlertSheet({"Second", "", {{"OK", ""}}, false}, window);
    console->present(window);
    type("7\n\n\n");
    endInput();
    console->run();
    const std::string first = "\nFirst\n  1) OK (Return)\n> ";
    const std::string second = "\nSecond\n  1) OK (Return)\n> ";
    EXPECT_EQ(printed().find(first + "7\n" + first + "\n" + second + "\n\nQuillmore\n"), 0U);
    EXPECT_EQ(closes, 1);
}

TEST_F(ConsoleTest, EndOfAnotherWindowIsNoEndOfTheSheet) {
    bool ended = false;
    console->beginSheet(sheet, window, [&] { ended = true; });
    console->endSheet(window);
    EXPECT_FALSE(ended);
    console->endSheet(sheet);
    EXPECT_TRUE(ended);
}

TEST_F(ConsoleTest, EndOfInputAtAnAlertSheetDismissesItAndClosesTheWindow) {
    countCloses();
    console->present(window);
    console->beginAlertSheet({"Repair failed", "", {{"OK", ""}}, false}, window);
    endInput();
    console->run();
    EXPECT_EQ(closes, 1);
}

TEST_F(ConsoleTest, PresentingAgainPrintsTheNewText) {
    console->present(window);
    install.setAction([&] {
        text.setStringValue("Still something.");
        console->present(window);
    });
    type("1\n");
    endInput();
    console->run();
    EXPECT_NE(printed().find("\nStill something.\n  1) Continue"), std::string::npos);
}

TEST_F(ConsoleTest, WorkFromAnotherThreadRunsWhileWaitingForInput) {
    std::thread::id ranOn;
    console->present(window);
    std::thread other([&] {
        queue.post([&] {
            ranOn = std::this_thread::get_id();
            endInput();
        });
    });
    console->run();
    other.join();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(ConsoleTest, LoopWithoutAWindowReturns) {
    console->run();
    EXPECT_EQ(printed(), "");
}

TEST_F(ConsoleTest, LastLineWithoutItsEndCounts) {
    type("2");
    endInput();
    EXPECT_EQ(console->runModal(kTwoButtons).button, 1U);
}

/// A terminal as output, with a progress sheet on it.
class ProgressTerminal {
public:
    ProgressTerminal() {
        EXPECT_EQ(::grantpt(master.get()), 0);
        EXPECT_EQ(::unlockpt(master.get()), 0);
        terminal.reset(std::fopen(::ptsname(master.get()), "r+"));
        sheet.setViews({&indicator});
        window.setWillClose([] {});
        indicator.startAnimation();
        console.emplace(queue, ::fileno(terminal.get()), terminal.get(), nullptr);
        console->present(window);
        console->beginSheet(sheet, window, nullptr);
    }
    void hideInput() const {
        termios modes{};
        EXPECT_EQ(::tcgetattr(::fileno(terminal.get()), &modes), 0);
        modes.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        EXPECT_EQ(::tcsetattr(::fileno(terminal.get()), TCSANOW, &modes), 0);
    }
    bool shows(const std::string& figures) {
        char byte = 0;
        while (shown.find(figures) == std::string::npos && ::read(master.get(), &byte, 1) == 1)
            shown += byte;
        return shown.find(figures) != std::string::npos;
    }
    /// Makes the run end.
    void end() {
        queue.post([this] { console->endSheet(sheet); });
        [[maybe_unused]] const auto typed = ::write(master.get(), "\x04", 1);  // end of input
    }

    const FileDescriptor master{::posix_openpt(O_RDWR | O_NOCTTY)};
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> terminal{nullptr, std::fclose};
    MainQueue queue;
    Window window{"InstallCheck", "checkWindow"};
    Window sheet{"InstallCheck", "repairProgressWindow"};
    ProgressIndicator indicator{"repairProgressIndicator"};
    std::optional<ConsoleUserInterface> console;
    std::string shown;
};

TEST(ConsoleProgress, MovesOnATerminal) {
    ProgressTerminal terminal;
    bool moved = false;
    std::thread watcher([&] {
        moved = terminal.shows("|\r/\r-\r");
        terminal.end();
    });
    terminal.console->run();
    watcher.join();
    EXPECT_TRUE(moved);
    EXPECT_TRUE(terminal.shows(" \r\r\n")) << "the last figure is wiped out";
}

/// The terminal itself shows what is typed; here it is told not to.
TEST(ConsoleAnswer, IsNotShownAgainOnATerminal) {
    ProgressTerminal terminal;
    terminal.hideInput();
    EXPECT_EQ(::write(terminal.master.get(), "2\n", 2), 2);
    EXPECT_EQ(terminal.console->runModal(kTwoButtons).button, 1U);
    std::fputs("end", terminal.terminal.get());
    std::fflush(terminal.terminal.get());
    EXPECT_TRUE(terminal.shows("> end"));
}

/// Another terminal, where nothing is asked, tells that there was time enough for a figure.
TEST(ConsoleProgress, StandsStillWhileAPasswordIsAskedForOnTheTerminal) {
    ProgressTerminal asked;
    ProgressTerminal other;
    asked.hideInput();
    std::thread standing([&] { asked.console->run(); });
    std::thread watcher([&] {
        other.shows("|\r/\r-\r");
        other.end();
    });
    other.console->run();
    watcher.join();
    asked.end();
    standing.join();
    EXPECT_TRUE(asked.shows("> "));  // the question of the window, once the sheet is gone
    EXPECT_EQ(asked.shown.find('|'), std::string::npos) << asked.shown;
}

}  // namespace
}  // namespace quillmore::platform
