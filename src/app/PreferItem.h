// app/PreferItem.h — one setting of the preferences and its control.
#pragma once
#include "base/Controls.h"
#include "base/NumberField.h"

#include <QJsonValue>
#include <string>
#include <variant>

/// Which page of the drawer a setting stands on, in the order of the pages.
enum class PreferPage { recording, sources, storage, marker, timetable, keeping, program };

/// Ties a setting, by its key in the settings store, to the control that shows it. Main thread only.
class PreferItem {
public:
    using ControlOf = std::variant<Popup*, NumberField*, Button*, TextField*, Slider*>;
    /// The setting is (control value + `offset`) * `unit`; a pop-up's value is its index.
    struct Scale {
        double unit = 1.0;
        double offset = 0.0;
    };

    PreferItem(PreferPage page, const char* setting, ControlOf control, const Scale& scale = {1.0, 0.0})
        : m_page(page), m_setting(setting), m_control(control), m_scale(scale) {}

    PreferPage page() const { return m_page; }
    const std::string& setting() const { return m_setting; }
    /// Keys of the localised texts: the label, with its unit, and a line of help.
    std::string captionKey() const { return m_setting + "Caption"; }
    std::string helpKey() const { return m_setting + "Help"; }
    const ControlOf& controlOf() const { return m_control; }
    Control& control() const;

    /// Takes what the control shows now for the value in force.
    void hold() { m_held = present(); }
    /// Whether the control shows another value than the one in force.
    bool isChanged() const { return present() != m_held; }

    /// A person's choice of `value`, which is as in the settings store. Says why that choice does not exist;
    /// empty when it was made, or the control is disabled.
    std::string enter(const QJsonValue& value) const;

private:
    using Value = std::variant<double, bool, std::string>;
    Value present() const;
    std::string choose(Popup& popup, const QJsonValue& value) const;
    std::string enterNumber(NumberField& field, const QJsonValue& value) const;
    std::string move(Slider& slider, const QJsonValue& value) const;

    PreferPage m_page;
    std::string m_setting;
    ControlOf m_control;
    Scale m_scale;
    Value m_held;
};
