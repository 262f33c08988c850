// What starts in this minute, and what runs now.
#include "schedule/ScheduleDesk.h"

namespace {
constexpr CalendarDate wednesday{.year = 2007, .month = 10, .day = 24, .hour = 10};
} // namespace

TEST(VmReserver, hasNoAnswer_forAnEmptyList) {
    ScheduleDesk desk(std::vector<StoredTimer>{});
    EXPECT_EQ(desk.reserver().count(), 0);
    EXPECT_EQ(nameOf(desk.reserver().startElement()), "none");
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "none");
    EXPECT_EQ(nameOf(desk.reserver().unfinishedWithinElement()), "none");
    EXPECT_EQ(nameOf(desk.reserver().nextElement()), "none");
    EXPECT_EQ(desk.reserver().nextStartTime(), 86400);
    EXPECT_EQ(desk.reserver().validReserves(), 0);
    EXPECT_EQ(desk.reserver().enables(), 0);
}

TEST(VmReserver, hasNoAnswer_whenAllEntriesAreDisabled) {
    ScheduleDesk desk({{.enabled = 0, .start = hourMinute(10, 0)}, {.enabled = 0}});
    desk.goTo(wednesday);
    EXPECT_EQ(desk.reserver().count(), 2);
    EXPECT_EQ(nameOf(desk.reserver().startElement()), "none");
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "none");
    EXPECT_EQ(nameOf(desk.reserver().nextElement()), "none");
    EXPECT_EQ(desk.reserver().nextStartTime(), 86400);
    EXPECT_EQ(desk.reserver().validReserves(), 0);
    EXPECT_EQ(desk.reserver().enables(), 0);
}

TEST(VmReserver, countsEntriesThatAreOn) {
    ScheduleDesk desk({{.enabled = 1}, {.enabled = 0}, {.enabled = 2}, {.enabled = -1}, {.enabled = 1}});
    EXPECT_EQ(desk.reserver().validReserves(), 2);
    EXPECT_EQ(desk.reserver().enables(), 4);
    EXPECT_EQ(desk.reserver().count(), 5);
}

TEST(VmReserver, givesEntriesByTheirIndex) {
    ScheduleDesk desk({{.name = "first"}, {.name = "second"}});
    EXPECT_EQ(nameOf(desk.reserver().elementAtIndex(0)), "first");
    EXPECT_EQ(nameOf(desk.reserver().elementAtIndex(1)), "second");
    EXPECT_EQ(desk.reserver().elementAtIndex(2), nullptr);
    EXPECT_EQ(desk.reserver().elementAtIndex(-1), nullptr);
}

TEST(VmReserver, startsAnEntryDuringTheWholeMinuteOfItsStart) {
    ScheduleDesk desk({{.name = "ten", .start = hourMinute(10, 0), .stop = hourMinute(11, 0)}});
    desk.goToTime(9, 59, 59);
    EXPECT_EQ(nameOf(desk.reserver().startElement()), "none");
    for (const int second : {0, 1, 30, 59}) {
        desk.goToTime(10, 0, second);
        EXPECT_EQ(nameOf(desk.reserver().startElement()), "ten") << second;
    }
    desk.goToTime(10, 1, 0);
    EXPECT_EQ(nameOf(desk.reserver().startElement()), "none");
}

TEST(VmReserver, startsAnEntryBeforeItsSecond) {
    ScheduleDesk desk({{.name = "ten", .start = hourMinute(10, 0, 45), .stop = hourMinute(11, 0)}});
    desk.goToTime(10, 0, 5);
    EXPECT_EQ(nameOf(desk.reserver().startElement()), "ten");
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "none");
}

TEST(VmReserver, startsTheFirstOfTwoEntriesAtOneTime) {
    ScheduleDesk desk({{.name = "off", .enabled = 0, .start = hourMinute(10, 0)},
                       {.name = "first", .start = hourMinute(10, 0), .stop = hourMinute(10, 30)},
                       {.name = "second", .start = hourMinute(10, 0), .stop = hourMinute(11, 0)}});
    desk.goTo(wednesday);
    EXPECT_EQ(nameOf(desk.reserver().startElement()), "first");
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "first");
}

TEST(VmReserver, neverStartsAnEntryAtTheEndOfTheDay) {
    ScheduleDesk desk({{.name = "24:00", .start = 86400, .stop = 86400}});
    desk.goToTime(0, 0, 0);
    EXPECT_EQ(nameOf(desk.reserver().startElement()), "none");
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "24:00");
}

TEST(VmReserver, startsOnlyInTheMonthOfAnEntry) {
    for (int month = 0; month <= 13; ++month) {
        ScheduleDesk desk({{.start = hourMinute(10, 0), .month = month}});
        desk.goTo(wednesday);
        EXPECT_EQ(desk.reserver().startElement() != nullptr, month == 0 || month == 10) << month;
    }
}

TEST(VmReserver, startsOnlyOnTheDayOfAnEntry) {
    for (int day = 0; day <= 32; ++day) {
        ScheduleDesk desk({{.start = hourMinute(10, 0), .day = day}});
        desk.goTo(wednesday);
        EXPECT_EQ(desk.reserver().startElement() != nullptr, day == 0 || day == 24) << day;
    }
}

