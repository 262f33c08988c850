// schedule/TimerControls.h — what a person sees and presses on the timer tab.
#pragma once
#include "base/Controls.h"
#include "base/Drawer.h"
#include "base/VmTableView.h"

/// The table of entries and the drawer that shows the selected one; `VmReserver` alone sets them. Main thread
/// only.
class TimerControls {
public:
    TimerControls() = default;
    TimerControls(const TimerControls&) = delete;
    TimerControls& operator=(const TimerControls&) = delete;

    VmTableView timerTable;
    Button insertButton;
    Button copyButton;
    Button deleteButton;

    Button drawerButton; ///< opens and closes the drawer
    Drawer drawer;

    // The selected entry; disabled while there is none
    Button enabledCheck;
    TextField nameField;
    Popup monthPopup;       ///< 0 is every month
    Popup dayPopup;         ///< 0 is every day
    Popup weekPopup;        ///< 0 is every day, 1 Sunday
    Popup startHourPopup;   ///< 0 to 24
    Popup startMinutePopup; ///< in steps of 5 minutes
    Popup stopHourPopup;
    Popup stopMinutePopup;
    Popup ratePopup;
    Popup channelsPopup; ///< 0 is mono
    Popup devicePopup;
    Popup modePopup;

protected:
    ~TimerControls() = default;
};
