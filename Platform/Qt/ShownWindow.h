// One window of the program on the display: the toolkit's controls kept in step with the neutral
// ones. What a control's action or a drawing raises goes to the edge, never into the toolkit.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "Platform/Interface/Outlets.h"

class QPushButton;
class QWidget;
class QLabel;
class QProgressBar;

namespace quillmore::platform {

class DrawnViewWidget;
class WindowDialog;

/// Runs work and takes what it raises.
using Edge = std::function<void(const std::function<void()>&)>;

class ShownWindow {
public:
    /// `dialog`: laid out by the user-interface file; null, or without one of the window's controls
    /// (problem() says which), a plain layout is made. `window` and its views must outlive the
    /// object.
    ShownWindow(Window& window, std::unique_ptr<WindowDialog> dialog, Edge edge);
    ~ShownWindow();
    ShownWindow(const ShownWindow&) = delete;
    ShownWindow& operator=(const ShownWindow&) = delete;

    Window& window() const { return window_; }
    WindowDialog& dialog() const { return *dialog_; }
    const std::string& problem() const { return problem_; }
    /// Gives the keyboard to the default button.
    void focusDefaultButton();

private:
    std::string missingControl() const;
    void connectAll();
    void connectView(View& view);
    void connectTo(TextField& field, QLabel& label);
    void connectTo(Button& button, QPushButton& control);
    void connectTo(ProgressIndicator& indicator, QProgressBar& bar);
    void windowChanged();
    void textsChanged();
    QWidget* control(const View& view) const;

    Window& window_;
    std::unique_ptr<WindowDialog> dialog_;
    Edge edge_;
    std::string problem_;
};

}  // namespace quillmore::platform
