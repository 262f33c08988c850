#include "schedule/EntryCalendar.h"

#include "schedule/ScheduleDesk.h"

namespace {
/// The next recording of the one entry, as the table's tool tip tells it.
std::string next(const StoredTimer& timer, const CalendarDate& now, const char* zone = "Asia/Tokyo") {
    ScheduleDesk desk({timer}, zone);
    desk.goTo(now);
    return desk.list().tip(0, "NextSpan");
}
/// As the table shows it.
std::string shown(const StoredTimer& timer, const CalendarDate& now) {
    ScheduleDesk desk({timer});
    desk.goTo(now);
    return desk.list().cell(0, "NextSpan");
}
bool overlapping(const StoredTimer& one, const StoredTimer& other) {
    ScheduleDesk desk({one, other});
    EXPECT_EQ(desk.list().overlaps(0), desk.list().overlaps(1));
    return desk.list().overlaps(0);
}
bool never(const StoredTimer& timer) {
    ScheduleDesk desk({timer});
    if (desk.list().neverStarts(0)) {
        EXPECT_FALSE(desk.list().nextSpan(0));
        EXPECT_EQ(desk.list().cell(0, "EntryMark"), "⚠");
        EXPECT_TRUE(desk.list().tip(0, "EntryMark").starts_with("Never starts"));
    }
    return desk.list().neverStarts(0);
}

constexpr CalendarDate monday{.year = 2026, .month = 3, .day = 2, .hour = 10};
constexpr int eight = hourMinute(8, 0);
constexpr int nine = hourMinute(9, 0);
constexpr int noon = hourMinute(12, 0);
} // namespace

TEST(EntryCalendar, isToday_whenTheStartIsStillToCome) {
    EXPECT_EQ(next({.start = noon, .stop = hourMinute(13, 30)}, monday), "2026-03-02 12:00 – 13:30");
}

TEST(EntryCalendar, isToday_atTheVeryStart) {
    EXPECT_EQ(next({.start = hourMinute(10, 0), .stop = noon}, monday), "2026-03-02 10:00 – 12:00");
}

TEST(EntryCalendar, isTomorrow_whenTheStartHasPassed) {
    EXPECT_EQ(next({.start = eight, .stop = nine}, monday), "2026-03-03 08:00 – 09:00");
}

TEST(EntryCalendar, namesTheDateOfAStopOnTheNextDay) {
    EXPECT_EQ(next({.start = hourMinute(22, 0), .stop = hourMinute(2, 0)}, monday),
              "2026-03-02 22:00 – 2026-03-03 02:00");
}

TEST(EntryCalendar, lastsADay_whenItStopsWhenItStarts) {
    EXPECT_EQ(next({.start = noon, .stop = noon}, monday), "2026-03-02 12:00 – 2026-03-03 12:00");
}

TEST(EntryCalendar, takesTheEndOfTheDayForTheNextMidnight) {
    EXPECT_EQ(next({.start = 86400, .stop = 86400}, monday), "2026-03-03 00:00 – 2026-03-04 00:00");
    EXPECT_EQ(next({.start = hourMinute(23, 0), .stop = 86400}, monday), "2026-03-02 23:00 – 2026-03-03 00:00");
}

TEST(EntryCalendar, waitsForTheWeekday) {
    EXPECT_EQ(next({.start = eight, .stop = nine, .week = 1}, monday), "2026-03-08 08:00 – 09:00");
    EXPECT_EQ(next({.start = eight, .stop = nine, .week = 2}, monday), "2026-03-09 08:00 – 09:00");
    EXPECT_EQ(next({.start = noon, .stop = hourMinute(13, 0), .week = 2}, monday), "2026-03-02 12:00 – 13:00");
}

TEST(EntryCalendar, waitsForTheDayOfTheMonth) {
    EXPECT_EQ(next({.start = eight, .stop = nine, .day = 1}, monday), "2026-04-01 08:00 – 09:00");
    EXPECT_EQ(next({.start = eight, .stop = nine, .day = 31}, {.year = 2026, .month = 4, .day = 1}),
              "2026-05-31 08:00 – 09:00");
}

