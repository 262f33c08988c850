// app/window/TimerTab.h — the tab of the timetable.
#pragma once
#include <QWidget>

class QLayout;
class TabParts;
class Texts;
class TimerControls;

/// Shows the entries of the timetable; the drawer beside it shows the selected one. Main thread only.
class TimerTab : public QWidget {
public:
    /// `texts` is read while constructing only.
    TimerTab(TimerControls& controls, const Texts& texts, QWidget* parent = nullptr);

private:
    QWidget* makeTable(const TabParts& parts, const Texts& texts);
    QLayout* makeButtons(const TabParts& parts);

    TimerControls& m_controls;
};
