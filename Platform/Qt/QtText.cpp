#include "Platform/Qt/QtText.h"

#include <QPushButton>
#include <algorithm>

namespace quillmore::platform {

namespace {
constexpr int kButtonWidth = 96;
}  // namespace

QString labelText(const std::string& text) {
    return QString::fromStdString(text);
}

QString buttonText(const std::string& text) {
    return QString::fromStdString(text).replace('&', "&&");
}

void setTitle(QPushButton& button, const std::string& title) {
    button.setText(buttonText(title));
    // A smaller minimum would let a layout that is short of room cut the title.
    button.setMinimumWidth(std::max(kButtonWidth, button.sizeHint().width()));
}

QString titleText(const std::string& text) {
    return QString::fromStdString(text).replace("[*]", "[*][*]");
}

}  // namespace quillmore::platform