TEST(VmReserver, startsOnlyOnTheWeekdayOfAnEntry) {
    for (int week = 0; week <= 8; ++week) {
        ScheduleDesk desk({{.start = hourMinute(10, 0), .week = week}});
        desk.goTo(wednesday);
        EXPECT_EQ(desk.reserver().startElement() != nullptr, week == 0 || week == 4) << week;
    }
}

TEST(VmReserver, countsWeekdaysFromSundayToSaturday) {
    ScheduleDesk desk({{.name = "1", .start = 36000, .week = 1},
                       {.name = "2", .start = 36000, .week = 2},
                       {.name = "3", .start = 36000, .week = 3},
                       {.name = "4", .start = 36000, .week = 4},
                       {.name = "5", .start = 36000, .week = 5},
                       {.name = "6", .start = 36000, .week = 6},
                       {.name = "7", .start = 36000, .week = 7}});
    for (int day = 21; day <= 27; ++day) { // from a Sunday on
        desk.goTo({.year = 2007, .month = 10, .day = day, .hour = 10});
        EXPECT_EQ(nameOf(desk.reserver().startElement()), std::to_string(day - 20));
        EXPECT_EQ(nameOf(desk.reserver().nextElement()), std::to_string(day - 20));
    }
}

TEST(VmReserver, asksAllFiltersOfAnEntry) {
    const StoredTimer matching{.start = 36000, .month = 10, .day = 24, .week = 4};
    for (int changed = 0; changed <= 3; ++changed) {
        StoredTimer timer = matching;
        timer.month += changed == 1 ? 1 : 0;
        timer.day += changed == 2 ? 1 : 0;
        timer.week += changed == 3 ? 1 : 0;
        ScheduleDesk desk({timer});
        desk.goTo(wednesday);
        EXPECT_EQ(desk.reserver().startElement() != nullptr, changed == 0) << changed;
    }
}

TEST(VmReserver, isWithinASpanFromStartToStop_bothIncluded) {
    ScheduleDesk desk({{.name = "span", .start = hourMinute(10, 0), .stop = hourMinute(11, 0)}});
    desk.goToTime(9, 59, 59);
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "none");
    desk.goToTime(10, 0, 0);
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "span");
    desk.goToTime(11, 0, 0);
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "span");
    desk.goToTime(11, 0, 1);
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "none");
}

TEST(VmReserver, isWithinASpanAcrossMidnight) {
    ScheduleDesk desk({{.name = "night", .start = 79200, .stop = 7200}});
    const auto within = [&desk](int hour, int minute, int second) {
        desk.goToTime(hour, minute, second);
        return desk.reserver().withinElement() != nullptr;
    };
    EXPECT_TRUE(within(23, 30, 0));
    EXPECT_TRUE(within(1, 59, 59));
    EXPECT_TRUE(within(2, 0, 0));
    EXPECT_FALSE(within(2, 0, 1));
    EXPECT_FALSE(within(21, 59, 59));
    EXPECT_TRUE(within(22, 0, 0));
}

TEST(VmReserver, isWithinASpanOfEqualEnds_atAnyTime) {
    ScheduleDesk desk({{.name = "day", .start = hourMinute(8, 0), .stop = hourMinute(8, 0)}});
    for (const int hour : {0, 7, 8, 9, 23}) {
        desk.goToTime(hour, 0, 0);
        EXPECT_EQ(nameOf(desk.reserver().withinElement()), "day") << hour;
        EXPECT_EQ(nameOf(desk.reserver().unfinishedWithinElement()), "day") << hour;
    }
    desk.goToTime(7, 59, 59);
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "day");
}

TEST(VmReserver, isWithinASpan_whateverTheFiltersSay) {
    for (const StoredTimer& timer : {StoredTimer{.start = 32400, .stop = 39600, .month = 9},
                                     StoredTimer{.start = 32400, .stop = 39600, .day = 23},
                                     StoredTimer{.start = 32400, .stop = 39600, .week = 3}}) {
        ScheduleDesk desk({timer});
        desk.goTo(wednesday);
        EXPECT_EQ(nameOf(desk.reserver().withinElement()), "Entry");
        EXPECT_EQ(nameOf(desk.reserver().startElement()), "none");
    }
}

TEST(VmReserver, passesOverAnEntryThatStopsInThisSecond_whenAskedForAnUnfinishedOne) {
    ScheduleDesk desk({{.name = "ending", .start = hourMinute(9, 0), .stop = hourMinute(10, 0)},
                       {.name = "following", .start = hourMinute(10, 0), .stop = hourMinute(11, 0)}});
    desk.goToTime(9, 59, 59);
    EXPECT_EQ(nameOf(desk.reserver().unfinishedWithinElement()), "ending");
    desk.goToTime(10, 0, 0);
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "ending");
    EXPECT_EQ(nameOf(desk.reserver().unfinishedWithinElement()), "following");
    desk.goToTime(11, 0, 0);
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "following");
    EXPECT_EQ(nameOf(desk.reserver().unfinishedWithinElement()), "none");
}

TEST(VmReserver, passesOverANightThatStopsInThisSecond_whenAskedForAnUnfinishedOne) {
    ScheduleDesk desk({{.name = "night", .start = 79200, .stop = 7200}});
    desk.goToTime(2, 0, 0);
    EXPECT_EQ(nameOf(desk.reserver().withinElement()), "night");
    EXPECT_EQ(nameOf(desk.reserver().unfinishedWithinElement()), "none");
}
