// app/window/ControlBinding.h — ties the toolkit-free controls to their widgets.
#pragma once
#include "app/window/FittingLabel.h"
#include "app/window/Icons.h"
#include "base/Controls.h"

#include <QString>

class CaptionButton;
class DigitView;
class IndicatorLamp;
class LampView;
class LevelSlider;
class QStackedWidget;
class SourceBox;

/// What a switch button shows while its control names no title, image or tool tip of its own.
struct ButtonFace {
    Glyph offGlyph;
    Glyph onGlyph;
    QString offCaption;
    QString onCaption;
    QString toolTip;
    QString shortcut; ///< told after the tool tip
};

/// Each binding shows the control's state now and after every change, and hands a person's action to the
/// control. A control may outlive its widget; a widget must not outlive its control. Main thread only.
namespace ControlBinding {
void bind(Button& control, CaptionButton& widget, ButtonFace face);
/// `ink` is the colour of text that is not red.
void bind(TextField& control, FittingLabel& widget, const QString& toolTip,
          FittingLabel::Ink ink = FittingLabel::Ink::normal);
void bind(TextField& control, DigitView& widget, const QString& toolTip);
/// The name of a timetable entry. Its tool tip tells it in full, then `toolTip`, then the entry's `source` and
/// `rate`.
void bindEntry(TextField& name, TextField& source, TextField& rate, FittingLabel& widget,
               const QString& toolTip);
/// Shows `row` of `rows` while `name` or `time` has a text, and its first row otherwise.
void bindRow(TextField& name, TextField& time, QStackedWidget& rows, int row);
/// `valueText` names a level for the tool tip; it contains "%1".
void bind(Slider& control, LevelSlider& widget, const QString& toolTip, const QString& valueText);
void bindStartLevel(Slider& control, LampView& widget);
void bind(LampColumn& control, LampView& widget, const QString& toolTip);
void bind(Popup& control, SourceBox& widget, const QString& toolTip);
void bind(Indicator& control, IndicatorLamp& widget, const QString& toolTip);
} // namespace ControlBinding
