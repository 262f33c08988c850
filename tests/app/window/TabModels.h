// The controls of a record tab, for the window's tests.
#pragma once
#include "app/window/RecordTabControls.h"

struct TabModels {
    Button record, reserve, monitor, hour, marker;
    TextField condition, mode, source, rate, recordTime, totalTime, message, reserveName, reserveTime;
    Slider level{0, LampColumn::count};
    LampColumn lamps;
    Popup sources;
    Indicator write;

    RecordTabControls controls() {
        return {record,     reserve,   monitor, hour,        marker,      condition, mode,  source,  rate,
                recordTime, totalTime, message, reserveName, reserveTime, level,     lamps, sources, write};
    }
};
