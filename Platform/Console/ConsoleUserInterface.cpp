#include "Platform/Console/ConsoleUserInterface.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>

#include "Platform/Interface/TerminalQuestion.h"

namespace quillmore::platform {

namespace {

constexpr const char* kEscapeKey = "\033";
constexpr std::chrono::milliseconds kNever{-1};
constexpr std::chrono::milliseconds kProgressStep{150};
constexpr const char* kProgressFigures[] = {"|", "/", "-", "\\"};

/// U+0080 to U+009F, which terminals obey too: C2 and one byte of that range.
bool isHighControl(const std::string& text, std::size_t at) {
    return text[at] == '\xc2' && at + 1 < text.size() && (text[at + 1] & 0xe0) == 0x80;
}

/// A text of a table or a path in it must not steer the terminal: control characters are dropped.
std::string withoutControls(const std::string& text) {
    std::string clean;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (isHighControl(text, i))
            ++i;
        else if (c == '\n' || c == '\t' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f))
            clean += c;
    }
    return clean;
}

/// What leaving an alert without an answer means: never the button that goes on.
std::size_t safeButton(const Alert& alert) {
    for (std::size_t i = 0; i < alert.buttons.size(); ++i) {
        if (alert.buttons[i].keyEquivalent == kEscapeKey) return i;
    }
    return alert.buttons.empty() ? 0 : alert.buttons.size() - 1;
}

std::vector<Button*> buttonsOf(const Window& window) {
    std::vector<Button*> buttons;
    for (View* view : window.views()) {
        if (auto* button = dynamic_cast<Button*>(view)) buttons.push_back(button);
    }
    return buttons;
}

std::size_t defaultOf(const Window& window, const std::vector<Button*>& buttons) {
    const auto found = std::find(buttons.begin(), buttons.end(), window.defaultButton());
    return found == buttons.end() ? buttons.size()
                                  : static_cast<std::size_t>(found - buttons.begin());
}

}  // namespace

std::optional<std::size_t> choiceOfLine(const std::string& line, std::size_t count,
                                        std::size_t defaultChoice) {
    const std::size_t first = line.find_first_not_of(" \t");
    if (first == std::string::npos)
        return defaultChoice < count ? std::optional(defaultChoice) : std::nullopt;
    const std::size_t last = line.find_last_not_of(" \t");
    const char* const end = line.data() + last + 1;
    std::size_t number = 0;
    const auto [parsed, failure] = std::from_chars(line.data() + first, end, number);
    if (failure != std::errc() || parsed != end || number < 1 || number > count)
        return std::nullopt;
    return number - 1;
}

ConsoleUserInterface::ConsoleUserInterface(MainQueue& mainQueue, int inputDescriptor,
                                           std::FILE* output, LocalizedString localizedString)
    : mainQueue_(mainQueue),
      input_(inputDescriptor),
      output_(output),
      localizedString_(std::move(localizedString)),
      isTerminal_(::isatty(::fileno(output)) == 1),
      inputIsTerminal_(::isatty(inputDescriptor) == 1) {}

AlertAnswer ConsoleUserInterface::runModal(const Alert& alert) {
    clearProgress();
    AlertAnswer answer;
    for (;;) {
        printAlert(alert);
        if (alert.showsSuppressionButton) {
            print(std::string("  s) [") + (answer.suppressed ? "x" : " ") + "] " +
                  localizedString_(kSuppressionTitleKey) + "\n");
        }
        print("> ");
        if (input_.wait(true, -1, kNever) == LineReader::Event::endOfInput) {
            print("\n");
            return {safeButton(alert), answer.suppressed};
        }
        const std::string line = takeLine();
        if (alert.showsSuppressionButton && line == "s") {
            answer.suppressed = !answer.suppressed;
        } else if (const auto choice = choiceOfLine(line, alert.buttons.size(), 0)) {
            answer.button = *choice;
            return answer;
        }
    }
}

void ConsoleUserInterface::beginAlertSheet(const Alert& alert, Window&) {
    clearProgress();
    alertSheets_.push_back(alert);
    // Printed at once: the process may end before anybody can answer.
    if (alertSheets_.size() == 1) {
        printAlert(alert);
        print("> ");
        asked_ = Question::alert;
    }
}

void ConsoleUserInterface::present(Window& window) {
    window_ = &window;
    asked_ = asked_ == Question::alert ? Question::alert : Question::none;
}

void ConsoleUserInterface::beginSheet(Window& sheet, Window&, std::function<void()> didEnd) {
    sheet_ = Sheet{&sheet, std::move(didEnd)};
    asked_ = Question::none;
    for (View* view : sheet.views()) {
        if (const auto* text = dynamic_cast<TextField*>(view))
            print("\n" + text->stringValue() + "\n");
    }
}

