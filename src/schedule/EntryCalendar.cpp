#include "schedule/EntryCalendar.h"

#include "base/Clock.h"
#include "schedule/DayTime.h"
#include "schedule/VmReserverElement.h"

#include <algorithm>
#include <chrono>

namespace {
using std::chrono::sys_days;
using std::chrono::weekday;
using std::chrono::year_month_day;

/// The 29th of February falls on each weekday at least once in so many years, also around the year 2100.
constexpr int longestWait = 41; // years
constexpr int daysOfAWeek = 7;

struct Filter {
    int month = 0;
    int day = 0;
    int week = 0;

    static Filter of(const VmReserverElement& element) {
        return {element.month(), element.day(), element.week()};
    }
    bool passesInYear(const year_month_day& date) const {
        return (month == 0 || month == static_cast<int>(unsigned(date.month()))) &&
               (day == 0 || day == static_cast<int>(unsigned(date.day())));
    }
    bool passes(sys_days date) const {
        return (week == 0 || week == static_cast<int>(weekday(date).c_encoding()) + 1) &&
               passesInYear(year_month_day(date));
    }
    bool isImpossible() const {
        constexpr int lengths[] = {31, 31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        if (month < 0 || month > 12 || week < 0 || week > daysOfAWeek || day < 0)
            return true;
        return day > lengths[month];
    }
};

/// What passes both; nothing if they exclude each other.
std::optional<Filter> both(const Filter& one, const Filter& other) {
    const auto join = [](int left, int right) { return left == 0 ? right : left; };
    const auto differ = [](int left, int right) { return left != 0 && right != 0 && left != right; };
    if (differ(one.month, other.month) || differ(one.day, other.day) || differ(one.week, other.week))
        return std::nullopt;
    const Filter joined{join(one.month, other.month), join(one.day, other.day), join(one.week, other.week)};
    return joined.isImpossible() ? std::nullopt : std::optional(joined);
}

/// Whether `second` passes the day after one that passes `first`, in some year. Every date of the year falls on
/// every weekday some time, so these are looked at by themselves.
bool followsInCalendar(const Filter& first, const Filter& second) {
    if (first.week != 0 && second.week != 0 && first.week % daysOfAWeek + 1 != second.week)
        return false;
    if (first.month == 0 && first.day == 0 && second.month == 0 && second.day == 0)
        return true;
    for (const int year : {2023, 2024}) { // a common and a leap year, with the first of January after them
        const sys_days begin = std::chrono::year(year) / 1 / 1;
        const sys_days end = std::chrono::year(year + 1) / 1 / 1;
        for (sys_days date = begin; date < end; date += std::chrono::days(1))
            if (first.passesInYear(date) && second.passesInYear(date + std::chrono::days(1)))
                return true;
    }
    return false;
}

/// Seconds since the midnight of the day of its start.
struct Stretch {
    std::int64_t begin;
    std::int64_t end;

    static Stretch of(const VmReserverElement& element) {
        const std::int64_t start = element.start() / 60 * 60; // to the minute
        return {start, element.start() < element.stop() ? std::int64_t{element.stop()}
                                                        : element.stop() + DayTime::secondsPerDay};
    }
    bool meets(const Stretch& other, std::int64_t later) const {
        return begin < other.end + later && other.begin + later < end;
    }
};

bool isTimeOfDay(std::int32_t seconds) {
    return seconds >= 0 && seconds <= DayTime::secondsPerDay;
}

/// The span that starts on day `day`, counted from 1970-01-01; nothing if the clock skips it.
std::optional<EntryCalendar::Span> spanOn(const VmReserverElement& element, const Clock& clock,
                                          std::int64_t day) {
    const Date start = DayTime::reached(clock, day, element.start() / 60 * 60);
    const std::int32_t shown = DayTime::seconds(clock.calendarDate(start));
    if (element.start() < element.stop() && shown >= element.stop())
        return std::nullopt;
    return EntryCalendar::Span{start, DayTime::nextShown(clock, start, element.stop())};
}
} // namespace

bool EntryCalendar::neverStarts(const VmReserverElement& element) {
    return Filter::of(element).isImpossible() || !isTimeOfDay(element.start()) || !isTimeOfDay(element.stop());
}

std::optional<EntryCalendar::Span> EntryCalendar::nextSpan(const VmReserverElement& element, const Clock& clock,
                                                           Date now) {
    if (neverStarts(element))
        return std::nullopt;
    const CalendarDate local = clock.calendarDate(now);
    // From yesterday on: its midnight may be still to come.
    const std::int64_t first = DayTime::dayNumber(local.year, local.month, local.day) - 1;
    const std::int64_t last = DayTime::dayNumber(local.year + longestWait, local.month, local.day);
    const Filter filter = Filter::of(element);
    for (std::int64_t day = first; day <= last; ++day) {
        if (!filter.passes(sys_days(std::chrono::days(day))))
            continue;
        const auto span = spanOn(element, clock, day);
        if (span && span->start >= now)
            return span;
    }
    return std::nullopt;
}

bool EntryCalendar::overlap(const VmReserverElement& one, const VmReserverElement& other) {
    if (neverStarts(one) || neverStarts(other))
        return false;
    const Stretch left = Stretch::of(one);
    const Stretch right = Stretch::of(other);
    const Filter leftFilter = Filter::of(one);
    const Filter rightFilter = Filter::of(other);
    return (left.meets(right, 0) && both(leftFilter, rightFilter)) ||
           (left.meets(right, DayTime::secondsPerDay) && followsInCalendar(leftFilter, rightFilter)) ||
           (left.meets(right, -DayTime::secondsPerDay) && followsInCalendar(rightFilter, leftFilter));
}
