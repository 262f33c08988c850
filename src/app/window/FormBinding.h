// app/window/FormBinding.h — ties controls to the usual widgets of a form.
#pragma once
#include "base/Controls.h"
#include "base/NumberField.h"

class QAbstractButton;
class QComboBox;
class QDoubleSpinBox;
class QLineEdit;
class QSlider;

/// As `ControlBinding`. The wheel turns a field only while it has the focus. Main thread only.
namespace FormBinding {
void bind(Popup& control, QComboBox& widget);
/// The text is handed over when a person has finished it.
void bind(TextField& control, QLineEdit& widget);
/// The text is handed over with every key.
void bindEachKey(TextField& control, QLineEdit& widget);
/// The number is handed over with every key that makes another of it.
void bind(NumberField& control, QDoubleSpinBox& widget);
void bind(Slider& control, QSlider& widget);
/// A press hands over the opposite of the control's state; a check box or switch shows that state.
void bind(Button& control, QAbstractButton& widget);
} // namespace FormBinding
