// Port: windows, sheets and alerts. Bodies: the terminal (Platform/Console) and a toolkit. Main
// thread only. Test double: FakeUserInterface.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "Platform/Interface/Outlets.h"

namespace quillmore::platform {

/// The string table's key for the title of the suppression box.
inline constexpr const char* kSuppressionTitleKey = "Do not show this message again";

struct AlertButton {
    std::string title;
    std::string keyEquivalent;  ///< "\033" for Escape; empty for none.
};

struct Alert {
    std::string messageText;
    std::string informativeText;
    std::vector<AlertButton> buttons;     ///< The first is the default. At least one.
    bool showsSuppressionButton = false;  ///< A check box "do not ask again", small.
};

struct AlertAnswer {
    std::size_t button = 0;  ///< Index of the button pressed.
    bool suppressed = false;
};

class UserInterface {
public:
    virtual ~UserInterface() = default;
    /// Brings the application to the front, ahead of others, when it is not active; shows an alert
    /// and blocks until it is answered. Work of the main queue waits meanwhile. When the alert is
    /// taken away unanswered, the answer is the Escape button, else the last one.
    virtual AlertAnswer runModal(const Alert& alert) = 0;
    /// Shows an alert over a window and returns at once; nobody is told of the answer.
    virtual void beginAlertSheet(const Alert& alert, Window& window) = 0;
    /// Centres the window, activates the application ignoring others, makes the window key, brings
    /// it to the front and raises it to the floating level.
    virtual void present(Window& window) = 0;
    /// Puts a window over another as a sheet and returns at once; `didEnd` runs when it has ended.
    virtual void beginSheet(Window& sheet, Window& window, std::function<void()> didEnd) = 0;
    virtual void endSheet(Window& sheet) = 0;
    /// Handles events and the work of the main queue until the process ends. Returns (with nothing
    /// left to show) only when no window was ever presented.
    virtual void run() = 0;
};

}  // namespace quillmore::platform
