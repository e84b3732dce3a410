// Alerts, alone and as sheets.
#include <QCheckBox>
#include <QStyle>

#include "Platform/Qt/AlertDialog.h"
#include "Platform/Values/Exception.h"
#include "tests/Platform/Qt/WindowsTest.h"

namespace quillmore::platform {
namespace {

const Alert kRunning{"Already running", "You must quit it.", {{"Quit", ""}}, false};
const Alert kMove{
    "Move?", "I can move.", {{"Move", ""}, {"Do Not Move", "\033"}, {"Later", ""}}, true};

class Alerts : public WindowsTest {
protected:
    /// The answer to an alert that `act` is done to as soon as it is up.
    AlertAnswer answerAfter(const Alert& alert, std::function<void(AlertDialog&)> act) {
        QMetaObject::invokeMethod(
            qApp, [act] { act(*current()); }, Qt::QueuedConnection);
        return windows().runModal(alert);
    }
    static AlertDialog* current() {
        for (QWidget* widget : QApplication::allWidgets()) {
            auto* alert = dynamic_cast<AlertDialog*>(widget);
            if (alert != nullptr && alert->isVisible()) return alert;
        }
        return nullptr;
    }
    static QPushButton* button(AlertDialog& alert, int index) {
        return alert.findChild<QPushButton*>(QString("button%1").arg(index));
    }
};

TEST_F(Alerts, ShowsMessageExplanationAndButtons) {
    answerAfter(kMove, [](AlertDialog& alert) {
        EXPECT_EQ(alert.findChild<QLabel*>("messageText")->text(), "Move?");
        EXPECT_TRUE(alert.findChild<QLabel*>("messageText")->font().bold());
        EXPECT_EQ(alert.findChild<QLabel*>("informativeText")->text(), "I can move.");
        EXPECT_EQ(button(alert, 0)->text(), "Move");
        EXPECT_EQ(button(alert, 1)->text(), "Do Not Move");
        EXPECT_EQ(button(alert, 2)->text(), "Later");
        EXPECT_TRUE(alert.isModal());
        alert.close();
    });
}

TEST_F(Alerts, BearTheProductsNameAndSheetsTheTitleOfTheirWindow) {
    options.localizedString = [](std::string_view key) {
        return key == "ProductName" ? "Acme" : std::string(key);
    };
    answerAfter(kRunning, [](AlertDialog& alert) {
        EXPECT_EQ(alert.windowTitle(), "Acme");
        alert.close();
    });
    windows().present(window);
    windows().beginAlertSheet(kRunning, window);
    EXPECT_EQ(current()->windowTitle(), "Quillmore");
    current()->close();
}

TEST_F(Alerts, StayAboveTheWindowThatFloats) {
    windows().present(window);
    windows().beginAlertSheet(kRunning, window);
    EXPECT_TRUE(current()->windowFlags() & Qt::WindowStaysOnTopHint);
    const QPoint away = current()->geometry().center() - dialog()->geometry().center();
    EXPECT_LE(std::abs(away.x()), 4);
    EXPECT_LE(std::abs(away.y()), dialog()->style()->pixelMetric(QStyle::PM_TitleBarHeight));
    current()->close();
}

TEST_F(Alerts, TheFirstButtonIsOutermostAndTheNextOnesFollow) {
    answerAfter(kMove, [](AlertDialog& alert) {
        EXPECT_GT(button(alert, 0)->x(), button(alert, 1)->x());
        EXPECT_GT(button(alert, 1)->x(), button(alert, 2)->x());
        alert.close();
    });
}

TEST_F(Alerts, EachButtonAnswersWithItsIndex) {
    for (const int index : {0, 1, 2}) {
        const AlertAnswer answer =
            answerAfter(kMove, [index](AlertDialog& alert) { button(alert, index)->click(); });
        EXPECT_EQ(answer.button, static_cast<std::size_t>(index));
        EXPECT_FALSE(answer.suppressed);
    }
}

TEST_F(Alerts, ReturnIsTheFirstButtonsWhateverHasTheKeyboard) {
    const AlertAnswer answer = answerAfter(kMove, [](AlertDialog& alert) {
        button(alert, 1)->setFocus();
        press(*button(alert, 1), Qt::Key_Return);
    });
    EXPECT_EQ(answer.button, 0U);
}

TEST_F(Alerts, EscapePressesTheButtonWithThatKey) {
    const AlertAnswer answer =
        answerAfter(kMove, [](AlertDialog& alert) { press(alert, Qt::Key_Escape); });
    EXPECT_EQ(answer.button, 1U);
}

TEST_F(Alerts, EscapeDoesNothingWithoutSuchAButton) {
    const AlertAnswer answer = answerAfter(kRunning, [](AlertDialog& alert) {
        press(alert, Qt::Key_Escape);
        EXPECT_TRUE(alert.isVisible());
        button(alert, 0)->click();
    });
    EXPECT_EQ(answer.button, 0U);
}

TEST_F(Alerts, TakenAwayUnansweredTheSafeButtonCounts) {
    const auto close = [](AlertDialog& alert) { alert.close(); };
    EXPECT_EQ(answerAfter(kMove, close).button, 1U);
    Alert withoutEscape = kMove;
    withoutEscape.buttons[1].keyEquivalent = "";
    EXPECT_EQ(answerAfter(withoutEscape, close).button, 2U);
}

TEST_F(Alerts, TheSuppressionBoxIsSmallAndAnswered) {
    options.localizedString = [](std::string_view key) { return std::string(key) + "?"; };
    const AlertAnswer answer = answerAfter(kMove, [](AlertDialog& alert) {
        auto* box = alert.findChild<QCheckBox*>("suppressionButton");
        EXPECT_EQ(box->text(), "Do not show this message again?");
        EXPECT_LT(box->fontInfo().pixelSize(),
                  alert.findChild<QLabel*>("informativeText")->fontInfo().pixelSize());
        box->click();
        button(alert, 1)->click();
    });
    EXPECT_TRUE(answer.suppressed);
    EXPECT_EQ(answer.button, 1U);
}

TEST_F(Alerts, WithoutSuppressionThereIsNoBox) {
    answerAfter(kRunning, [](AlertDialog& alert) {
        EXPECT_EQ(alert.findChild<QCheckBox*>(), nullptr);
        alert.close();
    });
}

TEST_F(Alerts, WorkOfTheMainQueueWaitsForTheAnswer) {
    bool ran = false;
    windows().present(window);
    runWith([&] {
        queue.post([&] { ran = true; });
        answerAfter(kRunning, [&](AlertDialog& alert) {
            QCoreApplication::processEvents();
            EXPECT_FALSE(ran);
            alert.close();
        });
        EXPECT_FALSE(ran);
    });
    runWith([] {});
    EXPECT_TRUE(ran);
}

TEST_F(Alerts, AnExceptionBehindAnAlertIsRaisedOnceThatIsAnswered) {
    windows().present(window);
    queue.post([this] {
        answerAfter(kRunning, [this](AlertDialog& alert) {
            header.onDraw = [] { throw Exception("Fault", "no settings"); };
            header.setNeedsDisplay();
            EXPECT_TRUE(alert.isVisible());
            alert.close();
        });
    });
    EXPECT_THROW(windows().run(), Exception);
    header.onDraw = nullptr;
}

TEST_F(Alerts, AnAlertBeforeTheLoopDoesNotEndIt) {
    answerAfter(kRunning, [](AlertDialog& alert) { alert.close(); });
    bool ran = false;
    windows().present(window);
    runWith([&] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST_F(Alerts, ASheetReturnsAtOnceAndBlocksItsWindowUntilAnswered) {
    windows().present(window);
    windows().beginAlertSheet(kRunning, window);
    AlertDialog* alert = current();
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(alert->windowModality(), Qt::WindowModal);
    EXPECT_EQ(alert->parentWidget(), dialog());
    dialog()->close();
    EXPECT_TRUE(dialog()->isVisible());
    press(*alert, Qt::Key_Return);
    EXPECT_EQ(current(), nullptr);
    EXPECT_TRUE(dialog()->isVisible());
}

TEST_F(Alerts, NoCharacterOfATextSteersAnAlert) {
    const Alert odd{"<i>A & B</i>", "<b>", {{"R&D", ""}}, false};
    answerAfter(odd, [](AlertDialog& alert) {
        EXPECT_EQ(alert.findChild<QLabel*>("messageText")->textFormat(), Qt::PlainText);
        EXPECT_EQ(alert.findChild<QLabel*>("informativeText")->textFormat(), Qt::PlainText);
        EXPECT_EQ(button(alert, 0)->text(), "R&&D");
        alert.close();
    });
}

}  // namespace
}  // namespace quillmore::platform
