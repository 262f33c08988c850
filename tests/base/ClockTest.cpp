#include "base/Clock.h"

#include "support/ManualClock.h"

#include <chrono>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <tuple>

namespace {
/// A moment given in UTC.
Date utc(int year, unsigned month, unsigned day, int hour = 0, int minute = 0, int second = 0) {
    const std::chrono::sys_days days =
        std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day};
    return {((days.time_since_epoch().count() * 24LL + hour) * 3600 + minute * 60 + second) * 1'000'000};
}

auto fields(const CalendarDate& date) {
    return std::tuple(date.year, date.month, date.day, date.hour, date.minute, date.second);
}

std::string local(const Clock& clock, Date date) {
    return clock.format(date, "%Y-%m-%d %H:%M:%S");
}

double secondsOfDay(const Clock& clock, CalendarDate day) {
    const Date begin = clock.dateFromLocal(day);
    ++day.day;
    return clock.dateFromLocal(day).secondsSince(begin);
}

struct ZonesTest : testing::TestWithParam<const char*> {
    ManualClock clock{QTimeZone(GetParam())};
};

const ManualClock berlin{QTimeZone("Europe/Berlin")};
const ManualClock newYork{QTimeZone("America/New_York")};
const ManualClock kolkata{QTimeZone("Asia/Kolkata")};
const ManualClock lordHowe{QTimeZone("Australia/Lord_Howe")};
} // namespace

// --- calendar form -------------------------------------------------------------------------------------------

