#include "Platform/Qt/WindowDialog.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QLayout>
#include <QScreen>
#include <QStyle>
#include <algorithm>

namespace quillmore::platform {

namespace {

/// As far as the toolkit can tell before the frame is there.
int titleBarHeight(const QWidget& window) {
    return window.style()->pixelMetric(QStyle::PM_TitleBarHeight);
}

}  // namespace

void WindowDialog::fit() {
    if (layout() == nullptr) return;
    layout()->invalidate();
    layout()->activate();
    QSize room = screen()->availableGeometry().size();
    room.rheight() -= titleBarHeight(*this);
    const auto heightOf = [this](int width) {
        return layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(width)
                                             : layout()->totalSizeHint().height();
    };
    int width = std::max(contentsWidth_, layout()->totalMinimumSize().width());
    // A long text makes the window wider before it runs out of the screen.
    while (heightOf(width) > room.height() && width < room.width()) width += room.width() / 8;
    width = std::min(width, room.width());
    const int height = std::max(heightOf(width), layout()->totalMinimumSize().height());
    // Whatever the text is, the buttons stay on the screen: a layout takes from the largest first.
    setFixedSize(width, std::min(height, room.height()));
}

void WindowDialog::centreOver(const QWidget* other) {
    const QRect room = other != nullptr ? other->geometry() : screen()->availableGeometry();
    QSize outer = frameGeometry().size();
    // The first time the frame is not there yet: a title bar is the most of it.
    if (outer == size()) outer.rheight() += titleBarHeight(*this);
    QRect place(QPoint(), outer);
    place.moveCenter(room.center());
    move(place.topLeft());
}

void WindowDialog::closeEvent(QCloseEvent* event) {
    event->setAccepted(closes_ && closes_());
}

}  // namespace quillmore::platform
