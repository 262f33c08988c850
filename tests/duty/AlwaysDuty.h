// A duty in always mode, split at every full hour.
#pragma once
#include "duty/Duty.h"

#include <chrono>
#include <cmath>
#include <cstdio>

/// Every full hour of a zone of whole hours after `from`, up to `to`.
inline std::vector<Date> fullHours(Date from, Date to) {
    constexpr std::int64_t hour = 3'600'000'000;
    std::vector<Date> hours;
    for (std::int64_t next = (from.microseconds / hour + 1) * hour; next < to.microseconds; next += hour)
        hours.push_back({next});
    return hours;
}

inline void runAlwaysDuty(int rateNumber, int channels, double seconds) {
    const auto began = std::chrono::steady_clock::now();
    Duty duty({.start = {.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 58, .second = 20},
               .settings = {{"RecordSwitch", true}},
               .rateNumber = rateNumber,
               .channels = channels});
    duty.launch();
    duty.runFor(1.0);
    std::vector<Date> moments = {duty.recorder().recordStartDate()};
    duty.check.expectStart(moments[0]);
    duty.runFor(seconds - 1.0);
    duty.stop();
    const Date end = duty.recorder().recordStopDate();
    for (const Date hour : fullHours(moments[0], end))
        moments.push_back(hour);
    moments.push_back(end);
    duty.expectSeamsAt(moments);
    EXPECT_NEAR(static_cast<double>(duty.check.frames()) / 44100.0, seconds, 1.5);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    std::printf("[ MEASURED ] rate number %d, %d channel(s): %.1f hours in %zu files, %.0f times as fast\n",
                rateNumber, channels, seconds / 3600.0, duty.check.pieces().size(), seconds / took.count());
}
