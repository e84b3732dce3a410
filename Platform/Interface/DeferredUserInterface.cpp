#include "Platform/Interface/DeferredUserInterface.h"

#include <cstdlib>
#include <string_view>
#include <utility>

namespace quillmore::platform {

namespace {
#ifdef __APPLE__
constexpr Displays kDisplays = Displays::always;
#else
constexpr Displays kDisplays = Displays::named;
#endif
}  // namespace

bool environmentAsksForWindows(const std::function<const char*(const char*)>& variable,
                               Displays displays) {
    const auto text = [&variable](const char* name) {
        const char* value = variable(name);
        return std::string_view(value != nullptr ? value : "");
    };
    const std::string_view wanted = text("QUILLMORE_UI");
    if (wanted == "qt") return true;
    if (wanted == "console") return false;
    if (displays == Displays::always) return true;
    return !text("WAYLAND_DISPLAY").empty() || !text("DISPLAY").empty();
}

bool environmentAsksForWindows() {
    return environmentAsksForWindows([](const char* name) { return std::getenv(name); }, kDisplays);
}

DeferredUserInterface::DeferredUserInterface(UserInterface& fallback,
                                             std::function<std::unique_ptr<UserInterface>()> make)
    : fallback_(fallback), make_(std::move(make)) {}

UserInterface& DeferredUserInterface::chosen() {
    if (chosen_ != nullptr) return *chosen_;
    made_ = make_ ? make_() : nullptr;
    chosen_ = made_ ? made_.get() : &fallback_;
    return *chosen_;
}

AlertAnswer DeferredUserInterface::runModal(const Alert& alert) {
    return chosen().runModal(alert);
}

void DeferredUserInterface::beginAlertSheet(const Alert& alert, Window& window) {
    chosen().beginAlertSheet(alert, window);
}

void DeferredUserInterface::present(Window& window) {
    chosen().present(window);
}

void DeferredUserInterface::beginSheet(Window& sheet, Window& window,
                                       std::function<void()> didEnd) {
    chosen().beginSheet(sheet, window, std::move(didEnd));
}

void DeferredUserInterface::endSheet(Window& sheet) {
    if (chosen_ != nullptr) chosen_->endSheet(sheet);
}

void DeferredUserInterface::run() {
    if (chosen_ != nullptr) chosen_->run();
}

}  // namespace quillmore::platform
