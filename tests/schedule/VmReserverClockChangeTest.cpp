// The days of 23 and 25 hours.
#include "schedule/ScheduleDesk.h"

namespace {
constexpr const char* berlin = "Europe/Berlin";         // an hour, at 02:00 and 03:00
constexpr const char* newYork = "America/New_York";     // an hour, at 02:00
constexpr const char* lordHowe = "Australia/Lord_Howe"; // half an hour, at 02:00

CalendarDate on(const CalendarDate& day, int seconds) {
    CalendarDate local = day;
    local.second = seconds;
    return local;
}

struct Zone {
    const char* name;
    CalendarDate spring;
    CalendarDate autumn;
    int change;   ///< seconds
    int skipped;  ///< a time that the spring change skips
    int repeated; ///< a time that the autumn change repeats
};

const std::vector<Zone> zones = {
    {berlin,
     {.year = 2026, .month = 3, .day = 29},
     {.year = 2026, .month = 10, .day = 25},
     3600,
     hourMinute(2, 30),
     hourMinute(2, 30)},
    {newYork,
     {.year = 2026, .month = 3, .day = 8},
     {.year = 2026, .month = 11, .day = 1},
     3600,
     hourMinute(2, 30),
     hourMinute(1, 30)},
    {lordHowe,
     {.year = 2026, .month = 10, .day = 4},
     {.year = 2026, .month = 4, .day = 5},
     1800,
     hourMinute(2, 15),
     hourMinute(1, 45)},
};

/// A desk with one entry, and the zone it is in.
class ChangeDesk : public ScheduleDesk {
public:
    ChangeDesk(const Zone& zone, int start, int stop)
        : ScheduleDesk(std::vector{StoredTimer{.start = start, .stop = stop}}, zone.name) {}
    const Clock& clock() { return desk().clock; }
    Date now() { return clock().now(); }
    Date stop() { return reserver().stopDate(*reserver().elementAtIndex(0)); }
    Date start() { return reserver().startDate(*reserver().elementAtIndex(0)); }
    double secondsToStop() { return stop().secondsSince(now()); }
    int clockAt(Date date) { return DayTime::seconds(clock().calendarDate(date)); }
};
} // namespace

TEST(VmReserverClockChange, stopsAtTheTimeOnTheClock_acrossBothChanges) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, hourMinute(0, 30), hourMinute(5, 0));
        desk.goTo(on(zone.spring, hourMinute(0, 30)));
        EXPECT_EQ(desk.secondsToStop(), hourMinute(4, 30) - zone.change) << zone.name;
        EXPECT_EQ(desk.clockAt(desk.stop()), hourMinute(5, 0)) << zone.name;
        desk.goTo(on(zone.autumn, hourMinute(0, 30)));
        EXPECT_EQ(desk.secondsToStop(), hourMinute(4, 30) + zone.change) << zone.name;
        EXPECT_EQ(desk.clockAt(desk.stop()), hourMinute(5, 0)) << zone.name;
    }
}

TEST(VmReserverClockChange, stopsTheNightAtTheTimeOnTheClock_acrossBothChanges) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, hourMinute(22, 0), hourMinute(6, 0));
        desk.goTo(on(zone.spring, hourMinute(22, 0) - 86400));
        EXPECT_EQ(desk.secondsToStop(), hourMinute(8, 0) - zone.change) << zone.name;
        desk.goTo(on(zone.autumn, hourMinute(22, 0) - 86400));
        EXPECT_EQ(desk.secondsToStop(), hourMinute(8, 0) + zone.change) << zone.name;
    }
}

TEST(VmReserverClockChange, runsOnForTheSameLength_whenTheStopIsSkipped) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, hourMinute(1, 0), zone.skipped);
        desk.goTo(on(zone.spring, hourMinute(1, 0)));
        EXPECT_EQ(desk.secondsToStop(), zone.skipped - hourMinute(1, 0)) << zone.name;
        EXPECT_EQ(desk.clockAt(desk.stop()), zone.skipped + zone.change) << zone.name;
        desk.goTo(on(zone.spring, hourMinute(22, 0) - 86400));
        EXPECT_EQ(desk.secondsToStop(), zone.skipped + hourMinute(2, 0)) << zone.name;
        EXPECT_EQ(desk.clockAt(desk.stop()), zone.skipped + zone.change) << zone.name;
    }
}

TEST(VmReserverClockChange, stopsAtTheFirstOfARepeatedTime_whenStartedBefore) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, hourMinute(0, 30), zone.repeated);
        desk.goTo(on(zone.autumn, hourMinute(0, 30)));
        EXPECT_EQ(desk.secondsToStop(), zone.repeated - hourMinute(0, 30)) << zone.name;
        EXPECT_EQ(desk.clockAt(desk.stop()), zone.repeated) << zone.name;
    }
}