TEST(EntryCalendar, waitsForTheMonth) {
    EXPECT_EQ(next({.start = eight, .stop = nine, .month = 1}, monday), "2027-01-01 08:00 – 09:00");
    EXPECT_EQ(next({.start = eight, .stop = nine, .month = 2, .day = 29}, monday), "2028-02-29 08:00 – 09:00");
}

TEST(EntryCalendar, waitsForAWeekdayOnADate) {
    EXPECT_EQ(next({.start = eight, .stop = nine, .day = 13, .week = 6}, monday), "2026-03-13 08:00 – 09:00");
    EXPECT_EQ(next({.start = eight, .stop = nine, .month = 2, .day = 29, .week = 7}, monday),
              "2048-02-29 08:00 – 09:00");
    EXPECT_EQ(next({.start = eight, .stop = nine, .month = 2, .day = 29, .week = 7},
                   {.year = 2076, .month = 3, .day = 1}),
              "2116-02-29 08:00 – 09:00"); // 2100 is no leap year
}

TEST(EntryCalendar, startsWithTheChange_whenTheClockSkipsTheStart) {
    EXPECT_EQ(next({.start = hourMinute(2, 30), .stop = hourMinute(5, 0)},
                   {.year = 2026, .month = 3, .day = 29, .hour = 1}, "Europe/Berlin"),
              "2026-03-29 03:00 – 05:00");
}

TEST(EntryCalendar, doesNotTakePlace_whenTheClockSkipsTheWhole) {
    EXPECT_EQ(next({.start = hourMinute(2, 15), .stop = hourMinute(2, 45)},
                   {.year = 2026, .month = 3, .day = 29, .hour = 1}, "Europe/Berlin"),
              "2026-03-30 02:15 – 02:45");
}

TEST(EntryCalendar, startsAtTheFirstOfARepeatedTime) {
    ScheduleDesk desk({{.start = hourMinute(2, 30), .stop = hourMinute(4, 0)}}, "Europe/Berlin");
    desk.goTo({.year = 2026, .month = 10, .day = 25, .hour = 1});
    const auto span = desk.list().nextSpan(0);
    ASSERT_TRUE(span);
    EXPECT_DOUBLE_EQ(span->stop.secondsSince(span->start), 2.5 * 3600.0);
}

TEST(EntryCalendar, isNone_forADisabledEntry_orARowThatThereIsNot) {
    ScheduleDesk desk({{.enabled = 0, .start = noon, .stop = noon}});
    EXPECT_FALSE(desk.list().nextSpan(0));
    EXPECT_EQ(desk.list().cell(0, "NextSpan"), "");
    EXPECT_FALSE(desk.list().nextSpan(1));
    EXPECT_FALSE(desk.list().nextSpan(-1));
    EXPECT_FALSE(desk.list().overlaps(7));
    EXPECT_FALSE(desk.list().neverStarts(7));
    EXPECT_EQ(desk.list().cell(7, "EntryMark"), "");
}

TEST(EntryCalendar, neverStarts_onADateThatNoYearHas) {
    EXPECT_TRUE(never({.month = 2, .day = 30}));
    EXPECT_TRUE(never({.month = 4, .day = 31}));
    EXPECT_TRUE(never({.day = 32}));
    EXPECT_TRUE(never({.month = 13}));
    EXPECT_TRUE(never({.week = 8}));
    EXPECT_TRUE(never({.start = 86401}));
    EXPECT_FALSE(never({.month = 2, .day = 29}));
    EXPECT_FALSE(never({.day = 31}));
    EXPECT_FALSE(never({.month = 2, .day = 29, .week = 3}));
}

TEST(EntryCalendar, isShownWithoutTheYear_whereItIsThisOne) {
    EXPECT_EQ(shown({.start = noon, .stop = hourMinute(13, 30)}, monday), "03-02 12:00–13:30");
    EXPECT_EQ(shown({.start = hourMinute(22, 0), .stop = eight}, monday), "03-02 22:00–03-03 08:00");
    EXPECT_EQ(shown({.start = noon, .stop = hourMinute(13, 30), .month = 2}, monday), "2027-02-01 12:00–13:30");
}

