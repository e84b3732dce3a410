// The toolkit-neutral side of a window: its controls hold their text and state, and a user
// interface makes real ones of them when the window is first shown. Main thread only.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Interface/Image.h"

namespace quillmore::platform {

/// A control of a window. `name` is the outlet's name in the user-interface file.
class View {
public:
    explicit View(std::string name) : name_(std::move(name)) {}
    virtual ~View() = default;
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    const std::string& name() const { return name_; }
    /// The user interface that shows the view listens here; called after every change.
    void setObserver(std::function<void()> observer) { observer_ = std::move(observer); }

protected:
    void changed() const {
        if (observer_) observer_();
    }

private:
    std::string name_;
    std::function<void()> observer_;
};

class TextField final : public View {
public:
    using View::View;
    void setStringValue(std::string text) { text_ = std::move(text), changed(); }
    const std::string& stringValue() const { return text_; }

private:
    std::string text_;
};

class Button final : public View {
public:
    using View::View;
    void setTitle(std::string title) { title_ = std::move(title), changed(); }
    const std::string& title() const { return title_; }
    void setAction(std::function<void()> action) { action_ = std::move(action); }
    /// What a press does.
    void performClick() const {
        if (action_) action_();
    }

private:
    std::string title_;
    std::function<void()> action_;
};

class ImageView final : public View {
public:
    using View::View;
    void setImage(ImageReference image) { image_ = std::move(image), changed(); }
    const ImageReference& image() const { return image_; }

private:
    ImageReference image_;
};

/// Indeterminate: it moves or it does not.
class ProgressIndicator final : public View {
public:
    using View::View;
    void startAnimation() { animating_ = true, changed(); }
    void stopAnimation() { animating_ = false, changed(); }
    bool isAnimating() const { return animating_; }

private:
    bool animating_ = false;
};

class Window final : public View {
public:
    /// `interfaceFile`: the user-interface file that lays the window out.
    Window(std::string interfaceFile, std::string name)
        : View(std::move(name)), interfaceFile_(std::move(interfaceFile)) {}

    const std::string& interfaceFile() const { return interfaceFile_; }
    void setTitle(std::string title) { title_ = std::move(title), changed(); }
    const std::string& title() const { return title_; }
    /// In reading order. Not owned.
    void setViews(std::vector<View*> views) { views_ = std::move(views); }
    const std::vector<View*>& views() const { return views_; }
    /// The button that Return presses; null for none. Not owned.
    void setDefaultButton(Button* button) { defaultButton_ = button, changed(); }
    Button* defaultButton() const { return defaultButton_; }
    /// Told when the user closes the window.
    void setWillClose(std::function<void()> willClose) { willClose_ = std::move(willClose); }
    void close() const {
        if (willClose_) willClose_();
    }

private:
    std::string interfaceFile_;
    std::string title_;
    std::vector<View*> views_;
    Button* defaultButton_ = nullptr;
    std::function<void()> willClose_;
};

}  // namespace quillmore::platform
