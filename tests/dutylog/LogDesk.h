// dutylog/LogDesk.h — one launch of the application, and the log book that it writes.
#pragma once
#include "support/DeskOfATest.h"

#include <fstream>
#include <QJsonArray>
#include <sstream>
#include <string>
#include <vector>

using Settings = std::vector<RehearsalDesk::Setting>;

/// Few frames, so that days take no time.
inline SimulatedDevice slowInput(double rate = 8000.0) {
    SimulatedDevice device = countingInput();
    device.rates = {rate};
    device.minFrames = 2048;
    return device;
}

inline std::string textOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// A launch in a folder that outlives it. Destroyed without `terminate`, it has crashed.
class LogDesk {
public:
    explicit LogDesk(const TemporaryFolder& folder, const CalendarDate& start = morning,
                     const Settings& settings = fullRateStereo, double rate = 8000.0)
        : desk(folder.path(), QTimeZone("Asia/Tokyo"), start, {slowInput(rate), deskOutput()}, settings) {}

    VmRecorder& recorder() { return desk.controler->recorder(); }
    VmDutyLog& log() { return desk.controler->dutylog(); }
    void post(std::string_view event, std::string_view message = {}) {
        desk.notifications.postLogEvent(event, message);
    }
    std::string path() const { return desk.recordFolder() + "/VelmoratideLog.txt"; }
    bool hasBook() const { return PosixVolume().exists(path()); }
    /// The book with the desk's folder as "FOLDER".
    std::string book() const {
        std::string text = textOf(path());
        for (std::size_t at = text.find(desk.folder); at != std::string::npos; at = text.find(desk.folder, at))
            text.replace(at, desk.folder.size(), "FOLDER");
        return text;
    }
    /// What was added to the book since this was called the last time.
    std::string added() {
        const std::string text = book();
        return text.substr(std::exchange(m_seen, text.size()));
    }
    std::size_t said(const std::string& line) const {
        const auto lines = desk.log.lines();
        return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), line));
    }

    RehearsalDesk desk;

private:
    std::size_t m_seen = 0;
};

struct LogEntry {
    const char* name;
    int start; ///< seconds of the day
    int stop;
};
inline RehearsalDesk::Setting timetable(std::initializer_list<LogEntry> entries) {
    QJsonArray list;
    for (const LogEntry& entry : entries)
        list.append(QJsonArray{entry.name, 1, entry.start, entry.stop, 0, 2, 2, 0, 0, 0, 0});
    return {"TimerList", list};
}