TEST(VmReserverClockChange, stopsAtTheSecondOfARepeatedTime_whenStartedBetweenTheTwo) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, zone.repeated - 600, zone.repeated);
        desk.goTo(on(zone.autumn, zone.repeated));
        const Date first = desk.now();
        desk.goTo(first.addingSeconds(zone.change - 600)); // the clock shows the start a second time
        EXPECT_EQ(desk.clockAt(desk.now()), zone.repeated - 600) << zone.name;
        EXPECT_EQ(desk.secondsToStop(), 600) << zone.name;
        EXPECT_EQ(desk.stop().secondsSince(first), zone.change) << zone.name;
    }
}

TEST(VmReserverClockChange, stopsTomorrow_whenTheRepeatedTimeHasPassedOnce) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, zone.repeated + 300, zone.repeated);
        desk.goTo(on(zone.autumn, zone.repeated + 300));
        EXPECT_EQ(desk.secondsToStop(), 86400 - 300 + zone.change) << zone.name;
        EXPECT_EQ(desk.clockAt(desk.stop()), zone.repeated) << zone.name;
    }
}

TEST(VmReserverClockChange, runsADayByTheClock_whenStartAndStopAreOne) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, hourMinute(12, 0), hourMinute(12, 0));
        desk.goTo(on(zone.spring, hourMinute(12, 0) - 86400));
        EXPECT_EQ(desk.secondsToStop(), 86400 - zone.change) << zone.name;
        desk.goTo(on(zone.autumn, hourMinute(12, 0) - 86400));
        EXPECT_EQ(desk.secondsToStop(), 86400 + zone.change) << zone.name;
        desk.goTo(on(zone.autumn, hourMinute(12, 0)));
        EXPECT_EQ(desk.secondsToStop(), 86400) << zone.name;
    }
}

TEST(VmReserverClockChange, runsADayByTheClock_fromATimeThatIsSkippedTheNextDay) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, zone.skipped, zone.skipped);
        desk.goTo(on(zone.spring, zone.skipped - 86400));
        EXPECT_EQ(desk.secondsToStop(), 86400) << zone.name;
    }
}

TEST(VmReserverClockChange, stopsAtMidnight_atTheEndOfADayOfEitherChange) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, hourMinute(1, 0), 86400);
        desk.goTo(on(zone.spring, hourMinute(1, 0)));
        EXPECT_EQ(desk.secondsToStop(), hourMinute(23, 0) - zone.change) << zone.name;
        EXPECT_EQ(desk.clockAt(desk.stop()), 0) << zone.name;
        desk.goTo(on(zone.autumn, hourMinute(1, 0)));
        EXPECT_EQ(desk.secondsToStop(), hourMinute(23, 0) + zone.change) << zone.name;
        EXPECT_EQ(desk.clockAt(desk.stop()), 0) << zone.name;
    }
}

TEST(VmReserverClockChange, stopsInAWholeSecond_whereverTheSecondIsAsked) {
    ChangeDesk desk(zones[0], hourMinute(10, 0), hourMinute(11, 0));
    desk.goTo(CalendarDate{.year = 2026, .month = 6, .day = 1, .hour = 10, .microsecond = 750'000});
    EXPECT_EQ(desk.secondsToStop(), 3599.25);
}

TEST(VmReserverClockChange, stopsAtTheTimeOnTheClock_onOrdinaryDays) {
    ChangeDesk desk(zones[0], hourMinute(22, 0), hourMinute(2, 0));
    desk.goTo({.year = 2026, .month = 12, .day = 31, .hour = 22});
    EXPECT_EQ(desk.secondsToStop(), 4 * 3600);
    desk.goTo({.year = 2027, .month = 1, .day = 1, .hour = 1, .minute = 59, .second = 59});
    EXPECT_EQ(desk.secondsToStop(), 1);
    desk.goTo({.year = 2027, .month = 1, .day = 1, .hour = 2});
    EXPECT_EQ(desk.secondsToStop(), 86400);
}

TEST(VmReserverClockChange, startedTodayOrYesterday) {
    ChangeDesk desk(zones[0], hourMinute(22, 0), hourMinute(2, 0));
    desk.goTo({.year = 2026, .month = 6, .day = 1, .hour = 22});
    EXPECT_EQ(desk.start(), desk.now());
    desk.goTo({.year = 2026, .month = 6, .day = 2, .hour = 1});
    EXPECT_EQ(desk.now().secondsSince(desk.start()), 3 * 3600);
    desk.goTo({.year = 2026, .month = 6, .day = 2, .hour = 21, .minute = 59, .second = 59});
    EXPECT_EQ(desk.now().secondsSince(desk.start()), 86399);
}

TEST(VmReserverClockChange, startedAtMidnight_forAStartAtTheEndOfTheDay) {
    ChangeDesk desk(zones[0], 86400, 86400);
    desk.goTo({.year = 2026, .month = 6, .day = 2, .hour = 1});
    EXPECT_EQ(desk.now().secondsSince(desk.start()), 3600);
}

TEST(VmReserverClockChange, startedAtTheTimeOnTheClock_acrossBothChanges) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, hourMinute(22, 0), hourMinute(6, 0));
        desk.goTo(on(zone.spring, hourMinute(5, 0)));
        EXPECT_EQ(desk.now().secondsSince(desk.start()), hourMinute(7, 0) - zone.change) << zone.name;
        desk.goTo(on(zone.autumn, hourMinute(5, 0)));
        EXPECT_EQ(desk.now().secondsSince(desk.start()), hourMinute(7, 0) + zone.change) << zone.name;
    }
}

