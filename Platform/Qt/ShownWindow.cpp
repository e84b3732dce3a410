#include "Platform/Qt/ShownWindow.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "Platform/Qt/DrawnViewWidget.h"
#include "Platform/Qt/QtText.h"
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

/// The layout of a window whose user-interface file is of no use: its controls below each other,
/// its buttons in a row.
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

template <class Control>
Control* child(const QWidget& dialog, const View& view) {
    for (QWidget* widget : dialog.findChildren<QWidget*>(QString::fromStdString(view.name()))) {
        if (auto* control = dynamic_cast<Control*>(widget)) return control;
    }
    return nullptr;
}

}  // namespace

ShownWindow::ShownWindow(Window& window, std::unique_ptr<WindowDialog> dialog, Edge edge)
    : window_(window), dialog_(std::move(dialog)), edge_(std::move(edge)) {
    if (dialog_) problem_ = missingControl();
    if (!dialog_ || !problem_.empty()) dialog_ = makePlainLayout(window_);
    connectAll();
}

ShownWindow::~ShownWindow() {
    for (View* view : window_.views()) {
        view->setObserver(nullptr);
        if (auto* widget = dynamic_cast<DrawnViewWidget*>(control(*view)))
            widget->setView(nullptr, nullptr);
    }
    window_.setObserver(nullptr);
}

/// The control of the kind that the view needs.
QWidget* ShownWindow::control(const View& view) const {
    if (dynamic_cast<const TextField*>(&view) != nullptr) return child<QLabel>(*dialog_, view);
    if (dynamic_cast<const Button*>(&view) != nullptr) return child<QPushButton>(*dialog_, view);
    if (dynamic_cast<const ProgressIndicator*>(&view) != nullptr)
        return child<QProgressBar>(*dialog_, view);
    if (dynamic_cast<const DrawnView*>(&view) != nullptr)
        return child<DrawnViewWidget>(*dialog_, view);
    return nullptr;
}

std::string ShownWindow::missingControl() const {
    for (const View* view : window_.views()) {
        if (control(*view) == nullptr)
            return "no fitting control \"" + view->name() + "\" in \"" + window_.name() + "\"";
    }
    return {};
}

void ShownWindow::connectAll() {
    for (View* view : window_.views()) connectView(*view);
    window_.setObserver([this] { windowChanged(); });
    windowChanged();
    textsChanged();
}

void ShownWindow::connectView(View& view) {
    QWidget* widget = control(view);
    if (auto* field = dynamic_cast<TextField*>(&view)) {
        connectTo(*field, dynamic_cast<QLabel&>(*widget));
    } else if (auto* button = dynamic_cast<Button*>(&view)) {
        connectTo(*button, dynamic_cast<QPushButton&>(*widget));
    } else if (auto* indicator = dynamic_cast<ProgressIndicator*>(&view)) {
        connectTo(*indicator, dynamic_cast<QProgressBar&>(*widget));
    } else if (auto* drawn = dynamic_cast<DrawnView*>(&view)) {
        auto& shown = dynamic_cast<DrawnViewWidget&>(*widget);
        view.setObserver([&shown] { shown.viewChanged(); });
        shown.setView(drawn, [edge = edge_](std::exception_ptr raised) {
            edge([&raised] { std::rethrow_exception(raised); });
        });
    }
}

void ShownWindow::connectTo(TextField& field, QLabel& label) {
    label.setTextFormat(Qt::PlainText);
    label.setWordWrap(true);
    const auto update = [this, &field, &label] {
        label.setText(labelText(field.stringValue()));
        textsChanged();
    };
    field.setObserver(update);
    update();
}

void ShownWindow::connectTo(Button& button, QPushButton& control) {
    control.setAutoDefault(false);  // Return is always the default button's
    QObject::connect(&control, &QPushButton::clicked, &control,
                     [this, &button] { edge_([&button] { button.performClick(); }); });
    const auto update = [this, &button, &control] {
        setTitle(control, button.title());
        textsChanged();
    };
    button.setObserver(update);
    update();
}

void ShownWindow::connectTo(ProgressIndicator& indicator, QProgressBar& bar) {
    bar.setTextVisible(false);
    const auto update = [&indicator, &bar] {
        // Without a range it moves, with one it stands still.
        bar.setRange(0, indicator.isAnimating() ? 0 : 1);
        bar.setValue(0);
    };
    indicator.setObserver(update);
    update();
}

void ShownWindow::windowChanged() {
    dialog_->setWindowTitle(titleText(window_.title()));
    for (View* view : window_.views()) {
        if (auto* button = dynamic_cast<QPushButton*>(control(*view)))
            button->setDefault(view == window_.defaultButton());
    }
}

/// The window takes the size its texts need, and a bar without words of its own is called by them.
void ShownWindow::textsChanged() {
    QString texts;
    for (View* view : window_.views()) {
        const auto* field = dynamic_cast<TextField*>(view);
        if (field != nullptr && !field->stringValue().empty())
            texts += (texts.isEmpty() ? "" : " ") + labelText(field->stringValue()).simplified();
    }
    for (View* view : window_.views()) {
        if (auto* bar = dynamic_cast<QProgressBar*>(control(*view))) bar->setAccessibleName(texts);
    }
    dialog_->fit();
}

void ShownWindow::focusDefaultButton() {
    if (window_.defaultButton() == nullptr) return;
    if (QWidget* button = control(*window_.defaultButton())) button->setFocus();
}

}  // namespace quillmore::platform
