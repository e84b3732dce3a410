// UserInterface double: records what is shown, answers alerts from a list.
#pragma once

#include <deque>
#include <map>

#include "Platform/Interface/UserInterface.h"

namespace quillmore::tests {

class FakeUserInterface final : public platform::UserInterface {
public:
    /// Answers of coming alerts; the default button when empty.
    std::deque<platform::AlertAnswer> answers;
    std::vector<platform::Alert> alerts;
    std::vector<std::pair<platform::Alert, platform::Window*>> alertSheets;
    std::vector<platform::Window*> presented;
    std::map<platform::Window*, std::function<void()>> openSheets;
    std::function<void()> onModal;
    /// Told of each sheet and the window it is put over.
    std::function<void(platform::Window& sheet, platform::Window& window)> onSheet;

    platform::AlertAnswer runModal(const platform::Alert& alert) override {
        alerts.push_back(alert);
        if (onModal) onModal();
        if (answers.empty()) return {};
        const platform::AlertAnswer answer = answers.front();
        answers.pop_front();
        return answer;
    }
    void beginAlertSheet(const platform::Alert& alert, platform::Window& window) override {
        alertSheets.emplace_back(alert, &window);
    }
    void present(platform::Window& window) override { presented.push_back(&window); }
    void beginSheet(platform::Window& sheet, platform::Window& window,
                    std::function<void()> didEnd) override {
        if (onSheet) onSheet(sheet, window);
        openSheets[&sheet] = std::move(didEnd);
    }
    void endSheet(platform::Window& sheet) override {
        auto node = openSheets.extract(&sheet);
        if (!node.empty() && node.mapped()) node.mapped()();
    }
    void run() override {
        ++runs;
        if (onRun) onRun();
    }
    int runs = 0;
    std::function<void()> onRun;
};

}  // namespace quillmore::tests