TEST(VmReserverClockChange, startedAtTheLatestShowingOfARepeatedTime) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, zone.repeated, hourMinute(6, 0));
        desk.goTo(on(zone.autumn, zone.repeated));
        const Date first = desk.now();
        EXPECT_EQ(desk.start(), first) << zone.name;
        desk.goTo(first.addingSeconds(zone.change - 1));
        EXPECT_EQ(desk.start(), first) << zone.name;
        desk.goTo(first.addingSeconds(zone.change));
        EXPECT_EQ(desk.start(), first.addingSeconds(zone.change)) << zone.name;
        desk.goTo(on(zone.autumn, hourMinute(5, 0)));
        EXPECT_EQ(desk.start(), first.addingSeconds(zone.change)) << zone.name;
    }
}

TEST(VmReserverClockChange, startedAtTheChange_whenTheStartWasSkipped) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, zone.skipped, hourMinute(6, 0));
        desk.goTo(on(zone.spring, hourMinute(1, 0)));
        const Date change = desk.now().addingSeconds(3600); // at what would be 02:00
        EXPECT_EQ(desk.now().secondsSince(desk.start()), 86400 + hourMinute(1, 0) - zone.skipped) << zone.name;
        desk.goTo(change);
        EXPECT_NE(desk.reserver().withinElement(), nullptr) << zone.name;
        EXPECT_EQ(desk.start(), change) << zone.name;
        desk.goTo(change.addingSeconds(7200));
        EXPECT_EQ(desk.start(), change) << zone.name;
    }
}

TEST(VmReserverClockChange, countsDownInRealSeconds) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, hourMinute(5, 0), hourMinute(6, 0));
        desk.goTo(on(zone.spring, hourMinute(23, 0) - 86400));
        EXPECT_EQ(desk.reserver().nextStartTime(), 6 * 3600 - zone.change) << zone.name;
        desk.goTo(on(zone.spring, hourMinute(0, 30)));
        EXPECT_EQ(desk.reserver().nextStartTime(), hourMinute(4, 30) - zone.change) << zone.name;
        desk.goTo(on(zone.spring, hourMinute(4, 0)));
        EXPECT_EQ(desk.reserver().nextStartTime(), 3600) << zone.name;
        desk.goTo(on(zone.autumn, hourMinute(23, 0) - 86400));
        EXPECT_EQ(desk.reserver().nextStartTime(), 6 * 3600 + zone.change) << zone.name;
        desk.goTo(on(zone.autumn, hourMinute(4, 0)));
        EXPECT_EQ(desk.reserver().nextStartTime(), 3600) << zone.name;
    }
}

TEST(VmReserverClockChange, countsDownToTheChange_whenTheStartWillBeSkipped) {
    for (const Zone& zone : zones) {
        ChangeDesk desk(zone, zone.skipped, hourMinute(6, 0));
        desk.goTo(on(zone.spring, hourMinute(1, 0)));
        EXPECT_EQ(desk.reserver().nextStartTime(), 3600) << zone.name;
    }
}

TEST(VmReserverClockChange, countsTheWholeSecondsThatAreLeft_insideASecond) {
    ChangeDesk desk(zones[0], hourMinute(5, 0), hourMinute(6, 0));
    desk.goTo(CalendarDate{.year = 2026, .month = 3, .day = 29, .microsecond = 400'000});
    EXPECT_EQ(desk.reserver().nextStartTime(), 4 * 3600);
}

TEST(VmReserverClockChange, announcesNothingBeyondADay_onADayOf25Hours) {
    ChangeDesk desk(zones[0], hourMinute(22, 30), hourMinute(23, 0));
    desk.goTo(CalendarDate{.year = 2026, .month = 10, .day = 24, .hour = 23});
    EXPECT_EQ(desk.reserver().nextStartTime(), 86400); // 24 hours and a half away
    desk.goTo(CalendarDate{.year = 2026, .month = 10, .day = 24, .hour = 23, .minute = 30, .second = 1});
    EXPECT_EQ(desk.reserver().nextStartTime(), 86399);
}

TEST(VmReserverClockChange, countsBackInRealSeconds_toAnEntryFixedToYesterday) {
    ScheduleDesk desk({{.start = hourMinute(23, 0), .day = 28}}, berlin);
    desk.goTo({.year = 2026, .month = 3, .day = 29, .hour = 10});
    EXPECT_EQ(desk.reserver().nextStartTime(), -10 * 3600);
}

TEST(VmReserverClockChange, announcesNothingAWholeDayByTheClockAhead_onADayOf23Hours) {
    ScheduleDesk desk({{.start = hourMinute(10, 0), .day = 29}}, berlin);
    desk.goTo({.year = 2026, .month = 3, .day = 28, .hour = 10});
    EXPECT_EQ(desk.reserver().nextStartTime(), 86400);
    EXPECT_EQ(desk.reserver().nextElement(), nullptr);
}
