#include "Platform/Qt/AlertDialog.h"

#include <QAccessible>
#include <QCheckBox>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "Platform/Qt/QtText.h"

namespace quillmore::platform {

namespace {

constexpr const char* kEscapeKey = "\033";
constexpr int kMargin = 20;
constexpr int kSpacing = 12;
constexpr int kIconSide = 64;
constexpr int kContentsWidth = 440;
constexpr double kSmallFont = 0.85;

QLabel* makeLabel(const std::string& text, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setText(labelText(text));
    label->setVisible(!text.empty());
    return label;
}

QLabel* makeIcon(QWidget* parent) {
    auto* icon = new QLabel(parent);
    icon->setPixmap(
        parent->windowIcon().pixmap(QSize(kIconSide, kIconSide), parent->devicePixelRatioF()));
    icon->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
    icon->setVisible(!parent->windowIcon().isNull());
    return icon;
}

QFont scaled(QFont font, double factor) {
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(static_cast<int>(font.pixelSize() * factor));
    return font;
}

}  // namespace

AlertDialog::AlertDialog(const Alert& alert, const std::string& suppressionTitle, QWidget* parent)
    : WindowDialog(parent) {
    setObjectName("alert");
    auto* message = makeLabel(alert.messageText, this);
    message->setObjectName("messageText");
    QFont bold = message->font();
    bold.setBold(true);
    message->setFont(bold);
    auto* information = makeLabel(alert.informativeText, this);
    information->setObjectName("informativeText");
    information->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(kSpacing);
    texts->addWidget(message);
    texts->addWidget(information);
    if (alert.showsSuppressionButton) {
        suppression_ = new QCheckBox(buttonText(suppressionTitle), this);
        suppression_->setObjectName("suppressionButton");
        suppression_->setFont(scaled(suppression_->font(), kSmallFont));
        texts->addWidget(suppression_);
    }
    texts->addStretch();
    auto* contents = new QHBoxLayout;
    contents->setSpacing(kMargin);
    contents->addWidget(makeIcon(this), 0);
    contents->addLayout(texts, 1);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(kSpacing);
    addButtons(alert, buttons);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    all->setSpacing(kMargin);
    all->addLayout(contents);
    all->addLayout(buttons);

    setAccessibleName(labelText(alert.messageText));
    setAccessibleDescription(labelText(alert.informativeText));
    setContentsWidth(kContentsWidth);
    setCloses([this] {
        WindowDialog::done(Rejected);
        return true;
    });
    fit();
}

/// The first button is the outermost one, the next ones follow towards the middle.
void AlertDialog::addButtons(const Alert& alert, QBoxLayout* row) {
    row->addStretch();
    answer_ = alert.buttons.empty() ? 0 : alert.buttons.size() - 1;
    for (std::size_t i = 0; i < alert.buttons.size(); ++i) {
        auto* button = new QPushButton(this);
        setTitle(*button, alert.buttons[i].title);
        button->setObjectName(QString("button%1").arg(i));
        button->setAutoDefault(false);  // Return is always the first button's
        button->setDefault(i == 0);
        if (alert.buttons[i].keyEquivalent == kEscapeKey && !hasEscape_) {
            hasEscape_ = true;
            answer_ = i;
        }
        connect(button, &QPushButton::clicked, this, [this, i] {
            answer_ = i;
            done(Accepted);
        });
        row->insertWidget(1, button);
        if (i == 0) button->setFocus();
    }
}

AlertAnswer AlertDialog::answer() const {
    return {answer_, suppression_ != nullptr && suppression_->isChecked()};
}

void AlertDialog::reject() {
    if (hasEscape_) done(Rejected);
}

void AlertDialog::showEvent(QShowEvent* event) {
    WindowDialog::showEvent(event);
    QAccessibleEvent told(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&told);
}

}  // namespace quillmore::platform
