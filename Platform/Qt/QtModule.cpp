// The module's entry point: starts the toolkit, once, when its display can be used.
#include <QApplication>
#include <clocale>
#include <cstdlib>
#include <utility>

#include "Platform/Interface/UserInterfaceModule.h"
#include "Platform/Qt/Accessibility.h"
#include "Platform/Qt/DisplayProbe.h"
#include "Platform/Qt/QtUserInterface.h"

namespace {

using namespace quillmore::platform;

// Never destroyed: the process may end at any time, while other threads still report.
UserInterfaceModuleOptions* theOptions = nullptr;

/// The toolkit's lesser complaints are of no use to anybody who reads the log.
void reportMessage(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type != QtCriticalMsg && type != QtFatalMsg) return;
    theOptions->problems->report("Qt: " + text.simplified().toStdString());
}

/// The toolkit calls exit() when its display goes away. The program itself never does: it must not
/// meet its static objects' destructors while its threads run.
void leaveInOrder() {
    if (theOptions->displayWasLost) theOptions->displayWasLost();
}

/// The toolkit takes the user's locale for the whole process, whose numbers and error texts have to
/// stay as they were.
void restoreLocale() {
    const char* current = std::setlocale(LC_CTYPE, nullptr);
    const std::string characters = current != nullptr ? current : "C.UTF-8";
    std::setlocale(LC_ALL, "C");
    std::setlocale(LC_CTYPE, characters.c_str());
}

void startToolkit() {
    static int count = 1;
    static std::string name = theOptions->applicationName;
    static char* arguments[] = {name.data(), nullptr};
    qInstallMessageHandler(reportMessage);
    new QApplication(count, arguments);
    restoreLocale();
    QCoreApplication::setApplicationName(QString::fromStdString(name));
    installAccessibility();
    std::atexit(leaveInOrder);
}

/// On macOS nothing is tried: its window system is closed to a forked child.
std::optional<std::string> problemWithWindows() {
#ifdef __APPLE__
    return std::nullopt;
#else
    return problemWithDisplay();
#endif
}

MadeUserInterface make(const UserInterfaceModuleOptions& options) noexcept {
    try {
        if (qApp == nullptr) {
            if (const auto found = problemWithWindows())
                return Error::file("No window can be shown: " + *found);
            theOptions = new UserInterfaceModuleOptions(options);
            startToolkit();
        }
        return MadeUserInterface(std::make_unique<QtUserInterface>(options));
    } catch (const std::exception& failure) {
        return Error::file(failure.what());
    }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const UserInterfaceModule*
quillmoreUserInterfaceModule(void) {
    static const UserInterfaceModule module{kUserInterfaceModuleVersion,
                                            userInterfaceModuleBuild().data(), make};
    return &module;
}
