#include "Platform/Qt/DrawnViewWidget.h"

#include <QPaintEvent>
#include <QPainter>

#include "Platform/Qt/QtGraphicsContext.h"

namespace quillmore::platform {

namespace {

/// Draws nothing and keeps the texts.
class TextCollector final : public GraphicsContext {
public:
    QString texts;

    void lockFocus() override {}
    void unlockFocus() override {}
    void fillRect(const Rect&, Color) override {}
    void drawImage(const Image&, const Rect&) override {}
    void drawText(const std::string& text, const Point&, const TextAttributes&) override {
        add(text);
    }
    void drawText(const std::string& text, const Rect&, std::uint32_t,
                  const TextAttributes&) override {
        add(text);
    }

private:
    void add(const std::string& text) {
        if (!texts.isEmpty()) texts += ' ';
        texts += QString::fromStdString(text);
    }
};

}  // namespace

DrawnViewWidget::~DrawnViewWidget() {
    if (view_ != nullptr) view_->setWindowOnScreen(false);
}

void DrawnViewWidget::setView(DrawnView* view, std::function<void(std::exception_ptr)> failed) {
    if (view_ != nullptr) view_->setWindowOnScreen(false);
    view_ = view;
    failed_ = std::move(failed);
    if (view_ == nullptr) return;
    updateFrame();
    view_->setWindowOnScreen(isVisible());
    viewChanged();
}

void DrawnViewWidget::viewChanged() {
    TextCollector collector;
    if (view_ != nullptr) draw(view_->bounds(), collector);
    setAccessibleName(collector.texts);
    update();
}

void DrawnViewWidget::draw(const Rect& dirtyRect, GraphicsContext& context) {
    try {
        view_->drawRect(dirtyRect, context);
    } catch (...) {
        if (failed_) failed_(std::current_exception());
    }
}

void DrawnViewWidget::paintEvent(QPaintEvent* event) {
    if (view_ == nullptr) return;
    QPainter painter(this);
    QtGraphicsContext context(painter, size(), layoutDirection());
    const QRectF dirty = event->rect();
    draw({dirty.x(), height() - dirty.bottom(), dirty.width(), dirty.height()}, context);
    // An exception may have left a focus locked.
    if (painter.isActive()) painter.end();
}

void DrawnViewWidget::resizeEvent(QResizeEvent*) {
    updateFrame();
}

void DrawnViewWidget::updateFrame() {
    if (view_ != nullptr)
        view_->setFrame({0, 0, static_cast<double>(width()), static_cast<double>(height())});
}

void DrawnViewWidget::showEvent(QShowEvent*) {
    if (view_ != nullptr) view_->setWindowOnScreen(true);
}

void DrawnViewWidget::hideEvent(QHideEvent*) {
    if (view_ != nullptr) view_->setWindowOnScreen(false);
}

}  // namespace quillmore::platform
