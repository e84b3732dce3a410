// One application object for all tests, on a platform without a screen.
#include <gmock/gmock.h>

#include <QApplication>
#include <clocale>

#include "Platform/Qt/Accessibility.h"

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("QT_SCALE_FACTOR");
    std::setlocale(LC_ALL, "C.UTF-8");
    QApplication application(argc, argv);
    QApplication::setStyle("fusion");
    quillmore::platform::installAccessibility();
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
