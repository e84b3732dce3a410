// The user interface on a terminal: the same texts, buttons and sheets, each button a numbered
// choice, Return for the default one, the end of input for closing the window. It is what runs
// where there is no display. Main thread only.
#pragma once

#include <cstdio>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Console/LineReader.h"
#include "Platform/Interface/UserInterface.h"
#include "Platform/Threads/MainQueue.h"

namespace quillmore::platform {

class ConsoleUserInterface final : public UserInterface {
public:
    using LocalizedString = std::function<std::string(std::string_view key)>;
    /// Nothing is owned; all must outlive the object. Progress moves only when `output` is a
    /// terminal.
    ConsoleUserInterface(MainQueue& mainQueue, int inputDescriptor, std::FILE* output,
                         LocalizedString localizedString);

    AlertAnswer runModal(const Alert& alert) override;
    void beginAlertSheet(const Alert& alert, Window& window) override;
    void present(Window& window) override;
    void beginSheet(Window& sheet, Window& window, std::function<void()> didEnd) override;
    void endSheet(Window& sheet) override;
    void run() override;

private:
    struct Sheet {
        Window* window;
        std::function<void()> didEnd;
    };
    /// What the next line of input answers.
    enum class Question { none, alert, window };

    void print(const std::string& text);
    void printAlert(const Alert& alert);
    void printWindow();
    /// Takes the line that was typed; shows it where no terminal has echoed it.
    std::string takeLine();
    void printChoices(const std::vector<std::string>& titles, std::size_t defaultChoice);
    Question openQuestion() const;
    void ask();
    void answer(const std::optional<std::string>& line);
    void answerWindow(const std::optional<std::string>& line);
    void drawProgress();
    void clearProgress();

    MainQueue& mainQueue_;
    LineReader input_;
    std::FILE* output_;
    LocalizedString localizedString_;
    bool isTerminal_;
    bool inputIsTerminal_;
    Window* window_ = nullptr;
    std::optional<Sheet> sheet_;
    std::deque<Alert> alertSheets_;
    Question asked_ = Question::none;
    std::size_t progressStep_ = 0;
    bool progressDrawn_ = false;
};

/// The choice that a line of input makes among `count`: an empty line the default, a number its own
/// (counting from 1); nothing for any other text.
std::optional<std::size_t> choiceOfLine(const std::string& line, std::size_t count,
                                        std::size_t defaultChoice);

}  // namespace quillmore::platform
