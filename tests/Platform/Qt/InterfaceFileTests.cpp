// User-interface files of every kind that may be met: each shows a window all the same.
#include <fstream>

#include "Platform/Qt/InterfaceFile.h"
#include "Platform/Qt/WindowDialog.h"
#include "tests/Platform/Qt/WindowsTest.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::platform {
namespace {

class InterfaceFiles : public WindowsTest {
protected:
    InterfaceFiles() { resources = folder.path(); }

    void write(const std::string& bytes) {
        std::ofstream(folder.path() + "/InstallCheck.ui", std::ios::binary) << bytes;
    }
    static std::string original() {
        std::ifstream file(std::string(QUILLMORE_TEST_RESOURCES) + "/InstallCheck.ui");
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static std::string replaced(std::string text, const std::string& what, const std::string& by) {
        return text.replace(text.find(what), what.size(), by);
    }
    /// The plain window is complete and usable, and the log says why it came.
    void expectPlainWindow(const std::string& reason) {
        int installs = 0;
        install.setAction([&] { ++installs; });
        windows().present(window);
        EXPECT_TRUE(dialog()->isVisible());
        EXPECT_EQ(control<QLabel>("checkText")->text(), "Something must be installed.\n");
        EXPECT_EQ(header.frame().height, 60);
        EXPECT_GT(control<QPushButton>("checkInstall")->x(),
                  control<QPushButton>("checkDontInstall")->x());
        press(*dialog(), Qt::Key_Return);
        EXPECT_EQ(installs, 1);
        const std::vector<std::string> said = problems.take();
        ASSERT_EQ(said.size(), 1U);
        EXPECT_NE(said[0].find(reason), std::string::npos) << said[0];
        EXPECT_NE(said[0].find("InstallCheck.ui"), std::string::npos) << said[0];
        EXPECT_EQ(said[0].find('\n'), std::string::npos) << said[0];
    }

    tests::TemporaryFolder folder;
};

TEST_F(InterfaceFiles, AMissingFileGivesAPlainWindow) {
    expectPlainWindow("there is no such resource");
}

TEST_F(InterfaceFiles, AnEmptyFileGivesAPlainWindow) {
    write("");
    expectPlainWindow("plain windows are shown");
}

TEST_F(InterfaceFiles, AFileOfAnotherTypeGivesAPlainWindow) {
    write(std::string("\x89PNG\r\n\x1a\n\0\0\0", 11));
    expectPlainWindow("plain windows are shown");
}

TEST_F(InterfaceFiles, ATruncatedFileGivesAPlainWindow) {
    write(original().substr(0, original().size() / 2));
    expectPlainWindow("plain windows are shown");
}

TEST_F(InterfaceFiles, AHugeFileGivesAPlainWindow) {
    write(original() + std::string(InterfaceFile::kMaximumBytes, ' '));
    expectPlainWindow("plain windows are shown");
}

TEST_F(InterfaceFiles, AFolderInItsPlaceGivesAPlainWindow) {
    std::filesystem::create_directory(folder.path() + "/InstallCheck.ui");
    expectPlainWindow("plain windows are shown");
}

TEST_F(InterfaceFiles, AFileNestedAsDeepAsItCanBeCrashesNothing) {
    std::string nested;
    while (nested.size() + 60 < InterfaceFile::kMaximumBytes - 200) {
        nested += "<widget class=\"QWidget\">";
    }
    write("<ui version=\"4.0\">" + nested + "</ui>");
    expectPlainWindow("plain windows are shown");
}

TEST_F(InterfaceFiles, AFileWithoutTheWindowGivesAPlainWindow) {
    write(replaced(original(), "name=\"checkWindow\"", "name=\"otherWindow\""));
    expectPlainWindow("no window \"checkWindow\"");
}

TEST_F(InterfaceFiles, AWindowWithoutAControlGivesAPlainWindow) {
    write(replaced(original(), "name=\"checkText\"", "name=\"otherText\""));
    expectPlainWindow("no fitting control \"checkText\" in \"checkWindow\"");
}

TEST_F(InterfaceFiles, AControlOfAnotherKindGivesAPlainWindow) {
    write(replaced(original(), "class=\"QPushButton\" name=\"checkInstall\"",
                   "class=\"QLabel\" name=\"checkInstall\""));
    expectPlainWindow("no fitting control \"checkInstall\"");
}

TEST_F(InterfaceFiles, AnUnknownClassGivesAPlainWindow) {
    write(replaced(original(), "class=\"QLabel\" name=\"checkText\"",
                   "class=\"NoSuchWidget\" name=\"checkText\""));
    expectPlainWindow("no fitting control \"checkText\"");
}

TEST_F(InterfaceFiles, TheProgressSheetHasItsPlainFormToo) {
    windows().present(window);
    windows().beginSheet(sheet, window, nullptr);
    EXPECT_EQ(control<QLabel>("repairProgressText")->text(), "Installing...");
    indicator.startAnimation();
    EXPECT_EQ(control<QProgressBar>("repairProgressIndicator")->maximum(), 0);
    windows().endSheet(sheet);
}

TEST_F(InterfaceFiles, AnotherLayoutOfTheSameControlsIsTaken) {
    write(replaced(original(), "<width>520</width>", "<width>700</width>"));
    windows().present(window);
    EXPECT_EQ(dialog()->width(), 700);
    EXPECT_TRUE(problems.take().empty());
}

}  // namespace
}  // namespace quillmore::platform