TEST(EntryCalendar, overlaps_whenTimesMeetOnOneDate) {
    EXPECT_TRUE(overlapping({.start = eight, .stop = noon}, {.start = nine, .stop = hourMinute(10, 0)}));
    EXPECT_FALSE(overlapping({.start = eight, .stop = nine}, {.start = nine, .stop = noon}));
    EXPECT_TRUE(overlapping({.start = noon, .stop = noon}, {.start = eight, .stop = nine}));
}

TEST(EntryCalendar, doesNotOverlap_onDifferentDates) {
    EXPECT_FALSE(
        overlapping({.start = eight, .stop = noon, .week = 2}, {.start = eight, .stop = noon, .week = 3}));
    EXPECT_FALSE(overlapping({.start = eight, .stop = noon, .month = 2, .day = 3},
                             {.start = eight, .stop = noon, .month = 2, .day = 4}));
    EXPECT_TRUE(
        overlapping({.start = eight, .stop = noon, .month = 2}, {.start = eight, .stop = noon, .day = 4}));
    EXPECT_FALSE(
        overlapping({.start = eight, .stop = noon, .month = 2}, {.start = eight, .stop = noon, .day = 30}));
    EXPECT_TRUE(
        overlapping({.start = eight, .stop = noon, .week = 2}, {.start = eight, .stop = noon, .day = 4}));
}

TEST(EntryCalendar, overlapsAcrossMidnight) {
    const StoredTimer night{.start = hourMinute(22, 0), .stop = hourMinute(2, 0), .week = 1};
    EXPECT_TRUE(overlapping(night, {.start = hourMinute(1, 0), .stop = hourMinute(3, 0), .week = 2}));
    EXPECT_FALSE(overlapping(night, {.start = hourMinute(1, 0), .stop = hourMinute(3, 0), .week = 1}));
    EXPECT_FALSE(overlapping(night, {.start = hourMinute(1, 0), .stop = hourMinute(3, 0), .week = 3}));
    EXPECT_TRUE(overlapping({.start = hourMinute(22, 0), .stop = hourMinute(2, 0), .month = 2, .day = 28},
                            {.start = hourMinute(1, 0), .stop = hourMinute(3, 0), .month = 3, .day = 1}));
    EXPECT_FALSE(overlapping({.start = hourMinute(22, 0), .stop = hourMinute(2, 0), .month = 2, .day = 27},
                             {.start = hourMinute(1, 0), .stop = hourMinute(3, 0), .month = 3, .day = 1}));
    EXPECT_TRUE(overlapping({.start = hourMinute(22, 0), .stop = hourMinute(2, 0), .month = 12, .day = 31},
                            {.start = hourMinute(1, 0), .stop = hourMinute(3, 0), .month = 1, .day = 1}));
}

TEST(EntryCalendar, overlapsNoDisabledEntry) {
    EXPECT_FALSE(overlapping({.start = eight, .stop = noon}, {.enabled = 0, .start = eight, .stop = noon}));
}

TEST(EntryCalendar, marksAnEntryThatOverlaps) {
    ScheduleDesk desk(
        {{.start = eight, .stop = noon}, {.start = nine, .stop = noon}, {.start = noon, .stop = 46800}});
    for (const int row : {0, 1}) {
        EXPECT_EQ(desk.list().cell(row, "EntryMark"), "⚠");
        EXPECT_TRUE(desk.list().tip(row, "EntryMark").starts_with("Overlaps another entry"));
        EXPECT_TRUE(desk.list().isWarning(row, "EntryMark"));
        EXPECT_FALSE(desk.list().isWarning(row, "ReserveName"));
    }
    EXPECT_EQ(desk.list().cell(2, "EntryMark"), "");
    EXPECT_EQ(desk.list().tip(2, "EntryMark"), "");
    EXPECT_FALSE(desk.list().isWarning(2, "EntryMark"));
}
