#include "base/Date.h"

#include <gtest/gtest.h>

TEST(Date, addsSeconds_roundedToTheMicrosecond) {
    EXPECT_EQ(Date{}.addingSeconds(1.5).microseconds, 1'500'000);
    EXPECT_EQ(Date{}.addingSeconds(0.29).microseconds, 290'000);
    EXPECT_EQ(Date{}.addingSeconds(0.0000006).microseconds, 1);
    EXPECT_EQ(Date{}.addingSeconds(0.0000004).microseconds, 0);
    EXPECT_EQ(Date{}.addingSeconds(-0.0000006).microseconds, -1);
}

TEST(Date, tellsTheSecondsFromAnEarlierMoment_alsoBackwards) {
    const Date date{1'193'000'000'250'000};
    EXPECT_DOUBLE_EQ(date.addingSeconds(86400.25).secondsSince(date), 86400.25);
    EXPECT_DOUBLE_EQ(date.secondsSince(date.addingSeconds(86400.25)), -86400.25);
    EXPECT_DOUBLE_EQ(Date{}.secondsSince(date), -1'193'000'000.25);
}

TEST(Date, comparesByTime) {
    EXPECT_LT(Date{-1}, Date{});
    EXPECT_GT(Date{2}, Date{1});
    EXPECT_EQ(Date{7}, Date{7});
}