TEST(Clock, givesTheCalendarFormWithItsOffset) {
    const CalendarDate summer = berlin.calendarDate({utc(2007, 7, 1, 22, 30, 15).microseconds + 678'901});
    EXPECT_EQ(fields(summer), std::tuple(2007, 7, 2, 0, 30, 15));
    EXPECT_EQ(summer.microsecond, 678'901);
    EXPECT_EQ(summer.dayOfWeek, 1);
    EXPECT_EQ(summer.utcOffset, 7200);
    EXPECT_EQ(berlin.calendarDate(utc(2007, 1, 1)).utcOffset, 3600);
}

TEST(Clock, countsTheDaysOfTheWeekFromSunday) {
    for (unsigned day = 0; day < 7; ++day)
        EXPECT_EQ(berlin.calendarDate(utc(2007, 10, 21 + day, 12)).dayOfWeek, static_cast<int>(day));
}

TEST(Clock, readsMomentsBefore1970) {
    const ManualClock clock;
    const CalendarDate last = clock.calendarDate({-1});
    EXPECT_EQ(fields(last), std::tuple(1969, 12, 31, 23, 59, 59));
    EXPECT_EQ(last.microsecond, 999'999);
    EXPECT_EQ(last.dayOfWeek, 3);
    EXPECT_EQ(clock.dateFromLocal(last), Date{-1});
    EXPECT_EQ(fields(clock.calendarDate({-1'000'000})), std::tuple(1969, 12, 31, 23, 59, 59));
    EXPECT_EQ(clock.calendarDate({-1'000'000}).microsecond, 0);
    EXPECT_EQ(clock.dateFromLocal({.year = 1900, .month = 2, .day = 28}), utc(1900, 2, 28));
}

TEST(Clock, knowsHalfHourZones) {
    const CalendarDate date = kolkata.calendarDate(utc(2007, 10, 24, 18, 30));
    EXPECT_EQ(fields(date), std::tuple(2007, 10, 25, 0, 0, 0));
    EXPECT_EQ(date.utcOffset, 19800);
    EXPECT_EQ(kolkata.dateFromLocal(date), utc(2007, 10, 24, 18, 30));
}

// --- fields beyond their range -------------------------------------------------------------------------------

TEST(Clock, carriesFieldsBeyondTheirRangeOver) {
    const ManualClock clock;
    const auto moment = [&clock](CalendarDate date) { return local(clock, clock.dateFromLocal(date)); };
    EXPECT_EQ(moment({.year = 2007, .month = 13, .day = 1}), "2008-01-01 00:00:00");
    EXPECT_EQ(moment({.year = 2007, .month = 0, .day = 1}), "2006-12-01 00:00:00");
    EXPECT_EQ(moment({.year = 2007, .month = -11, .day = 1}), "2006-01-01 00:00:00");
    EXPECT_EQ(moment({.year = 2007, .month = 2, .day = 29}), "2007-03-01 00:00:00");
    EXPECT_EQ(moment({.year = 2008, .month = 2, .day = 30}), "2008-03-01 00:00:00");
    EXPECT_EQ(moment({.year = 2007, .month = 3, .day = 0}), "2007-02-28 00:00:00");
    EXPECT_EQ(moment({.year = 2007, .month = 10, .day = 24, .hour = 24}), "2007-10-25 00:00:00");
    EXPECT_EQ(moment({.year = 2007, .month = 10, .day = 24, .hour = -1}), "2007-10-23 23:00:00");
    EXPECT_EQ(moment({.year = 2007, .month = 12, .day = 31, .hour = 23, .minute = 59, .second = 60}),
              "2008-01-01 00:00:00");
    EXPECT_EQ(moment({.year = 2007, .month = 10, .day = 24, .minute = -1}), "2007-10-23 23:59:00");
    EXPECT_EQ(moment({.year = 2007, .month = 10, .day = 24, .microsecond = 1'000'000}), "2007-10-24 00:00:01");
    EXPECT_EQ(moment({.year = 2007, .month = 10, .day = 24, .microsecond = -1}), "2007-10-23 23:59:59");
}

TEST(Clock, carriesOverIntoTheOffsetThatIsInForceThen) {
    // 26 hours after the midnight before the change: two o'clock of the next day.
    EXPECT_EQ(berlin.dateFromLocal({.year = 2007, .month = 10, .day = 28, .hour = 26}), utc(2007, 10, 29, 1));
    EXPECT_EQ(berlin.dateFromLocal({.year = 2007, .month = 3, .day = 24, .hour = 27}), utc(2007, 3, 25, 1));
    // The second before the change and a million microseconds: it has been made.
    EXPECT_EQ(berlin.dateFromLocal({.year = 2007,
                                    .month = 3,
                                    .day = 25,
                                    .hour = 1,
                                    .minute = 59,
                                    .second = 59,
                                    .microsecond = 1'000'000}),
              utc(2007, 3, 25, 1));
}

TEST(Clock, looksAtNeitherDayOfWeekNorOffset) {
    EXPECT_EQ(berlin.dateFromLocal({.year = 2007, .month = 10, .day = 24, .dayOfWeek = 99, .utcOffset = -7}),
              utc(2007, 10, 23, 22));
}

// --- changes of the offset -----------------------------------------------------------------------------------

TEST(Clock, countsTwentyThreeAndTwentyFiveHours) {
    EXPECT_EQ(secondsOfDay(berlin, {.year = 2007, .month = 3, .day = 25}), 23 * 3600.0);
    EXPECT_EQ(secondsOfDay(berlin, {.year = 2007, .month = 10, .day = 28}), 25 * 3600.0);
    EXPECT_EQ(secondsOfDay(newYork, {.year = 2007, .month = 3, .day = 11}), 23 * 3600.0);
    EXPECT_EQ(secondsOfDay(newYork, {.year = 2007, .month = 11, .day = 4}), 25 * 3600.0);
    EXPECT_EQ(secondsOfDay(lordHowe, {.year = 2007, .month = 10, .day = 28}), 23.5 * 3600);
    EXPECT_EQ(secondsOfDay(lordHowe, {.year = 2007, .month = 3, .day = 25}), 24.5 * 3600);
    EXPECT_EQ(secondsOfDay(kolkata, {.year = 2007, .month = 3, .day = 25}), 24 * 3600.0);
}

TEST(Clock, readsASkippedTimeWithTheOffsetBeforeTheChange) {
    EXPECT_EQ(berlin.dateFromLocal({.year = 2007, .month = 3, .day = 25, .hour = 2, .minute = 30}),
              utc(2007, 3, 25, 1, 30));
    EXPECT_EQ(local(berlin, utc(2007, 3, 25, 1, 30)), "2007-03-25 03:30:00");
    EXPECT_EQ(newYork.dateFromLocal({.year = 2007, .month = 3, .day = 11, .hour = 2, .minute = 30}),
              utc(2007, 3, 11, 7, 30));
    EXPECT_EQ(lordHowe.dateFromLocal({.year = 2007, .month = 10, .day = 28, .hour = 2, .minute = 15}),
              utc(2007, 10, 27, 15, 45));
    EXPECT_EQ(local(lordHowe, utc(2007, 10, 27, 15, 45)), "2007-10-28 02:45:00");
    // Around the gap nothing is skipped.
    EXPECT_EQ(berlin.dateFromLocal({.year = 2007, .month = 3, .day = 25, .hour = 1, .minute = 59}),
              utc(2007, 3, 25, 0, 59));
    EXPECT_EQ(berlin.dateFromLocal({.year = 2007, .month = 3, .day = 25, .hour = 3}), utc(2007, 3, 25, 1));
}

TEST(Clock, meansTheFirstOfARepeatedHour) {
    EXPECT_EQ(berlin.dateFromLocal({.year = 2007, .month = 10, .day = 28, .hour = 2, .minute = 30}),
              utc(2007, 10, 28, 0, 30));
    EXPECT_EQ(newYork.dateFromLocal({.year = 2007, .month = 11, .day = 4, .hour = 1, .minute = 30}),
              utc(2007, 11, 4, 5, 30));
    EXPECT_EQ(lordHowe.dateFromLocal({.year = 2007, .month = 3, .day = 25, .hour = 1, .minute = 45}),
              utc(2007, 3, 24, 14, 45));
    // Both show the same, the second with the later offset.
    EXPECT_EQ(local(berlin, utc(2007, 10, 28, 1, 30)), "2007-10-28 02:30:00");
    EXPECT_EQ(berlin.calendarDate(utc(2007, 10, 28, 1, 30)).utcOffset, 3600);
    // The end of the repeated hour comes but once.
    EXPECT_EQ(berlin.dateFromLocal({.year = 2007, .month = 10, .day = 28, .hour = 3}), utc(2007, 10, 28, 2));
}

TEST_P(ZonesTest, findsEveryMomentOfAYearAgain) {
    constexpr std::int64_t step = 600'000'000; // ten minutes
    for (Date date = utc(2007, 1, 1); date < utc(2008, 1, 1); date.microseconds += step) {
        const CalendarDate calendar = clock.calendarDate(date);
        const Date again = clock.dateFromLocal(calendar);
        // The second of a repeated hour is read as the first: the same to look at.
        ASSERT_LE(again, date) << local(clock, date);
        ASSERT_EQ(fields(clock.calendarDate(again)), fields(calendar));
        if (clock.calendarDate(again).utcOffset == calendar.utcOffset) {
            ASSERT_EQ(again, date) << local(clock, date);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Clock, ZonesTest,
                         testing::Values("Europe/Berlin", "America/New_York", "Asia/Kolkata",
                                         "Australia/Lord_Howe", "UTC", "Pacific/Apia"));

TEST(Clock, readsADayThatAZoneLeftOutWithTheOffsetBefore) {
    const ManualClock apia{QTimeZone("Pacific/Apia")}; // went from Thursday to Saturday
    EXPECT_EQ(apia.dateFromLocal({.year = 2011, .month = 12, .day = 30, .hour = 12}), utc(2011, 12, 30, 22));
    EXPECT_EQ(apia.dateFromLocal({.year = 2011, .month = 12, .day = 31}), utc(2011, 12, 30, 10));
}

// --- text ----------------------------------------------------------------------------------------------------

TEST(Clock, formatsInLocalTime) {
    EXPECT_EQ(berlin.format(utc(2007, 1, 2, 3, 4, 5), "%Y%m%d_%H%M%S"), "20070102_040405");
    EXPECT_EQ(berlin.format(utc(2007, 1, 2, 3, 4, 5), "100%% at %H"), "100% at 04");
    EXPECT_EQ(berlin.format({}, ""), "");
}

TEST(Clock, keepsALonePercentSign) {
    EXPECT_EQ(berlin.format({}, "50%"), "50%");
}

TEST(Clock, formatsTheLastMicrosecondOfASecondAsThatSecond) {
    EXPECT_EQ(ManualClock().format({-1}, "%S"), "59");
    EXPECT_EQ(ManualClock().format({999'999}, "%S"), "00");
}

// --- host time -----------------------------------------------------------------------------------------------

TEST(Clock, turnsSecondsIntoTheNearestNanosecond) {
    EXPECT_EQ(hostTimeFromSeconds(0.29), 290'000'000);
    EXPECT_EQ(hostTimeFromSeconds(1.1), 1'100'000'000);
    EXPECT_EQ(hostTimeFromSeconds(-1.1), -1'100'000'000);
    EXPECT_EQ(hostTimeFromSeconds(0.0), 0);
}

TEST(Clock, sleepsForSeconds) {
    ManualClock clock;
    clock.sleep(2.5);
    EXPECT_EQ(clock.hostTime(), 2'500'000'000);
    EXPECT_EQ(clock.now(), Date{2'500'000});
}
