#include "app/window/ControlBinding.h"

#include "app/window/CaptionButton.h"
#include "app/window/DigitView.h"
#include "app/window/Follow.h"
#include "app/window/IndicatorLamp.h"
#include "app/window/LampView.h"
#include "app/window/LevelSlider.h"
#include "app/window/PlainTip.h"
#include "app/window/SourceBox.h"

#include <QPointer>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QStringList>
#include <utility>

namespace {
QString shown(const std::string& text) {
    return QString::fromStdString(text);
}

QString either(const std::string& own, const QString& otherwise) {
    return own.empty() ? otherwise : shown(own);
}

void showButton(const Button& control, CaptionButton& widget, const ButtonFace& face) {
    const bool on = control.isOn();
    widget.setEnabled(control.enabled());
    widget.setChecked(on);
    widget.setFace(Icons::named(control.image()).value_or(on ? face.onGlyph : face.offGlyph),
                   either(control.title(), on ? face.onCaption : face.offCaption));
    const QString tip = either(control.toolTip(), face.toolTip);
    // What is disabled says why; its shortcut would do nothing.
    widget.setToolTip(
        plainTip(face.shortcut.isEmpty() || !control.enabled() ? tip : tip + " (" + face.shortcut + ")"));
}
} // namespace

void ControlBinding::bind(Button& control, CaptionButton& widget, ButtonFace face) {
    follow(control, widget, [face = std::move(face)](const Button& model, CaptionButton& view) {
        showButton(model, view, face);
    });
    QObject::connect(&widget, &CaptionButton::clicked, &widget, [&control] { control.press(!control.isOn()); });
}

void ControlBinding::bind(TextField& control, FittingLabel& widget, const QString& toolTip,
                          FittingLabel::Ink ink) {
    follow(control, widget, [toolTip, ink](const TextField& model, FittingLabel& view) {
        view.setEnabled(model.enabled());
        view.setTip(either(model.toolTip(), toolTip));
        view.showText(shown(model.text()), model.color() == TextColor::red ? FittingLabel::Ink::red : ink);
    });
}

void ControlBinding::bindEntry(TextField& name, TextField& source, TextField& rate, FittingLabel& widget,
                               const QString& toolTip) {
    const auto show = [&name, &source, &rate, toolTip](const TextField&, FittingLabel& view) {
        QStringList tip{either(name.toolTip(), shown(name.text())), toolTip};
        QStringList format{shown(source.text()), shown(rate.text())};
        format.removeAll(QString());
        tip.append(format.join(", "));
        tip.removeAll(QString());
        view.setEnabled(name.enabled());
        view.setTip(tip.join("\n"));
        view.showText(shown(name.text()),
                      name.color() == TextColor::red ? FittingLabel::Ink::red : FittingLabel::Ink::normal);
    };
    for (TextField* field : {&name, &source, &rate})
        follow(*field, widget, show);
}

void ControlBinding::bindRow(TextField& name, TextField& time, QStackedWidget& rows, int row) {
    const auto show = [&name, &time, row](const TextField&, QStackedWidget& view) {
        view.setCurrentIndex(name.text().empty() && time.text().empty() ? 0 : row);
    };
    follow(name, rows, show);
    follow(time, rows, show);
}

void ControlBinding::bind(TextField& control, DigitView& widget, const QString& toolTip) {
    static const QString nothing = QStringLiteral("0'00\""); // until something was recorded
    follow(control, widget, [toolTip](const TextField& model, DigitView& view) {
        view.setEnabled(model.enabled());
        view.setToolTip(either(model.toolTip(), toolTip));
        view.showDigits(model.text().empty() ? nothing : shown(model.text()));
    });
}

void ControlBinding::bind(Slider& control, LevelSlider& widget, const QString& toolTip,
                          const QString& valueText) {
    widget.setRange(control.minimum(), control.maximum());
    follow(control, widget, [toolTip, valueText](const Slider& model, LevelSlider& view) {
        const QSignalBlocker blocker(view);
        view.setEnabled(model.enabled());
        view.setValue(model.value());
        view.setToolTip(either(model.toolTip(), toolTip) + "\n" + valueText.arg(model.value()));
    });
    QObject::connect(&widget, &LevelSlider::valueChanged, &widget, [&control, &widget](int value) {
        control.move(value);
        const QSignalBlocker blocker(widget);
        widget.setValue(control.value());
    });
}

void ControlBinding::bindStartLevel(Slider& control, LampView& widget) {
    follow(control, widget, [](const Slider& model, LampView& view) { view.setStartLevel(model.value()); });
}

void ControlBinding::bind(LampColumn& control, LampView& widget, const QString& toolTip) {
    follow(control, widget, [toolTip](const LampColumn& model, LampView& view) {
        for (int index = 0; index < LampColumn::count; ++index)
            view.setLit(index, model.isLit(index));
        if (const QString tip = either(model.toolTip(), toolTip); tip != view.toolTip())
            view.setToolTip(tip);
    });
}

void ControlBinding::bind(Popup& control, SourceBox& widget, const QString& toolTip) {
    follow(control, widget, [toolTip](const Popup& model, SourceBox& view) {
        QStringList names;
        for (const std::string& item : model.items())
            names.append(shown(item));
        const bool exists = model.selected() >= 0 && model.selected() < names.size();
        view.setEnabled(model.enabled() && !names.isEmpty());
        view.setSources(names, exists ? model.selected() : -1);
        view.setTip(either(model.toolTip(), toolTip));
    });
    QObject::connect(&widget, &SourceBox::activated, &widget, [&control, &widget](int index) {
        control.choose(index);
        const QSignalBlocker blocker(widget);
        widget.setCurrentIndex(control.selected());
    });
}

void ControlBinding::bind(Indicator& control, IndicatorLamp& widget, const QString& toolTip) {
    widget.setToolTip(toolTip);
    follow(control, widget,
           [](const Indicator& model, IndicatorLamp& view) { view.setOn(model.isAnimating()); });
}
