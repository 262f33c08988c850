// base/Date.h — moments on the wall clock and their calendar form.
#pragma once
#include <compare>
#include <cstdint>

/// A moment on the wall clock: microseconds since 1970-01-01 00:00:00 UTC.
struct Date {
    std::int64_t microseconds = 0;

    auto operator<=>(const Date&) const = default;
    /// The moment `seconds` later (earlier when negative), rounded to the microsecond.
    Date addingSeconds(double seconds) const;
    /// Seconds from `earlier` to this moment.
    double secondsSince(Date earlier) const {
        return static_cast<double>(microseconds - earlier.microseconds) * 1e-6;
    }
};

/// A moment in local time, with the offset that was in force.
struct CalendarDate {
    int year = 1970;
    int month = 1; ///< 1 to 12
    int day = 1;   ///< 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;
    int microsecond = 0;
    int dayOfWeek = 4; ///< 0 is Sunday
    int utcOffset = 0; ///< seconds east of UTC
};
