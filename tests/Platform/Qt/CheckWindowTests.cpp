// The install-check window and the progress sheet over it.
#include <QIcon>
#include <QImage>
#include <QProgressBar>

#include "Platform/Values/Exception.h"
#include "tests/Platform/Qt/WindowsTest.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::platform {
namespace {

using CheckWindow = WindowsTest;

TEST_F(CheckWindow, ShowsTheTextsOfTheNeutralControls) {
    windows().present(window);
    EXPECT_TRUE(dialog()->isVisible());
    EXPECT_EQ(dialog()->windowTitle(), "Quillmore");
    EXPECT_EQ(control<QLabel>("checkText")->text(), "Something must be installed.\n");
    EXPECT_EQ(control<QPushButton>("checkInstall")->text(), "Continue");
    EXPECT_EQ(control<QPushButton>("checkDontInstall")->text(), "Quit");
    EXPECT_TRUE(problems.take().empty());
}

TEST_F(CheckWindow, TakesLaterTextsToo) {
    windows().present(window);
    text.setStringValue("Less.");
    install.setTitle("Go on");
    window.setTitle("Other");
    EXPECT_EQ(control<QLabel>("checkText")->text(), "Less.");
    EXPECT_EQ(control<QPushButton>("checkInstall")->text(), "Go on");
    EXPECT_EQ(dialog()->windowTitle(), "Other");
}

TEST_F(CheckWindow, NoCharacterOfATextSteersAControl) {
    text.setStringValue("<b>This</b> & that");
    install.setTitle("This & that");
    window.setTitle("Quillmore[*]");
    windows().present(window);
    EXPECT_EQ(control<QLabel>("checkText")->textFormat(), Qt::PlainText);
    EXPECT_EQ(control<QLabel>("checkText")->text(), "<b>This</b> & that");
    EXPECT_EQ(control<QPushButton>("checkInstall")->text(), "This && that");
    EXPECT_TRUE(control<QPushButton>("checkInstall")->shortcut().isEmpty());
    EXPECT_EQ(dialog()->windowTitle(), "Quillmore[*][*]");  // shown as one "[*]"
}

TEST_F(CheckWindow, FloatsAboveOtherWindowsInTheMiddleOfTheScreen) {
    windows().present(window);
    windows().present(window);  // the second time the frame around it is known
    EXPECT_TRUE(dialog()->windowFlags() & Qt::WindowStaysOnTopHint);
    const QPoint away =
        dialog()->frameGeometry().center() - dialog()->screen()->availableGeometry().center();
    EXPECT_LE(std::abs(away.x()), 1);
    EXPECT_LE(std::abs(away.y()), 1);
}

TEST_F(CheckWindow, EveryPresentationGivesTheKeyboardToTheDefaultButton) {
    windows().present(window);
    EXPECT_EQ(dialog()->focusWidget(), control<QPushButton>("checkInstall"));
    control<QPushButton>("checkDontInstall")->setFocus();
    windows().present(window);
    EXPECT_EQ(dialog()->focusWidget(), control<QPushButton>("checkInstall"));
}

TEST_F(CheckWindow, TheIconIsTheApplicationsInTheSizesThatThereAre) {
    const tests::TemporaryFolder folder;
    for (const int side : {16, 48}) {
        QImage picture(side, side, QImage::Format_RGB32);
        const QString name = QString("/Quillmore-%1.png").arg(side);
        EXPECT_TRUE(picture.save(QString::fromStdString(folder.path()) + name));
    }
    resources = folder.path();
    windows();
    EXPECT_EQ(QGuiApplication::windowIcon().availableSizes(), (QList<QSize>{{16, 16}, {48, 48}}));
}

TEST_F(CheckWindow, ReturnContinuesWhateverHasTheKeyboard) {
    int installs = 0;
    int quits = 0;
    install.setAction([&] { ++installs; });
    quit.setAction([&] { ++quits; });
    windows().present(window);
    EXPECT_TRUE(control<QPushButton>("checkInstall")->isDefault());
    press(*control<QPushButton>("checkDontInstall"), Qt::Key_Return);
    press(*dialog(), Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(installs, 2);
    EXPECT_EQ(quits, 0);
}

TEST_F(CheckWindow, SpacePressesTheButtonThatHasTheKeyboard) {
    int quits = 0;
    quit.setAction([&] { ++quits; });
    windows().present(window);
    press(*control<QPushButton>("checkDontInstall"), Qt::Key_Space);
    EXPECT_EQ(quits, 1);
}

TEST_F(CheckWindow, EscapeDoesNothing) {
    int closes = 0;
    window.setWillClose([&] { ++closes; });
    windows().present(window);
    press(*dialog(), Qt::Key_Escape);
    EXPECT_TRUE(dialog()->isVisible());
    EXPECT_EQ(closes, 0);
}

TEST_F(CheckWindow, ClosingTellsTheWindowAndEndsTheLoop) {
    int closes = 0;
    window.setWillClose([&] { ++closes; });
    windows().present(window);
    queue.post([] { dialog()->close(); });
    windows().run();
    EXPECT_EQ(closes, 1);
    EXPECT_FALSE(dialog()->isVisible());
    windows().run();  // nothing is left to show: it returns
}

TEST_F(CheckWindow, RunReturnsAtOnceWhenNothingWasPresented) {
    windows().run();
}

TEST_F(CheckWindow, AnExceptionOfAnActionEndsTheLoopAndIsRaisedThere) {
    install.setAction([] { throw Exception("Fault", "no thread"); });
    windows().present(window);
    queue.post([this] { control<QPushButton>("checkInstall")->click(); });
    EXPECT_THROW(windows().run(), Exception);
    runWith([] {});  // and the loop can go on
}

TEST_F(CheckWindow, AnExceptionOfQueuedWorkIsRaisedByRunAndTheRestStaysQueued) {
    bool ran = false;
    windows().present(window);
    queue.post([] { throw Exception("Fault", "no disk"); });
    queue.post([&] { ran = true; });
    EXPECT_THROW(windows().run(), Exception);
    runWith([] {});
    EXPECT_TRUE(ran);
}

TEST_F(CheckWindow, AnExceptionOfDrawingIsRaisedByRun) {
    windows().present(window);
    header.onDraw = [] { throw Exception("Fault", "no settings"); };
    queue.post([this] { header.setNeedsDisplay(); });
    EXPECT_THROW(windows().run(), Exception);
    header.onDraw = nullptr;
}

TEST_F(CheckWindow, TheProgressSheetBlocksTheWindowUntilItIsEnded) {
    int ends = 0;
    windows().present(window);
    windows().beginSheet(sheet, window, [&] { ++ends; });
    QDialog* progress = dialog("repairProgressWindow");
    EXPECT_TRUE(progress->isVisible());
    EXPECT_EQ(progress->windowModality(), Qt::WindowModal);
    EXPECT_EQ(progress->parentWidget(), dialog());
    EXPECT_EQ(progress->windowTitle(), "Quillmore");
    EXPECT_TRUE(progress->windowFlags() & Qt::WindowStaysOnTopHint);
    EXPECT_EQ(ends, 0);
    windows().endSheet(sheet);
    EXPECT_FALSE(progress->isVisible());
    EXPECT_EQ(ends, 1);
    windows().endSheet(sheet);  // a second end says nothing
    EXPECT_EQ(ends, 1);
}

TEST_F(CheckWindow, NeitherSheetNorWindowClosesWhileTheSheetIsUp) {
    int closes = 0;
    window.setWillClose([&] { ++closes; });
    windows().present(window);
    windows().beginSheet(sheet, window, nullptr);
    QDialog* progress = dialog("repairProgressWindow");
    progress->close();
    press(*progress, Qt::Key_Escape);
    EXPECT_TRUE(progress->isVisible());
    dialog()->close();
    EXPECT_TRUE(dialog()->isVisible());
    EXPECT_EQ(closes, 0);
    windows().endSheet(sheet);
}

TEST_F(CheckWindow, TheSheetCanComeASecondTime) {
    windows().present(window);
    for (int round = 0; round < 2; ++round) {
        windows().beginSheet(sheet, window, nullptr);
        EXPECT_TRUE(dialog("repairProgressWindow")->isVisible());
        windows().endSheet(sheet);
    }
    EXPECT_TRUE(dialog()->isVisible());
}

TEST_F(CheckWindow, ProgressMovesOnlyWhileItIsAnimated) {
    windows().present(window);
    windows().beginSheet(sheet, window, nullptr);
    auto* bar = control<QProgressBar>("repairProgressIndicator");
    const auto isIndeterminate = [bar] { return bar->minimum() == 0 && bar->maximum() == 0; };
    EXPECT_FALSE(isIndeterminate());
    indicator.startAnimation();
    EXPECT_TRUE(isIndeterminate());
    indicator.stopAnimation();
    EXPECT_FALSE(isIndeterminate());
    windows().endSheet(sheet);
}

TEST_F(CheckWindow, ControlsOfADestroyedInterfaceAreLeftAlone) {
    {
        QtUserInterface gone(options);
        gone.present(window);
        gone.beginSheet(sheet, window, nullptr);
    }
    EXPECT_EQ(dialog(), nullptr);
    text.setStringValue("Nobody listens.");
    indicator.startAnimation();
    EXPECT_FALSE(header.isWindowOnScreen());
}

TEST_F(CheckWindow, TheHeaderKnowsItsSizeAndWhetherItIsOnScreen) {
    EXPECT_FALSE(header.isWindowOnScreen());
    windows().present(window);
    EXPECT_TRUE(header.isWindowOnScreen());
    EXPECT_EQ(header.frame().width, dialog()->width());
    EXPECT_EQ(header.frame().height, 60);
    dialog()->hide();
    EXPECT_FALSE(header.isWindowOnScreen());
}

}  // namespace
}  // namespace quillmore::platform
