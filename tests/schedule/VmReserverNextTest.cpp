// Which entry comes next, and when.
#include "schedule/ScheduleDesk.h"

namespace {
struct Case {
    CalendarDate now;
    StoredTimer timer;
    int second; ///< 86400 is none
};

void expectNext(const std::vector<Case>& cases) {
    for (std::size_t index = 0; index < cases.size(); ++index) {
        ScheduleDesk desk({cases[index].timer});
        desk.goTo(cases[index].now);
        EXPECT_EQ(desk.reserver().nextStartTime(), cases[index].second) << "case " << index;
        EXPECT_EQ(desk.reserver().nextElement() != nullptr, cases[index].second != 86400) << "case " << index;
    }
}
} // namespace

TEST(VmReserverNext, isNow_inTheSecondOfAStart) {
    ScheduleDesk desk({{.name = "ten", .start = hourMinute(10, 0), .stop = hourMinute(11, 0)}});
    desk.goToTime(10, 0, 0);
    EXPECT_EQ(desk.reserver().nextStartTime(), 0);
    EXPECT_EQ(nameOf(desk.reserver().nextElement()), "ten");
    EXPECT_EQ(nameOf(desk.reserver().startElement()), "ten");
}

TEST(VmReserverNext, isTomorrow_aSecondAfterADailyStart) {
    ScheduleDesk desk({{.name = "ten", .start = hourMinute(10, 0), .stop = hourMinute(11, 0)}});
    desk.goToTime(10, 0, 1);
    EXPECT_EQ(desk.reserver().nextStartTime(), 86399);
    EXPECT_EQ(nameOf(desk.reserver().nextElement()), "ten");
}

TEST(VmReserverNext, countsToTheSecondOfAStart) {
    expectNext({{{.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 58, .second = 57},
                 {.start = hourMinute(10, 1, 2)},
                 125}});
}

TEST(VmReserverNext, isTheNearest_whateverTheOrder) {
    ScheduleDesk desk({{.name = "eleven", .start = hourMinute(11, 0)},
                       {.name = "off", .enabled = 0, .start = hourMinute(10, 5)},
                       {.name = "half past ten", .start = hourMinute(10, 30)},
                       {.name = "nine", .start = hourMinute(9, 0)}});
    desk.goToTime(10, 0, 0);
    EXPECT_EQ(nameOf(desk.reserver().nextElement()), "half past ten");
    EXPECT_EQ(desk.reserver().nextStartTime(), 1800);
}

TEST(VmReserverNext, isTheFirstInTheList_ofEqualStarts) {
    ScheduleDesk desk({{.name = "later", .start = hourMinute(11, 0)},
                       {.name = "first", .start = hourMinute(10, 30)},
                       {.name = "second", .start = hourMinute(10, 30)}});
    desk.goToTime(10, 0, 0);
    EXPECT_EQ(nameOf(desk.reserver().nextElement()), "first");
    desk.goToTime(10, 30, 0);
    EXPECT_EQ(nameOf(desk.reserver().startElement()), "first");
}

TEST(VmReserverNext, hasElementAndSecondsOfOneAnswer) {
    ScheduleDesk desk({{.name = "ten", .start = hourMinute(10, 0)}});
    desk.goToTime(9, 0, 0);
    const VmReserver::NextElement next = desk.reserver().nextElementSecond();
    EXPECT_EQ(nameOf(next.element), "ten");
    EXPECT_EQ(next.second, 3600);
}

TEST(VmReserverNext, comparesTheWeekdayWithToday) {
    // 2007-10-24 is a Wednesday.
    const CalendarDate now{.year = 2007, .month = 10, .day = 24, .hour = 22};
    expectNext({{now, {.start = hourMinute(23, 0), .week = 4}, 3600},
                {now, {.start = hourMinute(23, 0), .week = 5}, 86400},
                {now, {.start = hourMinute(6, 0), .week = 5}, 86400}, // announced when Thursday has come
                {now, {.start = hourMinute(6, 0), .week = 4}, 8 * 3600}});
    ScheduleDesk desk({{.name = "Thursday", .start = hourMinute(6, 0), .week = 5}});
    desk.goTo({.year = 2007, .month = 10, .day = 25, .hour = 6});
    EXPECT_EQ(nameOf(desk.reserver().startElement()), "Thursday");
}

