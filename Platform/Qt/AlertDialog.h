// An alert: icon, message, explanation, buttons in the order given, the first one (at the far side)
// the default.
#pragma once

#include <string>

#include "Platform/Interface/UserInterface.h"
#include "Platform/Qt/WindowDialog.h"

class QBoxLayout;
class QCheckBox;

namespace quillmore::platform {

class AlertDialog final : public WindowDialog {
public:
    /// `suppressionTitle`: of the check box, when the alert has one.
    AlertDialog(const Alert& alert, const std::string& suppressionTitle, QWidget* parent);

    /// What was pressed; before that, and when the alert is taken away unanswered, the safe button:
    /// that of Escape, else the last one.
    AlertAnswer answer() const;
    /// Escape presses its button, when there is one.
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void addButtons(const Alert& alert, QBoxLayout* row);

    std::size_t answer_ = 0;
    bool hasEscape_ = false;
    QCheckBox* suppression_ = nullptr;
};

}  // namespace quillmore::platform