void ConsoleUserInterface::endSheet(Window& sheet) {
    if (!sheet_ || sheet_->window != &sheet) return;
    clearProgress();
    const std::function<void()> didEnd = std::move(sheet_->didEnd);
    sheet_.reset();
    if (didEnd) didEnd();
}

void ConsoleUserInterface::run() {
    while (window_ != nullptr) {
        ask();
        const bool moves = sheet_.has_value() && isTerminal_;
        switch (input_.wait(asked_ != Question::none, mainQueue_.descriptor(),
                            moves ? kProgressStep : kNever)) {
            case LineReader::Event::line:
                answer(takeLine());
                break;
            case LineReader::Event::endOfInput:
                answer(std::nullopt);
                break;
            case LineReader::Event::otherDescriptor:
                mainQueue_.drain();
                break;
            case LineReader::Event::timeOut:
                drawProgress();
                break;
        }
    }
}

ConsoleUserInterface::Question ConsoleUserInterface::openQuestion() const {
    if (!alertSheets_.empty()) return Question::alert;
    return sheet_ ? Question::none : Question::window;
}

void ConsoleUserInterface::ask() {
    const Question open = openQuestion();
    if (open == asked_) return;
    asked_ = open;
    if (open == Question::alert) printAlert(alertSheets_.front());
    if (open == Question::window) printWindow();
    if (open != Question::none) print("> ");
}

void ConsoleUserInterface::answer(const std::optional<std::string>& line) {
    const Question answered = std::exchange(asked_, Question::none);
    if (!line) print("\n");
    if (answered == Question::window) return answerWindow(line);
    const Alert& alert = alertSheets_.front();
    if (!line || choiceOfLine(*line, alert.buttons.size(), 0)) alertSheets_.pop_front();
}

void ConsoleUserInterface::answerWindow(const std::optional<std::string>& line) {
    if (!line) {
        Window* const closing = std::exchange(window_, nullptr);
        return closing->close();
    }
    const std::vector<Button*> buttons = buttonsOf(*window_);
    const auto choice = choiceOfLine(*line, buttons.size(), defaultOf(*window_, buttons));
    if (choice) buttons[*choice]->performClick();
}

void ConsoleUserInterface::printAlert(const Alert& alert) {
    print("\n" + alert.messageText + "\n");
    if (!alert.informativeText.empty()) print(alert.informativeText + "\n");
    std::vector<std::string> titles;
    titles.reserve(alert.buttons.size());
    for (const AlertButton& button : alert.buttons) titles.push_back(button.title);
    printChoices(titles, 0);
}

void ConsoleUserInterface::printWindow() {
    print("\n" + window_->title() + "\n");
    for (View* view : window_->views()) {
        const auto* text = dynamic_cast<TextField*>(view);
        if (text == nullptr || text->stringValue().empty()) continue;
        print(text->stringValue().back() == '\n' ? text->stringValue()
                                                 : text->stringValue() + "\n");
    }
    const std::vector<Button*> buttons = buttonsOf(*window_);
    std::vector<std::string> titles;
    titles.reserve(buttons.size());
    for (const Button* button : buttons) titles.push_back(button->title());
    printChoices(titles, defaultOf(*window_, buttons));
}

void ConsoleUserInterface::printChoices(const std::vector<std::string>& titles,
                                        std::size_t defaultChoice) {
    for (std::size_t i = 0; i < titles.size(); ++i) {
        const char* const mark = i == defaultChoice ? " (Return)" : "";
        print("  " + std::to_string(i + 1) + ") " + titles[i] + mark + "\n");
    }
}

std::string ConsoleUserInterface::takeLine() {
    std::string line = input_.takeLine();
    if (!inputIsTerminal_) print(line + "\n");
    return line;
}

void ConsoleUserInterface::print(const std::string& text) {
    const std::string clean = withoutControls(text);
    std::fwrite(clean.data(), 1, clean.size(), output_);
    std::fflush(output_);
}

void ConsoleUserInterface::drawProgress() {
    if (!sheet_) return;
    const auto& views = sheet_->window->views();
    const bool animating = std::any_of(views.begin(), views.end(), [](View* view) {
        const auto* indicator = dynamic_cast<ProgressIndicator*>(view);
        return indicator != nullptr && indicator->isAnimating();
    });
    if (!animating) return;
    // The administrator's password may be asked for meanwhile: a figure would spoil the prompt, and
    // the question took the place of the last one.
    progressDrawn_ = drawUnlessTerminalQuestion(::fileno(output_), [this] {
        // The cursor stays at the start of the line, so that a log line simply takes the figure's
        // place.
        std::fprintf(output_, "%s\r",
                     kProgressFigures[progressStep_++ % std::size(kProgressFigures)]);
        std::fflush(output_);
    });
}

void ConsoleUserInterface::clearProgress() {
    if (!std::exchange(progressDrawn_, false)) return;
    std::fputs(" \r", output_);
    std::fflush(output_);
}

}  // namespace quillmore::platform
