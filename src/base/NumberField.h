// base/NumberField.h — a number with a stepper.
#pragma once
#include "base/Controls.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

/// A number between two bounds, rounded to a number of decimals. Main thread only.
class NumberField : public Control {
public:
    struct Bounds {
        double minimum = 0.0;
        double maximum = 0.0;
        double step = 1.0; ///< of one press on the stepper
        int decimals = 0;
    };
    explicit NumberField(const Bounds& bounds) : m_bounds(bounds), m_value(bounds.minimum) {}

    const Bounds& bounds() const { return m_bounds; }
    double value() const { return m_value; }
    int integerValue() const { return static_cast<int>(std::lround(m_value)); }
    /// A value beyond the bounds is brought to the nearest one; what is no number changes nothing.
    void setValue(double value) {
        if (!std::isnan(value))
            change(m_value, fitting(value));
    }
    /// The value as it would be taken.
    double fitting(double value) const {
        const double unit = std::pow(10.0, m_bounds.decimals);
        return std::round(std::clamp(value, m_bounds.minimum, m_bounds.maximum) * unit) / unit;
    }

    /// What happens at the end of a person's editing, after the value has changed.
    void setAction(std::function<void()> action) { m_action = std::move(action); }
    /// A person's number. A disabled field ignores it.
    void enter(double value) {
        if (!enabled())
            return;
        setValue(value);
        if (m_action)
            m_action();
    }
    /// A person's press on the stepper: `steps` up, or down if negative.
    void stepBy(int steps) { enter(m_value + steps * m_bounds.step); }

private:
    const Bounds m_bounds;
    double m_value;
    std::function<void()> m_action;
};
