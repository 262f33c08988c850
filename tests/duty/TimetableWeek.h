// A timetable over days, also those on which the clock is changed.
#pragma once
#include "duty/Duty.h"

#include <QJsonArray>
#include <string>
#include <vector>

struct TimetableEntry {
    std::string name;
    int startHour = 0;
    int startMinute = 0;
    int stopHour = 0;
    int stopMinute = 0;

    QJsonArray valueArray(int sample, int channels) const {
        return {QString::fromStdString(name),
                1,
                (startHour * 60 + startMinute) * 60,
                (stopHour * 60 + stopMinute) * 60,
                0,
                sample,
                channels,
                0,
                0,
                0,
                0};
    }
};

/// One recording that the timetable promises.
struct Span {
    Date start;
    Date stop;
    std::string name; ///< of its entry
};

class TimetableWeek {
public:
    TimetableWeek(const char* zone, const CalendarDate& start, std::vector<TimetableEntry> entries)
        : m_entries(std::move(entries)),
          m_begin(start),
          m_duty({.start = start,
                  .zone = QTimeZone(zone),
                  .input = slowInput(),
                  .settings = {{"TimerList", list()}},
                  .rateNumber = 0,
                  .channels = 1}) {}

    /// From its start on, for `hours` hours.
    void run(double hours) {
        m_duty.launch();
        m_duty.runFor(1.0);
        m_duty.recorder().reserveButton().press(true);
        ASSERT_TRUE(m_duty.recorder().reserveButton().isOn());
        const Date end = m_duty.desk.clock.now().addingSeconds(hours * 3600.0);
        while (m_duty.desk.clock.now() < end) {
            m_duty.check.expectGap(); // every file may lie apart from the one before
            m_duty.runFor(600.0);
        }
        m_end = m_duty.desk.clock.now();
    }
    /// What the entries promise between the first and the last day: a stop that comes before its start is one
    /// of the next day.
    std::vector<Span> promised() const {
        std::vector<Span> spans;
        for (int day = 0; dateOf(dayOf(day)) < m_end; ++day)
            for (const TimetableEntry& entry : m_entries) {
                CalendarDate start = dayOf(day);
                start.hour = entry.startHour;
                start.minute = entry.startMinute;
                CalendarDate stop = start;
                stop.hour = entry.stopHour;
                stop.minute = entry.stopMinute;
                if (stop.hour * 60 + stop.minute <= start.hour * 60 + start.minute)
                    ++stop.day;
                spans.push_back({m_duty.desk.clock.dateFromLocal(start), m_duty.desk.clock.dateFromLocal(stop),
                                 entry.name});
            }
        std::erase_if(spans,
                      [this](const Span& span) { return span.start < dateOf(m_begin) || span.stop > m_end; });
        std::sort(spans.begin(), spans.end(),
                  [](const Span& left, const Span& right) { return left.start < right.start; });
        return spans;
    }
    /// The recordings are `spans` and no others; each bears its entry's name.
    void expectRecordings(const std::vector<Span>& spans) const {
        EXPECT_EQ(m_duty.check.fault(), "");
        std::vector<std::string> wanted;
        for (const Span& span : spans)
            wanted.push_back(text(span.start, span.stop) + " " + span.name);
        std::vector<std::string> made;
        const auto& pieces = m_duty.check.pieces();
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const Date start = m_duty.check.dateOf(pieces[i].first);
            const Date stop = m_duty.check.dateOf(pieces[i].end);
            const bool fits = i < spans.size() && isNear(start, spans[i].start) && isNear(stop, spans[i].stop);
            made.push_back(
                (fits ? text(spans[i].start, spans[i].stop) : text(start, stop)) + " " +
                pieces[i].information.substr(std::min<std::size_t>(pieces[i].information.size(), 35)));
        }
        EXPECT_EQ(made, wanted);
    }

private:
    static SimulatedDevice slowInput() {
        SimulatedDevice device = countingInput();
        device.rates = {8000.0};
        device.minFrames = 2048;
        return device;
    }
    static bool isNear(Date one, Date other) {
        constexpr double tick = 2.0; // the timetable is looked at every second
        return std::abs(one.secondsSince(other)) <= tick;
    }
    QJsonArray list() const {
        QJsonArray all;
        for (const TimetableEntry& entry : m_entries)
            all.append(entry.valueArray(0, 1));
        return all;
    }
    CalendarDate dayOf(int day) const {
        return {.year = m_begin.year, .month = m_begin.month, .day = m_begin.day + day};
    }
    Date dateOf(const CalendarDate& local) const { return m_duty.desk.clock.dateFromLocal(local); }
    /// With the length, so that an hour of the clock's change is told.
    std::string text(Date start, Date stop) const {
        return m_duty.desk.clock.format(start, "%m-%d %H:%M:%S - ") +
               m_duty.desk.clock.format(stop, "%H:%M:%S, ") +
               std::to_string(std::lround(stop.secondsSince(start))) + " s";
    }

    const std::vector<TimetableEntry> m_entries;
    const CalendarDate m_begin;
    Duty m_duty;
    Date m_end;
};

inline void expectTimetableKept(const char* zone, const CalendarDate& start, double hours,
                                const std::vector<TimetableEntry>& entries) {
    SCOPED_TRACE(std::string(zone) + ", from " + std::to_string(start.year) + "-" +
                 std::to_string(start.month) + "-" + std::to_string(start.day));
    TimetableWeek week(zone, start, entries);
    ASSERT_NO_FATAL_FAILURE(week.run(hours));
    week.expectRecordings(week.promised());
}

/// The four changes of the clock, `before` days after a duty's begin in the evening.
inline std::vector<std::pair<const char*, CalendarDate>> clockChanges(int before) {
    const auto from = [before](int month, int day) {
        return CalendarDate{.year = 2026, .month = month, .day = day - before, .hour = 20};
    };
    return {{"Europe/Berlin", from(3, 29)},
            {"Europe/Berlin", from(10, 25)},
            {"America/New_York", from(3, 8)},
            {"America/New_York", from(11, 1)}};
}

inline const std::vector<TimetableEntry> earlyAndMorning = {{"early", 1, 30, 4, 0}, {"morning", 8, 0, 8, 30}};
inline const std::vector<TimetableEntry> nightAndMorning = {{"night", 22, 0, 2, 0}, {"morning", 8, 0, 8, 30}};
