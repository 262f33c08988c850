// schedule/DayTime.h — when a local time of day falls, also on the days on which the clock changes.
#pragma once
#include "base/Clock.h"

#include <cstdint>

namespace DayTime {
inline constexpr std::int64_t secondsPerDay = 86400;

/// Seconds since local midnight, as a clock on the wall shows them.
constexpr std::int32_t seconds(const CalendarDate& local) {
    return local.hour * 3600 + local.minute * 60 + local.second;
}
/// Whole days from 1970-01-01 to day `day` of the month; a day beyond the month's end is counted on. `month` is
/// 1 to 12.
std::int64_t dayNumber(int year, int month, std::int64_t day);

/// The moment at which the clock on the wall reaches `seconds` of day `dayNumber`: of a repeated time the
/// first, of a time that is skipped the moment of the change.
Date reached(const Clock& clock, std::int64_t dayNumber, std::int64_t seconds);
/// The latest moment not after `now` at which the clock on the wall reached `seconds`, a time of any day.
Date lastReached(const Clock& clock, Date now, std::int64_t seconds);
/// The first moment at which the clock on the wall shows `seconds` (of today, up to 86400) later than `now`,
/// today if that is still to come by the hands of the clock, else tomorrow. A time that is skipped is reckoned
/// as if the clock had not changed: an hour later on the clock.
Date nextShown(const Clock& clock, Date now, std::int32_t seconds);
} // namespace DayTime
