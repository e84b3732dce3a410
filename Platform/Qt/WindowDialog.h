// A window of the program: of one width, as high as its texts need, in the middle of the screen or
// of the window it lies over. A dialog of the toolkit, because only those know a default button;
// what the toolkit would close on Escape stays.
#pragma once

#include <QDialog>
#include <functional>

namespace quillmore::platform {

class WindowDialog : public QDialog {
public:
    explicit WindowDialog(QWidget* parent = nullptr) : QDialog(parent) {}

    /// Asked when the user wants to close the window; true lets it close. Without one it stays.
    void setCloses(std::function<bool()> closes) { closes_ = std::move(closes); }
    /// Points; the width that the contents get when they need no more.
    void setContentsWidth(int width) { contentsWidth_ = width; }
    /// Gives the window the size that its contents need now.
    void fit();
    /// In the middle of the other window, or of the screen without one.
    void centreOver(const QWidget* other);

    /// Escape does nothing here.
    void reject() override {}

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    std::function<bool()> closes_;
    int contentsWidth_ = 0;
};

}  // namespace quillmore::platform