TEST(VmReserverNext, goesOnInTheNextMonth_atTheEndOfAMonth) {
    expectNext({{{.year = 2007, .month = 11, .day = 30, .hour = 23}, {.start = hourMinute(0, 30)}, 5400},
                {{.year = 2007, .month = 12, .day = 31, .hour = 23}, {.start = hourMinute(0, 30)}, 5400},
                {{.year = 2007, .month = 2, .day = 28, .hour = 23}, {.start = hourMinute(0, 30)}, 5400},
                {{.year = 2008, .month = 2, .day = 28, .hour = 23}, {.start = hourMinute(0, 30)}, 5400},
                {{.year = 2008, .month = 2, .day = 29, .hour = 23}, {.start = hourMinute(0, 30)}, 5400}});
}

TEST(VmReserverNext, isNotAnnounced_onTheEveOfAFixedDate) {
    ScheduleDesk desk({{.name = "first of November", .start = hourMinute(0, 30), .month = 11, .day = 1}});
    desk.goTo({.year = 2007, .month = 10, .day = 31, .hour = 23});
    EXPECT_EQ(desk.reserver().nextStartTime(), 86400); // counted to the 2nd, since 00:30 has passed today
    desk.goTo({.year = 2007, .month = 11, .day = 1, .hour = 0, .minute = 30});
    EXPECT_EQ(nameOf(desk.reserver().startElement()), "first of November");
}

TEST(VmReserverNext, announcesAFixedDateWithinADay) {
    const CalendarDate now{.year = 2007, .month = 10, .day = 31, .hour = 10};
    expectNext({{now, {.start = hourMinute(11, 0), .month = 10, .day = 31}, 3600},
                {now, {.start = hourMinute(11, 0), .month = 10}, 3600},
                {now, {.start = hourMinute(11, 0), .day = 31}, 3600},
                {now, {.start = hourMinute(11, 0), .month = 11, .day = 1}, 86400},
                {now, {.start = hourMinute(10, 0), .month = 11, .day = 1}, 86400},
                {now, {.start = hourMinute(11, 0), .month = 9}, 86400},
                {now, {.start = hourMinute(11, 0), .day = 29}, 86400},
                {now, {.start = hourMinute(11, 0), .month = 12, .day = 31}, 86400}});
}

TEST(VmReserverNext, isBehind_forAnEntryFixedToYesterdayThatIsLessThanADayOld) {
    ScheduleDesk desk({{.name = "daily", .start = hourMinute(11, 0)},
                       {.name = "yesterday", .start = hourMinute(23, 0), .day = 23}});
    desk.goTo({.year = 2007, .month = 10, .day = 24, .hour = 10});
    EXPECT_EQ(nameOf(desk.reserver().nextElement()), "yesterday");
    EXPECT_EQ(desk.reserver().nextStartTime(), -11 * 3600);
    desk.goToTime(23, 0);
    EXPECT_EQ(nameOf(desk.reserver().nextElement()), "daily"); // a whole day is too long ago
}

TEST(VmReserverNext, staysInThisYear) {
    expectNext({{{.year = 2007, .month = 12, .day = 31, .hour = 23},
                 {.start = hourMinute(23, 30), .month = 1, .day = 1},
                 86400},
                {{.year = 2007, .month = 12, .day = 31, .hour = 10},
                 {.start = hourMinute(9, 0), .month = 12},
                 23 * 3600}});
}

TEST(VmReserverNext, survivesFiltersBeyondTheirRange) {
    const CalendarDate now{.year = 2007, .month = 10, .day = 24, .hour = 10};
    constexpr int huge = 2147483647;
    expectNext({{now, {.start = hourMinute(11, 0), .month = 13}, 86400},
                {now, {.start = hourMinute(11, 0), .month = -huge}, 86400},
                {now, {.start = hourMinute(9, 0), .day = huge}, 86400},
                {now, {.start = hourMinute(11, 0), .day = -huge}, 86400},
                {now, {.start = huge}, 86400},
                {now, {.start = -huge}, 86400},
                {now, {.start = hourMinute(11, 0), .week = 8}, 86400}});
}

TEST(VmReserverNext, countsAStartAtTheEndOfTheDayToMidnight) {
    expectNext({{{.year = 2007, .month = 10, .day = 24, .hour = 23, .minute = 57}, {.start = 86400}, 180},
                {{.year = 2007, .month = 10, .day = 24}, {.start = 86400}, 86400}});
}
