// app/window/RecordTabControls.h — the controls that the record tab shows.
#pragma once
#include "base/Controls.h"

/// References to the controllers' controls; they must outlive the tab. Main thread only.
struct RecordTabControls {
    Button& record;
    Button& reserve;
    Button& monitor;
    Button& hour;
    Button& marker;
    TextField& condition;
    TextField& mode;
    TextField& source;
    TextField& rate;
    TextField& recordTime; ///< length of the recording in progress, as "1:02'03""
    TextField& totalTime;
    TextField& message;
    TextField& reserveName; ///< the timetable entry that runs or comes next; empty while there is none
    TextField& reserveTime; ///< when it stops or starts
    Slider& level;          ///< auto start level, 0 to 20
    LampColumn& lamps;
    Popup& sources;
    Indicator& write;
};
