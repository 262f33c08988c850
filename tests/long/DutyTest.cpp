// Duties of days: see tests/duty for what is proved of each.
#include "duty/AllDayDuty.h"
#include "duty/AlwaysDuty.h"
#include "duty/BurstDuty.h"
#include "duty/CrashDuty.h"
#include "duty/TimetableWeek.h"

#include <gtest/gtest.h>

namespace {
class LongAlwaysDuty : public testing::TestWithParam<std::pair<int, int>> {};
} // namespace

TEST_P(LongAlwaysDuty, losesNoFrameInThreeDays) {
    runAlwaysDuty(GetParam().first, GetParam().second, 3 * 86400.0);
}

INSTANTIATE_TEST_SUITE_P(RateNumberAndChannels, LongAlwaysDuty,
                         testing::Values(std::pair{0, 1}, std::pair{0, 2}, std::pair{1, 1}, std::pair{1, 2},
                                         std::pair{2, 1}, std::pair{2, 2}));

TEST(LongBurstDuty, holdsEachOfFiveHundredBurstsOnce) {
    runBurstDuty(500, 20071024, true);
}

TEST(LongBurstDuty, holdsEachOfFiveHundredBurstsOnce_whenNobodyLooks) {
    runBurstDuty(500, 20071025, false);
}

TEST(LongCrashDuty, losesNoMoreThanOneWriteIntervalInTwoHundredCrashes) {
    runCrashDuty(200, 20071024);
}

TEST(LongTimetable, keepsItsLocalTimesInTheWeeksOfTheClockChanges) {
    for (const auto& [zone, start] : clockChanges(4)) {
        expectTimetableKept(zone, start, 7 * 24.0, earlyAndMorning);
        expectTimetableKept(zone, start, 7 * 24.0, nightAndMorning);
    }
}

TEST(LongAllDayDuty, losesNoFrameInSixtyHours) {
    runAllDayDuty(60 * 3600.0);
}
