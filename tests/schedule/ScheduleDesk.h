// The whole application with a timetable, at any local time.
#pragma once
#include "schedule/DayTime.h"
#include "schedule/VmReserveList.h"
#include "schedule/VmReserver.h"
#include "support/DeskOfATest.h"

#include <QJsonArray>

/// What a stored entry is made of; by default it is enabled and named "Entry".
struct StoredTimer {
    const char* name = "Entry";
    int enabled = 1;
    int start = 0;
    int stop = 0;
    int mode = 0;
    int sample = 1;
    int channels = 1;
    int device = 0;
    int month = 0;
    int day = 0;
    int week = 0;

    QJsonArray values() const {
        return {name, enabled, start, stop, mode, sample, channels, device, month, day, week};
    }
};

constexpr int hourMinute(int hour, int minute, int second = 0) {
    return hour * 3600 + minute * 60 + second;
}

inline QJsonArray timerList(const std::vector<StoredTimer>& timers) {
    QJsonArray list;
    for (const StoredTimer& timer : timers)
        list.append(timer.values());
    return list;
}

/// Launched and at a standstill: time moves by `goTo` alone.
class ScheduleDesk {
public:
    explicit ScheduleDesk(const std::vector<StoredTimer>& timers, const char* zone = "Asia/Tokyo")
        : ScheduleDesk({{"TimerList", timerList(timers)}}, zone) {}
    explicit ScheduleDesk(const std::vector<RehearsalDesk::Setting>& settings, const char* zone = "Asia/Tokyo")
        : m_desk(std::make_unique<RehearsalDesk>(m_folder.path(), QTimeZone(zone), morning,
                                                 std::vector{countingInput(), deskOutput()}, settings)) {
        launch();
    }

    VmReserver& reserver() { return m_desk->controler->reserver(); }
    VmReserveList& list() { return m_desk->controler->reservelist(); }
    RehearsalDesk& desk() { return *m_desk; }
    std::string recordFolder() const { return m_desk->recordFolder(); }

    /// To a local time; of a repeated one the first.
    void goTo(const CalendarDate& local) { goTo(m_desk->clock.dateFromLocal(local)); }
    void goTo(Date date) {
        m_desk->clock.jump(static_cast<double>(date.microseconds - m_desk->clock.now().microseconds) * 1e-6);
    }
    /// To a time of the day that the desk is at.
    void goToTime(int hour, int minute, int second = 0) {
        CalendarDate local = m_desk->clock.calendarDate(m_desk->clock.now());
        local.hour = hour;
        local.minute = minute;
        local.second = second;
        local.microsecond = 0;
        goTo(local);
    }
    void relaunch(std::vector<SimulatedDevice> devices,
                  const std::vector<RehearsalDesk::Setting>& settings = {}) {
        m_watch.end();
        m_desk = std::make_unique<RehearsalDesk>(m_folder.path(), QTimeZone("Asia/Tokyo"), morning,
                                                 std::move(devices), settings);
        launch();
    }

    std::vector<std::string> events; ///< log events with their message
    int changes = 0;                 ///< how often the list said that it changed

private:
    void launch() {
        m_desk->texts = Texts::forLanguage("en");
        m_watch = m_desk->notifications.observe({}, [this](const Notification& notification) {
            const auto message = notification.userInfo.find(std::string(ErrorMessageString));
            if (message != notification.userInfo.end())
                events.push_back(notification.object + ": " + message->second);
            changes += notification.name == VmReserveListChanged_Notification ? 1 : 0;
        });
        m_desk->launch();
    }

    TemporaryFolder m_folder;
    std::unique_ptr<RehearsalDesk> m_desk;
    NotificationCenter::Observation m_watch;
};

inline std::string nameOf(const VmReserverElement* element) {
    return element == nullptr ? "none" : element->name();
}
