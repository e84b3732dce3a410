#include "Platform/Qt/PlainLayout.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "Platform/Qt/DrawnViewWidget.h"
#include "Platform/Qt/WindowDialog.h"

namespace quillmore::platform {

namespace {

constexpr int kMargin = 20;
constexpr int kContentsWidth = 500;

QWidget* makeControl(const View& view, QWidget* parent) {
    if (dynamic_cast<const TextField*>(&view) != nullptr) return new QLabel(parent);
    if (dynamic_cast<const ProgressIndicator*>(&view) != nullptr) return new QProgressBar(parent);
    if (dynamic_cast<const Button*>(&view) != nullptr) return new QPushButton(parent);
    if (const auto* drawn = dynamic_cast<const DrawnView*>(&view)) {
        auto* widget = new DrawnViewWidget(parent);
        widget->setFixedHeight(static_cast<int>(drawn->frame().height));
        return widget;
    }
    return nullptr;
}

}  // namespace

std::unique_ptr<WindowDialog> makePlainLayout(const Window& window) {
    auto dialog = std::make_unique<WindowDialog>();
    dialog->setObjectName(QString::fromStdString(window.name()));
    dialog->setContentsWidth(kContentsWidth);
    auto* all = new QVBoxLayout(dialog.get());
    all->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    all->setSpacing(kMargin);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    for (const View* view : window.views()) {
        QWidget* control = makeControl(*view, dialog.get());
        if (control == nullptr) continue;
        control->setObjectName(QString::fromStdString(view->name()));
        if (dynamic_cast<const Button*>(view) != nullptr)
            buttons->insertWidget(1, control);  // the first button is the outermost
        else
            all->addWidget(control);
    }
    all->addLayout(buttons);
    return dialog;
}

}  // namespace quillmore::platform
