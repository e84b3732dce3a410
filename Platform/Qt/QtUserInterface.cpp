#include "Platform/Qt/QtUserInterface.h"

#include <QApplication>
#include <QIcon>
#include <QLocale>

#include "Platform/Qt/AlertDialog.h"
#include "Platform/Qt/InterfaceFile.h"
#include "Platform/Qt/QtText.h"
#include "Platform/Qt/ShownWindow.h"
#include "Platform/Threads/MainQueue.h"
#include "Platform/Values/LanguageTags.h"

namespace quillmore::platform {

namespace {

constexpr const char* kInterfaceFileType = "ui";
constexpr int kIconSides[] = {16, 32, 48, 128, 256};

// Above other applications' windows; a sheet too, or it would be lost behind its own window.
constexpr Qt::WindowFlags kWindow = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                    Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                                    Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint;
constexpr Qt::WindowFlags kSheet =
    Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowStaysOnTopHint;

QIcon applicationIcon(const UserInterfaceModuleOptions& options) {
    QIcon icon;
    for (const int side : kIconSides) {
        const std::string name = options.applicationName + "-" + std::to_string(side);
        if (!options.pathForResource) break;
        if (const auto path = options.pathForResource(name, "png"))
            icon.addFile(QString::fromStdString(*path), QSize(side, side));
    }
    return icon;
}

bool hasOpenSheet(const WindowDialog& dialog) {
    for (const QDialog* sheet : dialog.findChildren<QDialog*>()) {
        if (sheet->isVisible()) return true;
    }
    return false;
}

void showInFront(WindowDialog& dialog) {
    dialog.show();
    dialog.raise();
    dialog.activateWindow();
}

}  // namespace

QtUserInterface::QtUserInterface(UserInterfaceModuleOptions options)
    : options_(std::move(options)), work_(options_.mainQueue->descriptor(), QSocketNotifier::Read) {
    work_.setEnabled(false);
    QObject::connect(&work_, &QSocketNotifier::activated, &work_,
                     [this] { atEdge([this] { options_.mainQueue->drain(); }); });
    // The loop ends when the program says so, not when the last alert is gone.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    const QLocale language(QString::fromStdString(canonicalLanguage(options_.language)));
    QGuiApplication::setLayoutDirection(language.textDirection());
    QGuiApplication::setWindowIcon(applicationIcon(options_));
}

QtUserInterface::~QtUserInterface() {
    // A sheet must not go with the window it lies over: both are owned here.
    for (const auto& [window, shown] : windows_) shown->dialog().setParent(nullptr);
}

AlertAnswer QtUserInterface::runModal(const Alert& alert) {
    AlertDialog dialog(alert, localized(kSuppressionTitleKey), frontWindow());
    dialog.setWindowFlags(kSheet);
    dialog.setWindowTitle(titleText(localized("ProductName")));
    dialog.centreOver(frontWindow());
    // Work of the main queue waits until the alert is answered.
    work_.setEnabled(false);
    ++alertsRunning_;
    showInFront(dialog);
    dialog.exec();
    --alertsRunning_;
    work_.setEnabled(running_ && alertsRunning_ == 0);
    if (pending_ && running_ && alertsRunning_ == 0) QCoreApplication::exit();
    return dialog.answer();
}

void QtUserInterface::beginAlertSheet(const Alert& alert, Window& window) {
    WindowDialog& parent = windowFor(window).dialog();
    auto* dialog = new AlertDialog(alert, localized(kSuppressionTitleKey), &parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowFlags(kSheet);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setWindowTitle(titleText(window.title()));
    dialog->centreOver(&parent);
    showInFront(*dialog);
}

void QtUserInterface::present(Window& window) {
    ShownWindow& front = windowFor(window);
    WindowDialog& dialog = front.dialog();
    if (!dialog.isVisible()) {
        dialog.setWindowFlags(kWindow);
        dialog.setCloses([this, &front] { return userCloses(front); });
    }
    dialog.fit();
    dialog.centreOver(nullptr);
    front.focusDefaultButton();
    showInFront(dialog);
}

void QtUserInterface::beginSheet(Window& sheet, Window& window, std::function<void()> didEnd) {
    WindowDialog& parent = windowFor(window).dialog();
    WindowDialog& dialog = windowFor(sheet).dialog();
    sheets_[&sheet] = std::move(didEnd);
    dialog.setParent(&parent, kSheet);
    dialog.setWindowModality(Qt::WindowModal);
    if (sheet.title().empty()) dialog.setWindowTitle(titleText(window.title()));
    dialog.fit();
    dialog.centreOver(&parent);
    showInFront(dialog);
}

void QtUserInterface::endSheet(Window& sheet) {
    auto ended = sheets_.extract(&sheet);
    if (ended.empty()) return;
    windowFor(sheet).dialog().hide();
    windowFor(sheet).dialog().setParent(nullptr);
    if (ended.mapped()) ended.mapped()();
}

void QtUserInterface::run() {
    raisePending();
    if (frontWindow() == nullptr) return;
    running_ = true;
    work_.setEnabled(true);
    QCoreApplication::exec();
    work_.setEnabled(false);
    running_ = false;
    raisePending();
}

/// What the close box does. A window under a sheet stays.
bool QtUserInterface::userCloses(ShownWindow& window) {
    if (hasOpenSheet(window.dialog())) return false;
    atEdge([&window] { window.window().close(); });
    QCoreApplication::exit();
    return true;
}

WindowDialog* QtUserInterface::frontWindow() const {
    for (const auto& [window, shown] : windows_) {
        if (shown->dialog().isVisible() && shown->dialog().parentWidget() == nullptr)
            return &shown->dialog();
    }
    return nullptr;
}

ShownWindow& QtUserInterface::windowFor(Window& window) {
    std::unique_ptr<ShownWindow>& known = windows_[&window];
    if (known) return *known;
    known = std::make_unique<ShownWindow>(
        window, layoutOf(window), [this](const std::function<void()>& work) { atEdge(work); });
    if (!known->problem().empty())
        options_.problems->report("\"" + window.interfaceFile() + "." + kInterfaceFileType +
                                  "\": " + known->problem() + " - a plain window is shown");
    return *known;
}

/// Null when the user-interface file is of no use for the window; that has been said then.
std::unique_ptr<WindowDialog> QtUserInterface::layoutOf(const Window& window) {
    const std::string name = window.interfaceFile() + "." + kInterfaceFileType;
    std::unique_ptr<InterfaceFile>& file = files_[window.interfaceFile()];
    if (!file) {
        const auto path = options_.pathForResource
                              ? options_.pathForResource(window.interfaceFile(), kInterfaceFileType)
                              : std::nullopt;
        file = std::make_unique<InterfaceFile>(path.value_or(""));
        if (!path)
            options_.problems->report("\"" + name +
                                      "\": there is no such resource - plain windows are shown");
        else if (!file->problem().empty())
            options_.problems->report(file->problem() + " - plain windows are shown");
    }
    auto dialog = file->takeWindow(window.name());
    if (!dialog && file->problem().empty())
        options_.problems->report("\"" + name + "\": no window \"" + window.name() +
                                  "\" - a plain window is shown");
    return dialog;
}

std::string QtUserInterface::localized(const char* key) const {
    return options_.localizedString ? options_.localizedString(key) : key;
}

void QtUserInterface::atEdge(const std::function<void()>& work) {
    try {
        work();
    } catch (...) {
        if (!pending_) pending_ = std::current_exception();
        if (alertsRunning_ == 0) QCoreApplication::exit();
    }
}

void QtUserInterface::raisePending() {
    if (const auto raised = std::exchange(pending_, nullptr)) std::rethrow_exception(raised);
}

}  // namespace quillmore::platform
