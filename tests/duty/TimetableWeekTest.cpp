#include "duty/TimetableWeek.h"

#include <gtest/gtest.h>

TEST(TimetableWeek, keepsItsLocalTimes_whenTheClockIsChangedWithinAnEntry) {
    for (const auto& [zone, start] : clockChanges(1))
        expectTimetableKept(zone, start, 3, earlyAndMorning);
}

TEST(TimetableWeek, keepsItsLocalTimes_whenTheClockIsChangedAtTheEndOfAnEntry) {
    for (const auto& [zone, start] : clockChanges(1))
        expectTimetableKept(zone, start, 3, nightAndMorning);
}

TEST(TimetableWeek, recordsAnEntryOfTheRepeatedHourAtLeastOnce) {
    TimetableWeek week("Europe/Berlin", {.year = 2026, .month = 10, .day = 24, .hour = 5},
                       {{"repeated", 2, 15, 2, 45}});
    ASSERT_NO_FATAL_FAILURE(week.run(3));
    std::vector<Span> spans = week.promised(3);
    ASSERT_EQ(spans.size(), 2U);
    // At a quarter past two of summer time, and again an hour later.
    spans.insert(spans.begin() + 1,
                 {spans[0].start.addingSeconds(3600.0), spans[0].stop.addingSeconds(3600.0), spans[0].name});
    week.expectRecordings(spans);
}
