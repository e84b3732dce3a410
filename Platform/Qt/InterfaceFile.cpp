#include "Platform/Qt/InterfaceFile.h"

#include <QBuffer>
#include <QUiLoader>

#include "Platform/Files/FileManager.h"
#include "Platform/Qt/DrawnViewWidget.h"
#include "Platform/Qt/WindowDialog.h"

namespace quillmore::platform {

namespace {

class Loader final : public QUiLoader {
public:
    Loader() {
        clearPluginPaths();  // nothing from outside has business in our windows
    }

    QWidget* createWidget(const QString& className, QWidget* parent, const QString& name) override {
        QWidget* widget = nullptr;
        if (className == "InterfaceWindow")
            widget = new WindowDialog(parent);
        else if (className == "QuillmoreHeaderView")
            widget = new DrawnViewWidget(parent);
        else
            return QUiLoader::createWidget(className, parent, name);
        widget->setObjectName(name);
        return widget;
    }
};

}  // namespace

InterfaceFile::InterfaceFile(const std::string& path) {
    auto bytes = FileManager().contents(path, kMaximumBytes);
    if (!bytes) {
        problem_ = path + ": " + bytes.error().localizedDescription();
        return;
    }
    QByteArray text = QByteArray::fromStdString(*bytes);
    QBuffer buffer(&text);
    buffer.open(QIODevice::ReadOnly);
    Loader loader;
    top_.reset(loader.load(&buffer));
    if (!top_) {
        const std::string reason = loader.errorString().simplified().toStdString();
        problem_ = path + ": " + (reason.empty() ? "is no user-interface file" : reason);
    }
}

std::unique_ptr<WindowDialog> InterfaceFile::takeWindow(const std::string& name) {
    if (!top_) return nullptr;
    for (QWidget* widget : top_->findChildren<QWidget*>(QString::fromStdString(name))) {
        auto* window = dynamic_cast<WindowDialog*>(widget);
        if (window == nullptr) continue;
        window->setContentsWidth(window->width());
        window->setParent(nullptr);
        return std::unique_ptr<WindowDialog>(window);
    }
    return nullptr;
}

}  // namespace quillmore::platform
