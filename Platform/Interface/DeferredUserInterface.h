// A user interface that is chosen and made when it is first needed: windows where there is a
// display, else the terminal. Until then it costs nothing. Main thread only.
#pragma once

#include <functional>
#include <memory>

#include "Platform/Interface/UserInterface.h"

namespace quillmore::platform {

/// How a system says that it has a display: by naming it in the environment; or it always has one.
enum class Displays { named, always };

/// Whether the environment asks for windows: QUILLMORE_UI says "qt" or "console"; without it a
/// display does (a named one by WAYLAND_DISPLAY or DISPLAY). `variable` is getenv but for tests.
bool environmentAsksForWindows(const std::function<const char*(const char*)>& variable,
                               Displays displays);
/// The same with this system's displays.
bool environmentAsksForWindows();

class DeferredUserInterface final : public UserInterface {
public:
    /// `make` runs once, at first use; when it gives nothing, `fallback` (not owned, must outlive
    /// the object) is used. It has said why by then.
    DeferredUserInterface(UserInterface& fallback,
                          std::function<std::unique_ptr<UserInterface>()> make);

    AlertAnswer runModal(const Alert& alert) override;
    void beginAlertSheet(const Alert& alert, Window& window) override;
    void present(Window& window) override;
    void beginSheet(Window& sheet, Window& window, std::function<void()> didEnd) override;
    void endSheet(Window& sheet) override;
    /// Returns at once when nothing was ever shown.
    void run() override;

private:
    UserInterface& chosen();

    UserInterface& fallback_;
    std::function<std::unique_ptr<UserInterface>()> make_;
    std::unique_ptr<UserInterface> made_;
    UserInterface* chosen_ = nullptr;
};

}  // namespace quillmore::platform
