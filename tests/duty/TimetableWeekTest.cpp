#include "duty/TimetableWeek.h"

#include <gtest/gtest.h>

namespace {
constexpr double overTheNight = 14.0; // hours

class ClockChange : public testing::TestWithParam<std::size_t> {};
} // namespace

TEST_P(ClockChange, leavesTheTimesOfAnEntryThatItFallsInto) {
    const auto [zone, start] = clockChanges(1)[GetParam()];
    expectTimetableKept(zone, start, overTheNight, earlyAndMorning);
}

TEST_P(ClockChange, leavesTheTimesOfAnEntryThatEndsNearIt) {
    const auto [zone, start] = clockChanges(1)[GetParam()];
    expectTimetableKept(zone, start, overTheNight, nightAndMorning);
}

INSTANTIATE_TEST_SUITE_P(SpringAndAutumnInTwoZones, ClockChange, testing::Range<std::size_t>(0, 4));

TEST(RepeatedHour, recordsAnEntryTwice) {
    TimetableWeek week("Europe/Berlin", {.year = 2026, .month = 10, .day = 24, .hour = 20},
                       {{"repeated", 2, 15, 2, 45}});
    ASSERT_NO_FATAL_FAILURE(week.run(38.0));
    std::vector<Span> spans = week.promised();
    ASSERT_EQ(spans.size(), 2U);
    // At a quarter past two of summer time, and again an hour later.
    spans.insert(spans.begin() + 1,
                 {spans[0].start.addingSeconds(3600.0), spans[0].stop.addingSeconds(3600.0), spans[0].name});
    week.expectRecordings(spans);
}
