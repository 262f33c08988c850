// rehearsal/TimerValues.h — the values that a scenario gives to an entry of the timetable.
#pragma once
#include "schedule/VmReserverElement.h"

#include <QJsonObject>
#include <string>

/// Any thread.
struct TimerValues {
    /// `element` with `values` (checked before) in place of its own.
    static VmReserverElement applied(const QJsonObject& values, VmReserverElement element);
    /// Seconds since midnight of "HH:MM" or "HH:MM:SS", up to 24:00; -1 for anything else.
    static int secondsOfDay(const std::string& text);
};
