#include "app/PreferItem.h"

#include "base/Formatted.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr double nearlyEqual = 1e-6;

/// Whether `value` is a whole number between `lowest` and `highest`, but for rounding.
bool isWholeWithin(double value, double lowest, double highest) {
    return std::abs(value - std::round(value)) < nearlyEqual && value > lowest - nearlyEqual &&
           value < highest + nearlyEqual;
}
} // namespace

Control& PreferItem::control() const {
    return *std::visit([](auto* control) -> Control* { return control; }, m_control);
}

PreferItem::Value PreferItem::present() const {
    struct Reader {
        Value operator()(const Popup* popup) const { return static_cast<double>(popup->selected()); }
        Value operator()(const NumberField* field) const { return field->value(); }
        Value operator()(const Button* button) const { return button->isOn(); }
        Value operator()(const TextField* field) const { return field->text(); }
        Value operator()(const Slider* slider) const { return static_cast<double>(slider->value()); }
    };
    return std::visit(Reader{}, m_control);
}

std::string PreferItem::enter(const QJsonValue& value) const {
    if (auto* const* popup = std::get_if<Popup*>(&m_control))
        return choose(**popup, value);
    if (auto* const* field = std::get_if<NumberField*>(&m_control))
        return enterNumber(**field, value);
    if (auto* const* slider = std::get_if<Slider*>(&m_control))
        return move(**slider, value);
    if (auto* const* button = std::get_if<Button*>(&m_control)) {
        if (!value.isBool())
            return "is neither true nor false";
        (*button)->press(value.toBool());
        return {};
    }
    if (!value.isString())
        return "is no text";
    std::get<TextField*>(m_control)->enter(value.toString().toStdString());
    return {};
}

std::string PreferItem::choose(Popup& popup, const QJsonValue& value) const {
    if (value.isString()) {
        const std::string title = value.toString().toStdString();
        const auto found = std::ranges::find(popup.items(), title);
        if (found == popup.items().end())
            return "there is no choice \"" + title + "\"";
        popup.choose(static_cast<int>(found - popup.items().begin()));
        return {};
    }
    const double index = value.toDouble() / m_scale.unit - m_scale.offset;
    const auto count = static_cast<int>(popup.items().size());
    if (!value.isDouble() || !isWholeWithin(index, 0.0, count - 1))
        return formatted("is none of the %d choices", count);
    popup.choose(static_cast<int>(std::lround(index)));
    return {};
}

std::string PreferItem::enterNumber(NumberField& field, const QJsonValue& value) const {
    const double number = value.toDouble() / m_scale.unit - m_scale.offset;
    if (!value.isDouble() || std::abs(field.fitting(number) - number) > nearlyEqual * std::max(1.0, number)) {
        const NumberField::Bounds& bounds = field.bounds();
        return formatted("is no number from %g to %g with %d decimals",
                         (bounds.minimum + m_scale.offset) * m_scale.unit,
                         (bounds.maximum + m_scale.offset) * m_scale.unit, bounds.decimals);
    }
    field.enter(number);
    return {};
}

std::string PreferItem::move(Slider& slider, const QJsonValue& value) const {
    const double number = value.toDouble() / m_scale.unit - m_scale.offset;
    if (!value.isDouble() || !isWholeWithin(number, slider.minimum(), slider.maximum()))
        return formatted("is no number from %g to %g in steps of %g",
                         (slider.minimum() + m_scale.offset) * m_scale.unit,
                         (slider.maximum() + m_scale.offset) * m_scale.unit, m_scale.unit);
    slider.move(static_cast<int>(std::lround(number)));
    return {};
}
