#include "app/window/PlayBinding.h"

#include "app/window/FittingLabel.h"
#include "app/window/Follow.h"
#include "app/window/SeekSlider.h"

#include <QAction>
#include <QCheckBox>
#include <QPointer>
#include <QProgressBar>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QStackedWidget>

void PlayBinding::bind(Slider& control, SeekSlider& widget) {
    follow(control, widget, [](const Slider& model, SeekSlider& view) {
        const QSignalBlocker blocker(view);
        view.setEnabled(model.enabled());
        view.setRange(model.minimum(), model.maximum());
        if (!view.isSliderDown())
            view.setValue(model.value());
    });
    QObject::connect(&widget, &SeekSlider::valueChanged, &widget,
                     [&control](int value) { control.move(value); });
    QObject::connect(&widget, &SeekSlider::sliderReleased, &widget, [&control, &widget] {
        control.move(widget.value());
        const QSignalBlocker blocker(widget);
        widget.setValue(control.value());
    });
}

void PlayBinding::bind(Slider& control, QSpinBox& widget) {
    follow(control, widget, [](const Slider& model, QSpinBox& view) {
        const QSignalBlocker blocker(view);
        view.setEnabled(model.enabled());
        view.setRange(model.minimum(), model.maximum());
        view.setValue(model.value());
    });
    QObject::connect(&widget, qOverload<int>(&QSpinBox::valueChanged), &widget,
                     [&control](int value) { control.move(value); });
}

void PlayBinding::bind(Button& control, QCheckBox& widget) {
    follow(control, widget, [](const Button& model, QCheckBox& view) {
        view.setEnabled(model.enabled());
        view.setChecked(model.isOn());
    });
    QObject::connect(&widget, &QCheckBox::clicked, &widget, [&control, &widget](bool on) {
        control.press(on);
        widget.setChecked(control.isOn());
    });
}

void PlayBinding::bind(Button& control, QAction& action) {
    follow(control, action, [](const Button& model, QAction& view) { view.setEnabled(model.enabled()); });
    QObject::connect(&action, &QAction::triggered, &action, [&control] { control.press(!control.isOn()); });
}

void PlayBinding::bindExport(Slider& control, QProgressBar& bar, QStackedWidget& place) {
    follow(control, bar, [](const Slider& model, QProgressBar& view) {
        view.setRange(model.minimum(), model.maximum());
        view.setValue(model.value());
    });
    follow(control, place,
           [](const Slider& model, QStackedWidget& view) { view.setCurrentIndex(model.enabled() ? 1 : 0); });
}

void PlayBinding::bindDevice(Button& control, FittingLabel& widget) {
    follow(control, widget, [](const Button& model, FittingLabel& view) {
        view.setTip(QString::fromStdString(model.toolTip()));
        view.showText(QString::fromStdString(model.toolTip()), FittingLabel::Ink::secondary);
    });
}
