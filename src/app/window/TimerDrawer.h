// app/window/TimerDrawer.h — the values of the selected entry of the timetable.
#pragma once
#include <QWidget>

class Popup;
class QComboBox;
class QFormLayout;
class TabParts;
class Texts;
class TimerControls;

/// Stands at the window's right edge. Every change holds at once. Main thread only.
class TimerDrawer : public QWidget {
public:
    static constexpr int fixedWidth = 260; ///< pixels

    /// `texts` is read while constructing only.
    TimerDrawer(TimerControls& controls, const Texts& texts, QWidget* parent = nullptr);

private:
    QComboBox* box(Popup& control, const TabParts& parts, const char* key);
    void addRow(QFormLayout& form, const TabParts& parts, const char* key, QWidget* field);
    void addTime(QFormLayout& form, const TabParts& parts, const char* key, Popup& hour, Popup& minute);
};
