// Long texts, other writing directions, and what assistive technology is told.
#include <QAccessible>

#include "Platform/Qt/AlertDialog.h"
#include "tests/Platform/Qt/WindowsTest.h"

namespace quillmore::platform {
namespace {

class Layout : public WindowsTest {
protected:
    ~Layout() override { QGuiApplication::setLayoutDirection(Qt::LeftToRight); }

    void useLongTexts() {
        text.setStringValue(
            "Quillmore muss Komponenten installieren oder reparieren, bevor es ausgeführt werden "
            "kann. Möglicherweise werden Sie währenddessen nach dem Kennwort eines Administrators "
            "gefragt, gegebenenfalls auch mehrmals hintereinander.\n\nFolgendes wird "
            "installiert:\n - das Dateisystem von Quillmore mit allen seinen Bestandteilen\n - die "
            "Hilfsprogramme von Quillmore zur Aktualisierung und Überwachung\n");
        install.setTitle("Installation nun fortsetzen");
        quit.setTitle("Installationsprogramm beenden");
        progressText.setStringValue(
            "Die Komponenten von Quillmore werden installiert und eingerichtet. Dies kann einige "
            "Minuten in Anspruch nehmen ...");
    }
    static void expectTextsFit(const QWidget& window) {
        for (const QLabel* label : window.findChildren<QLabel*>()) {
            if (label->window() != &window) continue;  // a sheet's
            EXPECT_GE(label->height(), label->heightForWidth(label->width()))
                << label->objectName().toStdString();
            expectInside(*label, window);
        }
        for (const QPushButton* button : window.findChildren<QPushButton*>()) {
            EXPECT_GE(button->width(), button->sizeHint().width())
                << button->objectName().toStdString();
            expectInside(*button, window);
        }
    }
    static void expectInside(const QWidget& control, const QWidget& window) {
        const QRect place(control.mapTo(&window, QPoint()), control.size());
        EXPECT_TRUE(window.rect().contains(place)) << control.objectName().toStdString();
    }
    static int edge(const QWidget* control, const QWidget* window) {
        return control->mapTo(window, QPoint()).x();
    }
    static QAccessibleInterface* accessible(QWidget* widget) {
        return QAccessible::queryAccessibleInterface(widget);
    }
};

TEST_F(Layout, TheSampleTextFits) {
    windows().present(window);
    expectTextsFit(*dialog());
}

TEST_F(Layout, TextsThatGrowByHalfFit) {
    useLongTexts();
    windows().present(window);
    windows().beginSheet(sheet, window, nullptr);
    expectTextsFit(*dialog());
    expectTextsFit(*dialog("repairProgressWindow"));
    windows().endSheet(sheet);
}

TEST_F(Layout, TextsThatGrowWhileTheWindowIsUpFit) {
    windows().present(window);
    const int before = dialog()->height();
    useLongTexts();
    expectTextsFit(*dialog());
    EXPECT_GT(dialog()->height(), before);
}

TEST_F(Layout, ATextThatShrinksMakesTheWindowLowerAgain) {
    useLongTexts();
    windows().present(window);
    const int before = dialog()->height();
    text.setStringValue("Little.");
    EXPECT_LT(dialog()->height(), before);
}

TEST_F(Layout, LongButtonsMakeTheWindowWider) {
    windows().present(window);
    const int before = dialog()->width();
    install.setTitle("Die Installation aller Komponenten jetzt fortsetzen");
    quit.setTitle("Das Installationsprogramm jetzt beenden");
    EXPECT_GT(dialog()->width(), before);
    expectTextsFit(*dialog());
}

TEST_F(Layout, LongButtonsMakeAnAlertWider) {
    const std::string title = "Die Installation aller Komponenten jetzt fortsetzen";
    AlertDialog shown({"Failed", "", {{title, ""}, {title, ""}}, false}, "", nullptr);
    shown.show();
    expectTextsFit(shown);
}

TEST_F(Layout, AnEndlessTextMakesTheWindowWiderBeforeItLeavesTheScreen) {
    std::string endless;
    for (int i = 0; i < 80; ++i) endless += "Quillmore must install this and that component. ";
    text.setStringValue(endless);
    windows().present(window);
    EXPECT_LE(dialog()->height(), dialog()->screen()->availableGeometry().height());
    expectTextsFit(*dialog());
}

TEST_F(Layout, WhateverTheTextTheButtonsStayOnTheScreen) {
    std::string lines;
    for (int i = 0; i < 500; ++i) lines += "One more line.\n";
    for (const std::string& endless : {std::string(5000, 'm'), lines}) {
        AlertDialog shown({"Failed", endless, {{"OK", ""}}, false}, "", nullptr);
        shown.show();
        const QSize room = shown.screen()->availableGeometry().size();
        EXPECT_EQ(shown.size(), shown.size().boundedTo(room));
        const auto* button = shown.findChild<QPushButton*>("button0");
        expectInside(*button, shown);
        EXPECT_GE(button->height(), button->minimumSizeHint().height());
        EXPECT_GE(button->width(), button->minimumSizeHint().width());
    }
}

TEST_F(Layout, AnAlertWithLongTextsFits) {
    QString longText = "Einige Komponenten von Quillmore konnten nicht installiert werden. ";
    const Alert alert{longText.repeated(3).toStdString(),
                      longText.repeated(6).toStdString(),
                      {{"Nochmals versuchen und fortsetzen", ""}, {"Nicht installieren", "\033"}},
                      true};
    AlertDialog shown(alert, "Diese Meldung künftig nicht mehr anzeigen", nullptr);
    shown.show();
    expectTextsFit(shown);
}

TEST_F(Layout, TheDefaultButtonIsOutermostFromLeftToRight) {
    windows().present(window);
    EXPECT_GT(edge(control<QPushButton>("checkInstall"), dialog()),
              edge(control<QPushButton>("checkDontInstall"), dialog()));
}

TEST_F(Layout, ALanguageFromRightToLeftMirrorsTheWindow) {
    for (const char* language : {"ar", "he", "fa-IR"}) {
        options.language = language;
        const QtUserInterface mirrored(options);
        EXPECT_EQ(QGuiApplication::layoutDirection(), Qt::RightToLeft) << language;
    }
    windows().present(window);
    EXPECT_LT(edge(control<QPushButton>("checkInstall"), dialog()),
              edge(control<QPushButton>("checkDontInstall"), dialog()));
    EXPECT_TRUE(dialog()->isRightToLeft());
}

TEST_F(Layout, OtherLanguagesRunFromLeftToRight) {
    for (const char* language : {"en", "de-AT", "German", "Base", "", "no such language"}) {
        options.language = language;
        const QtUserInterface plain(options);
        EXPECT_EQ(QGuiApplication::layoutDirection(), Qt::LeftToRight) << language;
    }
}

TEST_F(Layout, EveryControlHasANameAndARole) {
    windows().present(window);
    windows().beginSheet(sheet, window, nullptr);
    const auto expect = [](QWidget* control, const char* name, QAccessible::Role role) {
        QAccessibleInterface* told = accessible(control);
        ASSERT_NE(told, nullptr) << name;
        EXPECT_EQ(told->text(QAccessible::Name), name);
        EXPECT_EQ(told->role(), role) << name;
    };
    expect(dialog(), "Quillmore", QAccessible::Dialog);
    expect(control<QWidget>("checkHeaderView"), "Installing Quillmore", QAccessible::Heading);
    expect(control<QLabel>("checkText"), "Something must be installed.\n", QAccessible::StaticText);
    expect(control<QPushButton>("checkInstall"), "Continue", QAccessible::Button);
    expect(control<QPushButton>("checkDontInstall"), "Quit", QAccessible::Button);
    expect(dialog("repairProgressWindow"), "Quillmore", QAccessible::Dialog);
    expect(control<QLabel>("repairProgressText"), "Installing...", QAccessible::StaticText);
    expect(control<QProgressBar>("repairProgressIndicator"), "Installing...",
           QAccessible::ProgressBar);
    windows().endSheet(sheet);
}

TEST_F(Layout, AnAlertReadsAsItsMessage) {
    AlertDialog shown({"Failed", "Try again.", {{"OK", ""}}, false}, "", nullptr);
    EXPECT_EQ(accessible(&shown)->text(QAccessible::Name), "Failed");
    EXPECT_EQ(accessible(&shown)->text(QAccessible::Description), "Try again.");
    EXPECT_EQ(accessible(&shown)->role(), QAccessible::AlertMessage);
}

TEST_F(Layout, TabReachesEveryButton) {
    windows().present(window);
    std::vector<QWidget*> reached;
    QWidget* next = control<QPushButton>("checkInstall");
    do {
        if (next->focusPolicy() & Qt::TabFocus) reached.push_back(next);
        next = next->nextInFocusChain();
    } while (next != control<QPushButton>("checkInstall"));
    EXPECT_EQ(reached, (std::vector<QWidget*>{control<QPushButton>("checkInstall"),
                                              control<QPushButton>("checkDontInstall")}));
}

}  // namespace
}  // namespace quillmore::platform
