// base/Controls.h — what a person sees and presses, without a toolkit.
#pragma once
#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

enum class TextColor { black, red };

/// Base of the controls: says when it changed. Main thread only.
class Control {
public:
    using Observer = std::function<void()>;
    virtual ~Control() = default;
    /// Calls `observer` after every change to come, for as long as the control lives. Observers may observe.
    void observe(Observer observer) { m_observers.push_back(std::move(observer)); }

    bool enabled() const { return m_enabled; }
    void setEnabled(bool enabled) { change(m_enabled, enabled); }
    const std::string& toolTip() const { return m_toolTip; }
    void setToolTip(std::string toolTip) { change(m_toolTip, std::move(toolTip)); }

protected:
    template <typename Value>
    void change(Value& field, Value value) {
        if (field == value)
            return;
        field = std::move(value);
        changed();
    }
    void changed() const {
        const std::size_t count = m_observers.size();
        for (std::size_t number = 0; number < count; ++number)
            m_observers[number]();
    }

private:
    std::deque<Observer> m_observers; // stay in place when more are added
    bool m_enabled = true;
    std::string m_toolTip;
};

/// A push, switch or check button.
class Button : public Control {
public:
    bool isOn() const { return m_on; }
    void setOn(bool on) { change(m_on, on); }
    const std::string& title() const { return m_title; }
    void setTitle(std::string title) { change(m_title, std::move(title)); }
    const std::string& image() const { return m_image; }
    void setImage(std::string image) { change(m_image, std::move(image)); }

    /// What a press does, after the state has changed.
    void setAction(std::function<void()> action) { m_action = std::move(action); }
    /// A person's press: takes the state and performs the action. A disabled button ignores it.
    void press(bool on) {
        if (!enabled())
            return;
        setOn(on);
        if (m_action)
            m_action();
    }

private:
    bool m_on = false;
    std::string m_title;
    std::string m_image;
    std::function<void()> m_action;
};

class TextField : public Control {
public:
    const std::string& text() const { return m_text; }
    void setText(std::string text) { change(m_text, std::move(text)); }
    TextColor color() const { return m_color; }
    void setColor(TextColor color) { change(m_color, color); }

    /// What happens at the end of a person's editing, after the text has changed.
    void setAction(std::function<void()> action) { m_action = std::move(action); }
    /// A person's text, at the end of editing. A disabled field ignores it.
    void enter(std::string text) {
        if (!enabled())
            return;
        setText(std::move(text));
        if (m_action)
            m_action();
    }

private:
    std::string m_text;
    TextColor m_color = TextColor::black;
    std::function<void()> m_action;
};

/// A choice of one out of a list.
class Popup : public Control {
public:
    const std::vector<std::string>& items() const { return m_items; }
    void setItems(std::vector<std::string> items) { change(m_items, std::move(items)); }
    int selected() const { return m_selected; }
    void select(int index) { change(m_selected, index); }
    void setAction(std::function<void(int)> action) { m_action = std::move(action); }
    /// A person's choice.
    void choose(int index) {
        if (!enabled() || index < 0 || index >= static_cast<int>(m_items.size()))
            return;
        select(index);
        if (m_action)
            m_action(index);
    }

private:
    std::vector<std::string> m_items;
    int m_selected = -1;
    std::function<void(int)> m_action;
};

/// A value between two bounds.
class Slider : public Control {
public:
    Slider(int minimum, int maximum) : m_minimum(minimum), m_maximum(maximum), m_value(minimum) {}
    int minimum() const { return m_minimum; }
    int maximum() const { return m_maximum; }
    /// The value is brought into the new bounds.
    void setRange(int minimum, int maximum) {
        change(m_minimum, minimum);
        change(m_maximum, std::max(minimum, maximum));
        setValue(m_value);
    }
    int value() const { return m_value; }
    /// A value beyond the bounds is brought to the nearest one.
    void setValue(int value) { change(m_value, std::clamp(value, m_minimum, m_maximum)); }
    void setAction(std::function<void(int)> action) { m_action = std::move(action); }
    /// A person's move.
    void move(int value) {
        if (!enabled())
            return;
        setValue(value);
        if (m_action)
            m_action(m_value);
    }

private:
    int m_minimum;
    int m_maximum;
    int m_value;
    std::function<void(int)> m_action;
};

/// One of several pages is shown.
class TabView : public Control {
public:
    int selected() const { return m_selected; }
    /// Shows a page without asking anybody.
    void select(int index) { change(m_selected, index); }
    void setAction(std::function<void(int)> action) { m_action = std::move(action); }
    /// A person's choice: performs the action, which may select another, and shows the page only then: the
    /// action may ask whether this person may see it.
    void choose(int index) {
        if (!enabled() || index == m_selected)
            return;
        m_selected = index;
        if (m_action)
            m_action(index);
        changed();
    }

private:
    int m_selected = 0;
    std::function<void(int)> m_action;
};

/// A lamp that is on or off.
class Indicator : public Control {
public:
    bool isAnimating() const { return m_animating; }
    void setAnimating(bool animating) { change(m_animating, animating); }

private:
    bool m_animating = false;
};

/// A column of lamps, lowest first; those from `firstRed` on are red.
class LampColumn : public Control {
public:
    static constexpr int count = 20;
    static constexpr int firstRed = 17;
    bool isLit(int index) const { return m_lit[static_cast<std::size_t>(index)]; }
    void setLit(int index, bool lit) { change(m_lit[static_cast<std::size_t>(index)], lit); }
    /// Has every view draw all lamps again.
    void redraw() const { changed(); }

private:
    std::array<bool, count> m_lit{};
};
