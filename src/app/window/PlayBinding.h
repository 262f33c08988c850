// app/window/PlayBinding.h — ties the player's controls to widgets of the toolkit.
#pragma once
#include "base/Controls.h"

class FittingLabel;
class QAction;
class QCheckBox;
class QProgressBar;
class QSpinBox;
class QStackedWidget;
class SeekSlider;

/// As `ControlBinding`. Main thread only.
namespace PlayBinding {
/// While a person drags, the thumb stays where it is held. A drag's end is told by one more move to its place.
void bind(Slider& control, SeekSlider& widget);
void bind(Slider& control, QSpinBox& widget);
void bind(Button& control, QCheckBox& widget);
/// A command that presses the button.
void bind(Button& control, QAction& action);
/// Tells the output of the sound.
void bindDevice(Button& control, FittingLabel& widget);
/// Shows how far an export is, on the second page of `place` while there is one.
void bindExport(Slider& control, QProgressBar& bar, QStackedWidget& place);
} // namespace PlayBinding
