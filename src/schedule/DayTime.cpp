#include "schedule/DayTime.h"

#include <chrono>
#include <optional>
#include <QDateTime>

namespace {
constexpr std::int64_t microsecondsPerSecond = 1'000'000;

std::int64_t dayNumberOf(const CalendarDate& local) {
    return DayTime::dayNumber(local.year, local.month, local.day);
}

int offsetAt(const Clock& clock, std::int64_t utcSeconds) {
    return clock.calendarDate({utcSeconds * microsecondsPerSecond}).utcOffset;
}

std::int64_t timeOfDay(std::int64_t seconds) {
    const std::int64_t rest = seconds % DayTime::secondsPerDay;
    return rest < 0 ? rest + DayTime::secondsPerDay : rest;
}

/// What a wall clock time stands for. Both are the same but for a repeated time.
struct Readings {
    std::int64_t first; // UTC seconds
    std::int64_t second;
};

/// `wall`: seconds from 1970-01-01 00:00 by the clock on the wall.
Readings readings(const Clock& clock, std::int64_t wall) {
    // Clocks change by less than a day and not twice within two.
    const int before = offsetAt(clock, wall - DayTime::secondsPerDay);
    const int after = offsetAt(clock, wall + DayTime::secondsPerDay);
    const bool validBefore = offsetAt(clock, wall - before) == before;
    const bool validAfter = offsetAt(clock, wall - after) == after;
    if (validBefore || validAfter)
        return {validBefore ? wall - before : wall - after, validAfter ? wall - after : wall - before};
    const QTimeZone::OffsetData change =
        clock.timeZone().previousTransition(QDateTime::fromSecsSinceEpoch(wall - before, Qt::UTC));
    const std::int64_t moment = change.atUtc.isValid() ? change.atUtc.toSecsSinceEpoch() : wall - before;
    return {moment, moment};
}
} // namespace

std::int64_t DayTime::dayNumber(int year, int month, std::int64_t day) {
    const std::chrono::year_month_day first(
        std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)), std::chrono::day(1));
    return std::chrono::sys_days(first).time_since_epoch().count() + day - 1;
}

Date DayTime::reached(const Clock& clock, std::int64_t dayNumber, std::int64_t seconds) {
    return {readings(clock, dayNumber * secondsPerDay + seconds).first * microsecondsPerSecond};
}

Date DayTime::lastReached(const Clock& clock, Date now, std::int64_t seconds) {
    const std::int64_t today = dayNumberOf(clock.calendarDate(now)) * secondsPerDay + timeOfDay(seconds);
    const Readings ofToday = readings(clock, today);
    for (const std::int64_t moment : {ofToday.second, ofToday.first})
        if (const Date date{moment * microsecondsPerSecond}; date <= now)
            return date;
    return {readings(clock, today - secondsPerDay).second * microsecondsPerSecond};
}

Date DayTime::nextShown(const Clock& clock, Date now, std::int32_t seconds) {
    CalendarDate local = clock.calendarDate(now);
    std::int64_t ahead = static_cast<std::int64_t>(seconds) - DayTime::seconds(local);
    const bool tomorrow = ahead <= 0;
    if (tomorrow)
        ahead += secondsPerDay;
    const Date attempt{now.microseconds - local.microsecond + ahead * microsecondsPerSecond};
    if (DayTime::seconds(clock.calendarDate(attempt)) == timeOfDay(seconds))
        return attempt;
    local.day += tomorrow ? 1 : 0;
    local.hour = 0;
    local.minute = 0;
    local.second = seconds;
    local.microsecond = 0;
    return clock.dateFromLocal(local);
}
