#include "Platform/Qt/Accessibility.h"

#include <QAccessible>
#include <QAccessibleWidget>

#include "Platform/Qt/AlertDialog.h"
#include "Platform/Qt/DrawnViewWidget.h"

namespace quillmore::platform {

namespace {

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    if (auto* view = dynamic_cast<DrawnViewWidget*>(object))
        return new QAccessibleWidget(view, QAccessible::Heading);
    if (auto* alert = dynamic_cast<AlertDialog*>(object))
        return new QAccessibleWidget(alert, QAccessible::AlertMessage);
    return nullptr;
}

}  // namespace

void installAccessibility() {
    QAccessible::installFactory(makeInterface);
}

}  // namespace quillmore::platform
