// A user-interface file: a form of the toolkit's designer whose top widget holds the windows as
// children by their names. The class "InterfaceWindow" in it is a WindowDialog,
// "QuillmoreHeaderView" a DrawnViewWidget.
#pragma once

#include <QString>
#include <QWidget>
#include <cstdint>
#include <memory>
#include <string>

namespace quillmore::platform {

class WindowDialog;

class InterfaceFile {
public:
    /// A form is a few kilobytes; a larger file is no form of ours (and could be nested too deep).
    static constexpr std::uint64_t kMaximumBytes = 64ULL * 1024;

    /// Reads the file; what is wrong with it says problem().
    explicit InterfaceFile(const std::string& path);

    /// Empty when the file could be read.
    const std::string& problem() const { return problem_; }
    /// The window of that name, taken out of the file; null when it has none. Its width in the form
    /// is the width of its contents.
    std::unique_ptr<WindowDialog> takeWindow(const std::string& name);

private:
    std::unique_ptr<QWidget> top_;
    std::string problem_;
};

}  // namespace quillmore::platform
