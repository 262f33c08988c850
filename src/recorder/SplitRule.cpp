#include "recorder/SplitRule.h"

#include "base/Clock.h"

#include <algorithm>

Date nextFullHour(Date date, const Clock& clock) {
    const CalendarDate now = clock.calendarDate(date);
    const double intoMinute = now.second + now.microsecond * 1e-6;
    const Date full = date.addingSeconds(3600.0 - now.minute * 60 - intoMinute);
    if (clock.calendarDate(full).utcOffset == now.utcOffset)
        return full;
    // The clock is set on the way: full hours come sooner or later then.
    Date minute = date.addingSeconds(60.0 - intoMinute);
    while (clock.calendarDate(minute).minute != 0)
        minute = minute.addingSeconds(60.0);
    return minute;
}

Date SplitRule::boundaryAfter(Date start, Date now, const Clock& clock) const {
    const Date byLength = start.addingSeconds(std::max(longest, 1.0));
    return onTheHour ? std::min(byLength, nextFullHour(std::max(start, now), clock)) : byLength;
}
