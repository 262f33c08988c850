#include "duty/BurstDuty.h"

#include <gtest/gtest.h>

TEST(BurstDuty, holdsEachBurstOnce_fromBeforeItsTriggerToTheEndOfTheDelay) {
    runBurstDuty(40, 2007, true);
}

TEST(BurstDuty, holdsEachBurstOnce_whenNobodyLooks) {
    runBurstDuty(40, 2008, false);
}

TEST(BurstDuty, hearsAShortBurst_whenNobodyLooks) {
    for (const double length : {0.2, 0.3, 0.45}) {
        SCOPED_TRACE(length);
        std::vector<Burst> bursts;
        for (int i = 0; i < 10; ++i)
            bursts.push_back({.begin = 10.0 + 20.07 * i, .end = 10.0 + 20.07 * i + length});
        BurstDuty duty(bursts, {.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 5});
        duty.run(false);
        EXPECT_EQ(duty.check().runs().size(), bursts.size());
    }
}

TEST(BurstDuty, goesOnAtTheHourExactlyWhereTheFileBeforeEnds) {
    const CalendarDate start{.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 59};
    BurstDuty duty({{.begin = 30.0, .end = 90.0}}, start);
    duty.run(false);
    duty.expectEveryBurstOnce();
    const auto& pieces = duty.check().pieces();
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_EQ(pieces[0].end, pieces[1].first);
    EXPECT_NEAR(static_cast<double>(pieces[1].first), 60.0 * 44100.0, 2.0);
    EXPECT_EQ(pieces[0].name.substr(0, 37), "_Velmoratide_20071024_095927~100000.a");
    EXPECT_EQ(pieces[1].name.substr(0, 29), "_Velmoratide_20071024_100000~");
}

TEST(BurstDuty, keepsTheSoundBeforeABurst_whenTheHourFallsIntoIt) {
    const CalendarDate start{.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 59};
    for (const double begin : {59.5, 60.0, 60.5, 62.0}) {
        SCOPED_TRACE(begin);
        BurstDuty duty({{.begin = begin, .end = begin + 4.0}}, start);
        duty.run(false);
        duty.expectEveryBurstOnce();
    }
}
