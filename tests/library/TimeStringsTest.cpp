#include "library/TimeStrings.h"

#include <gtest/gtest.h>
#include <limits>

TEST(TimeStrings, writesAllForms_ofAnHourAndMore) {
    EXPECT_EQ(TimeStrings::periodStringWithSeconds(3725.5), "1:02'05\"");
    EXPECT_EQ(TimeStrings::timeStringWithSeconds(3725.5), "01:02:05");
    EXPECT_EQ(TimeStrings::numberStringWithSeconds(3725.5), "010205");
    EXPECT_EQ(TimeStrings::periodStringWithMiliSeconds(3725.5), "1:02'05\"50");
    EXPECT_EQ(TimeStrings::timeStringWithMiliSeconds(3725.5), "01:02:05.50");
}

TEST(TimeStrings, leavesTheHoursOfAPeriodOut_whenThereAreNone) {
    EXPECT_EQ(TimeStrings::periodStringWithHour(0, 2, 5), "2'05\"");
    EXPECT_EQ(TimeStrings::periodStringWithHour(0, 0, 5, 7), "0'05\"07");
    EXPECT_EQ(TimeStrings::periodStringWithHour(1, 2, 5, 50), "1:02'05\"50");
    EXPECT_EQ(TimeStrings::periodStringWithSeconds(0.0), "0'00\"");
    EXPECT_EQ(TimeStrings::periodStringWithMiliSeconds(59.99), "0'59\"99");
}

TEST(TimeStrings, writesHoursBeyondADay) {
    EXPECT_EQ(TimeStrings::periodStringWithSeconds(100.0 * 3600 + 61), "100:01'01\"");
    EXPECT_EQ(TimeStrings::timeStringWithSeconds(100.0 * 3600 + 61), "100:01:01");
}

TEST(TimeStrings, cutsOffTowardsZero) {
    EXPECT_EQ(TimeStrings::timeStringWithMiliSeconds(59.999), "00:00:59.99");
    EXPECT_EQ(TimeStrings::periodStringWithSeconds(59.999), "0'59\"");
    EXPECT_EQ(TimeStrings::timeStringWithSeconds(-0.9), "00:00:00");
    EXPECT_EQ(TimeStrings::periodStringWithSeconds(-5.0), "0'-5\"");
}

TEST(TimeStrings, survivesWhatIsNoTime) {
    EXPECT_EQ(TimeStrings::periodStringWithSeconds(std::numeric_limits<double>::quiet_NaN()), "0'00\"");
    EXPECT_FALSE(TimeStrings::timeStringWithMiliSeconds(std::numeric_limits<double>::infinity()).empty());
}

TEST(TimeStrings, readsATime) {
    EXPECT_EQ(TimeStrings::secondsWithTimeString("01:02:05"), 3725.0);
    EXPECT_EQ(TimeStrings::secondsWithTimeString("23:59:59.99"), 86399.0);
    EXPECT_EQ(TimeStrings::secondsWithTimeString("01:02"), 3720.0);
    EXPECT_EQ(TimeStrings::secondsWithTimeString(""), 0.0);
    EXPECT_EQ(TimeStrings::secondsWithTimeString("::x"), 0.0);
}

TEST(TimeStrings, readsAPeriod) {
    EXPECT_EQ(TimeStrings::secondsWithSpendString("1:02'05\""), 3725.0);
    EXPECT_EQ(TimeStrings::secondsWithSpendString("2'05\""), 125.0);
    EXPECT_EQ(TimeStrings::secondsWithSpendString("100:01'01\""), 360061.0);
    EXPECT_EQ(TimeStrings::secondsWithSpendString("0'00\""), 0.0);
    EXPECT_EQ(TimeStrings::secondsWithSpendString(""), 0.0);
}

TEST(TimeStrings, readsEveryPeriodThatItWrites) {
    for (int seconds = 0; seconds < 2 * 86400; seconds += 7)
        ASSERT_EQ(TimeStrings::secondsWithSpendString(TimeStrings::periodStringWithSeconds(seconds)), seconds);
}
