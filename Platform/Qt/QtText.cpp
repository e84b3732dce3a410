#include "Platform/Qt/QtText.h"

namespace quillmore::platform {

QString labelText(const std::string& text) {
    return QString::fromStdString(text);
}

QString buttonText(const std::string& text) {
    return QString::fromStdString(text).replace('&', "&&");
}

QString titleText(const std::string& text) {
    return QString::fromStdString(text).replace("[*]", "[*][*]");
}

}  // namespace quillmore::platform
