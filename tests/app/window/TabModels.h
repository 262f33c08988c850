// The controls of a window with a record tab, for the window's tests.
#pragma once
#include "app/MainWindowModel.h"
#include "app/window/MainWindow.h"
#include "app/window/RecordTabControls.h"

struct TabModels {
    Button record, reserve, monitor, hour, marker;
    TextField condition, mode, source, rate, recordTime, totalTime, message, reserveName, reserveTime;
    Slider level{0, LampColumn::count};
    LampColumn lamps;
    Popup sources;
    Indicator write;
    MainWindowModel mainWindow;
    TabView tabs;
    Button authorization, preferences;
    int helpAsked = 0;

    TabModels() { mainWindow.setSize(352, 262); }
    MainWindow::Controls window() {
        return {mainWindow, {tabs, authorization, preferences, [this] { ++helpAsked; }}, controls()};
    }

    RecordTabControls controls() {
        return {record,     reserve,   monitor, hour,        marker,      condition, mode,  source,  rate,
                recordTime, totalTime, message, reserveName, reserveTime, level,     lamps, sources, write};
    }
};
