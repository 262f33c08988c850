#include "app/window/FormBinding.h"

#include "app/window/Follow.h"
#include "app/window/PlainTip.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSlider>

namespace {
QStringList shown(const std::vector<std::string>& items) {
    QStringList list;
    for (const std::string& item : items)
        list << QString::fromStdString(item);
    return list;
}

QStringList itemsOf(const QComboBox& box) {
    QStringList list;
    for (int index = 0; index < box.count(); ++index)
        list << box.itemText(index);
    return list;
}
/// Lets the wheel turn a field only after it was chosen: else scrolling a page would change what lies under the
/// mouse.
class WheelGuard : public QObject {
public:
    explicit WheelGuard(QWidget& field) : QObject(&field), m_field(field) {
        field.setFocusPolicy(Qt::StrongFocus);
        field.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::Wheel || m_field.hasFocus())
            return false;
        event->ignore();
        return true;
    }

private:
    QWidget& m_field;
};

void showText(const TextField& model, QLineEdit& view) {
    view.setEnabled(model.enabled());
    if (const QString text = QString::fromStdString(model.text()); text != view.text())
        view.setText(text);
}
} // namespace

void FormBinding::bind(Popup& control, QComboBox& widget) {
    follow(control, widget, [](const Popup& model, QComboBox& view) {
        const QSignalBlocker blocker(view);
        view.setEnabled(model.enabled());
        if (const QStringList items = shown(model.items()); items != itemsOf(view)) {
            view.clear();
            view.addItems(items);
        }
        view.setCurrentIndex(model.selected());
    });
    new WheelGuard(widget);
    QObject::connect(&widget, qOverload<int>(&QComboBox::activated), &widget, [&control, &widget](int index) {
        control.choose(index);
        const QSignalBlocker blocker(widget); // the choice may have been refused
        widget.setCurrentIndex(control.selected());
    });
}

void FormBinding::bind(TextField& control, QLineEdit& widget) {
    follow(control, widget, showText);
    QObject::connect(&widget, &QLineEdit::editingFinished, &widget, [&control, &widget] {
        if (const std::string text = widget.text().toStdString(); text != control.text())
            control.enter(text);
    });
}

void FormBinding::bindEachKey(TextField& control, QLineEdit& widget) {
    follow(control, widget, showText);
    QObject::connect(&widget, &QLineEdit::textEdited, &widget,
                     [&control](const QString& text) { control.enter(text.toStdString()); });
}

void FormBinding::bind(NumberField& control, QDoubleSpinBox& widget) {
    const NumberField::Bounds& bounds = control.bounds();
    widget.setDecimals(bounds.decimals);
    widget.setRange(bounds.minimum, bounds.maximum);
    widget.setSingleStep(bounds.step);
    new WheelGuard(widget);
    follow(control, widget, [](const NumberField& model, QDoubleSpinBox& view) {
        const QSignalBlocker blocker(view);
        view.setEnabled(model.enabled());
        if (view.value() != model.value()) // what is being typed stays as it is
            view.setValue(model.value());
    });
    QObject::connect(&widget, qOverload<double>(&QDoubleSpinBox::valueChanged), &widget,
                     [&control](double value) { control.enter(value); });
}

void FormBinding::bind(Slider& control, QSlider& widget) {
    follow(control, widget, [](const Slider& model, QSlider& view) {
        const QSignalBlocker blocker(view);
        view.setEnabled(model.enabled());
        view.setRange(model.minimum(), model.maximum());
        view.setValue(model.value());
    });
    new WheelGuard(widget);
    QObject::connect(&widget, &QSlider::valueChanged, &widget, [&control](int value) { control.move(value); });
}

void FormBinding::bind(Button& control, QAbstractButton& widget) {
    const QString usualTip = widget.toolTip();
    follow(control, widget, [usualTip](const Button& model, QAbstractButton& view) {
        view.setEnabled(model.enabled());
        if (view.isCheckable())
            view.setChecked(model.isOn());
        view.setToolTip(model.toolTip().empty() ? usualTip : plainTip(QString::fromStdString(model.toolTip())));
    });
    QObject::connect(&widget, &QAbstractButton::clicked, &widget, [&control, &widget] {
        control.press(!control.isOn());
        if (widget.isCheckable())
            widget.setChecked(control.isOn());
    });
}
