// The widget that shows a view which draws itself. To assistive technology it is a heading that
// reads as the texts drawn.
#pragma once

#include <QWidget>
#include <exception>
#include <functional>

#include "Platform/Interface/DrawnView.h"

namespace quillmore::platform {

class DrawnViewWidget final : public QWidget {
public:
    explicit DrawnViewWidget(QWidget* parent = nullptr) : QWidget(parent) {}
    ~DrawnViewWidget() override;

    /// Null for none; the view must outlive the widget or be taken away before. `failed` is told of
    /// an exception that drawing raised.
    void setView(DrawnView* view, std::function<void(std::exception_ptr)> failed);
    DrawnView* view() const { return view_; }
    /// The view's texts or state changed: draws and reads anew.
    void viewChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void draw(const Rect& dirtyRect, GraphicsContext& context);
    void updateFrame();

    DrawnView* view_ = nullptr;
    std::function<void(std::exception_ptr)> failed_;
};

}  // namespace quillmore::platform
