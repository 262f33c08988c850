#include "app/window/ScreenReader.h"

#include <QAccessibleWidget>
#include <QComboBox>
#include <QLabel>

namespace {
/// A widget without a class of its own that the toolkit knows.
class PlainWidget final : public QAccessibleWidget {
public:
    explicit PlainWidget(QWidget* widget) : QAccessibleWidget(widget) {}
    QAccessible::Role role() const override {
        // It may be asked for before it gets its parent.
        return widget()->isWindow() ? QAccessible::Window : QAccessibleWidget::role();
    }
};

/// Asked with the name of each class of `object`, the most special one first.
QAccessibleInterface* plainWidget(const QString& className, QObject* object) {
    auto* const widget = qobject_cast<QWidget*>(object);
    return className == QLatin1String("QWidget") && widget != nullptr ? new PlainWidget(widget) : nullptr;
}
} // namespace

void ScreenReader::tellWindows() {
    QAccessible::installFactory(plainWidget);
}

void ScreenReader::tellName(QComboBox& box) {
    auto* const label = new QLabel(box.accessibleName(), box.parentWidget());
    label->setBuddy(&box);
    label->hide();
}
