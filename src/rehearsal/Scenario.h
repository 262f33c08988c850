// rehearsal/Scenario.h — what a rehearsal plays, as read from its file.
#pragma once
#include "audio/hardware/simulated/SimulatedDevice.h"
#include "base/Date.h"

#include <QJsonObject>
#include <QTimeZone>
#include <string>
#include <vector>

/// One thing that happens. `fields` has been checked: what an event of this kind needs is there.
struct ScenarioEvent {
    double at = 0.0;    ///< seconds of elapsed time after the launch
    std::string action; ///< "press", "crash" ...
    QJsonObject fields;
    std::string place; ///< of the event in its file, as "launches[0].events[2]"

    bool has(const char* name) const { return fields.contains(QLatin1String(name)); }
    bool flag(const char* name) const { return fields.value(QLatin1String(name)).toBool(); }
    double number(const char* name) const { return fields.value(QLatin1String(name)).toDouble(); }
    int integer(const char* name) const { return fields.value(QLatin1String(name)).toInt(); }
    std::string text(const char* name) const {
        return fields.value(QLatin1String(name)).toString().toStdString();
    }
};

struct ScenarioLaunch {
    CalendarDate start; ///< local time
    std::vector<ScenarioEvent> events;
};

struct Scenario {
    QTimeZone zone = QTimeZone::utc();
    std::vector<SimulatedDevice> devices;
    double freeBytes = 1e12; ///< at the first launch
    QJsonObject settings;    ///< each known to the application, and of its type
    std::vector<ScenarioLaunch> launches;
};
