// Windows, sheets and alerts by Qt's widgets. The application object of the toolkit must be there
// already. Exceptions of the program never pass through the toolkit's loop: the first one ends the
// loop and is raised by run(). Main thread only.
#pragma once

#include <QSocketNotifier>
#include <exception>
#include <map>
#include <memory>
#include <string>

#include "Platform/Interface/UserInterface.h"
#include "Platform/Interface/UserInterfaceModule.h"

namespace quillmore::platform {

class AlertDialog;
class InterfaceFile;
class ShownWindow;
class WindowDialog;

class QtUserInterface final : public UserInterface {
public:
    /// What the options name, and every window shown, must outlive the object.
    explicit QtUserInterface(UserInterfaceModuleOptions options);
    ~QtUserInterface() override;

    AlertAnswer runModal(const Alert& alert) override;
    void beginAlertSheet(const Alert& alert, Window& window) override;
    void present(Window& window) override;
    void beginSheet(Window& sheet, Window& window, std::function<void()> didEnd) override;
    void endSheet(Window& sheet) override;
    void run() override;

private:
    /// The one on the display, made when it is first asked for.
    ShownWindow& windowFor(Window& window);
    std::unique_ptr<WindowDialog> layoutOf(const Window& window);
    bool userCloses(ShownWindow& window);
    WindowDialog* frontWindow() const;
    std::string localized(const char* key) const;
    void atEdge(const std::function<void()>& work);
    void raisePending();

    UserInterfaceModuleOptions options_;
    QSocketNotifier work_;
    std::map<std::string, std::unique_ptr<InterfaceFile>> files_;
    std::map<const Window*, std::unique_ptr<ShownWindow>> windows_;
    std::map<const Window*, std::function<void()>> sheets_;
    std::exception_ptr pending_;
    bool running_ = false;
    int alertsRunning_ = 0;
};

}  // namespace quillmore::platform
