// What tests of windows share: the launcher's windows as neutral objects, a user interface over the
// real user-interface file, and ways to press keys and find controls.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <filesystem>
#include <map>
#include <optional>

#include "Platform/Interface/DrawnView.h"
#include "Platform/Qt/QtUserInterface.h"
#include "Platform/Threads/MainQueue.h"
#include "tests/fakes/RecordingProblems.h"

namespace quillmore::platform {

/// Fills itself with black and draws one text.
class PlainDrawnView final : public DrawnView {
public:
    using DrawnView::DrawnView;
    std::string text = "Installing Quillmore";
    std::function<void()> onDraw;

    void drawRect(const Rect&, GraphicsContext& context) override {
        context.lockFocus();
        if (onDraw) onDraw();
        context.fillRect(bounds(), Color::black);
        context.drawText(text, {20, 20}, {{"Lucida Grande", true, 9, 16}, Color::white});
        context.unlockFocus();
    }
};

inline void press(QWidget& widget, Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    QKeyEvent down(QEvent::KeyPress, key, modifiers, key == Qt::Key_Space ? " " : "");
    QKeyEvent up(QEvent::KeyRelease, key, modifiers);
    QCoreApplication::sendEvent(&widget, &down);
    QCoreApplication::sendEvent(&widget, &up);
}

class WindowsTest : public testing::Test {
protected:
    WindowsTest() {
        window.setTitle("Quillmore");
        text.setStringValue("Something must be installed.\n");
        install.setTitle("Continue");
        quit.setTitle("Quit");
        window.setViews({&header, &text, &install, &quit});
        window.setDefaultButton(&install);
        progressText.setStringValue("Installing...");
        sheet.setViews({&progressText, &indicator});
        options.mainQueue = &queue;
        options.applicationName = "Quillmore";
        options.language = "en";
        options.problems = &problems;
        options.pathForResource = [this](std::string_view name,
                                         std::string_view type) -> std::optional<std::string> {
            const std::string path = resources + "/" + std::string(name) + "." + std::string(type);
            return std::filesystem::exists(path) ? std::optional(path) : std::nullopt;
        };
    }

    QtUserInterface& windows() {
        if (!windows_) windows_.emplace(options);
        return *windows_;
    }
    /// The top-level widget of a window.
    static QDialog* dialog(const char* name = "checkWindow") {
        for (QWidget* widget : QApplication::allWidgets()) {
            auto* found = dynamic_cast<QDialog*>(widget);
            if (found != nullptr && found->objectName() == name) return found;
        }
        return nullptr;
    }
    template <class Control>
    static Control* control(const char* name) {
        for (QWidget* widget : QApplication::allWidgets()) {
            // What lies in another window was left over in the file.
            const QString window = widget->window()->objectName();
            if (window != "checkWindow" && window != "repairProgressWindow") continue;
            auto* found = dynamic_cast<Control*>(widget);
            if (found != nullptr && found->objectName() == name) return found;
        }
        return nullptr;
    }
    /// Runs the loop with the work in it; the work ends it, or the end of all work does.
    void runWith(std::function<void()> work) {
        queue.post(std::move(work));
        queue.post([] { QCoreApplication::exit(); });
        windows().run();
    }

    std::string resources = QUILLMORE_TEST_RESOURCES;
    MainQueue queue;
    UserInterfaceModuleOptions options;
    tests::RecordingProblems problems;
    Window window{"InstallCheck", "checkWindow"};
    PlainDrawnView header{"checkHeaderView", {0, 0, 500, 60}};
    TextField text{"checkText"};
    Button install{"checkInstall"};
    Button quit{"checkDontInstall"};
    Window sheet{"InstallCheck", "repairProgressWindow"};
    TextField progressText{"repairProgressText"};
    ProgressIndicator indicator{"repairProgressIndicator"};

private:
    std::optional<QtUserInterface> windows_;
};

}  // namespace quillmore::platform
