// The timetable while the clock is set and while the disk is slow.
#include "recorder/ClockedDesk.h"

namespace {
using Names = ClockedDesk::Names;

constexpr int at(int hour, int minute) {
    return hour * 3600 + minute * 60;
}
ClockedDesk::Settings timetable(std::initializer_list<QJsonArray> entries,
                                ClockedDesk::Settings settings = {}) {
    QJsonArray list;
    for (const QJsonArray& entry : entries)
        list.append(entry);
    settings.push_back({"TimerList", list});
    return settings;
}
constexpr CalendarDate anHourLater{.year = 2026, .month = 3, .day = 2, .hour = 10, .minute = 58, .second = 20};
constexpr CalendarDate aDayLater{.year = 2026, .month = 3, .day = 3, .hour = 9, .minute = 58, .second = 20};

/// Three entries that touch, on a disk that takes `perBlock` seconds for each block.
void expectNothingLostBetweenEntries(double perBlock) {
    SCOPED_TRACE(perBlock);
    ClockedDesk it(timetable({dailyEntry("a", at(9, 59), at(10, 0)), dailyEntry("b", at(10, 0), at(10, 1)),
                              dailyEntry("c", at(10, 1), at(10, 2))}));
    it.armAt(5.0);
    it.slowDiskAt(50.0, perBlock);
    it.until(300.0);
    const Names expected{"_Velmoratide_20260302_095900~100000.aif", "_Velmoratide_20260302_100000~100100.aif",
                         "_Velmoratide_20260302_100100~100200.aif"};
    ASSERT_EQ(it.recordings(), expected);
    EXPECT_EQ(it.breaks(expected), 0);
    for (const std::string& name : expected)
        EXPECT_EQ(it.frames(name), 60 * 8000) << name;
    EXPECT_EQ(it.note(expected[1]), "b");
    EXPECT_FALSE(it.happened("SomeErrorHappen"));
}
} // namespace

TEST(TimetableClock, recordsAnEntry_whenTheClockIsSetBackBeforeItWhileWaiting) {
    ClockedDesk it(timetable({dailyEntry("a", at(9, 59), at(10, 1)), dailyEntry("b", at(10, 2), at(10, 3))}),
                   slowInput(), anHourLater);
    it.armAt(5.37); // so that no look at the timetable is at a start
    it.setClockAt(20.0, -3600.0);
    it.until(400.0);
    const Names expected{"_Velmoratide_20260302_095900~100100.aif", "_Velmoratide_20260302_100200~100300.aif"};
    ASSERT_EQ(it.recordings(), expected);
    EXPECT_EQ(it.frames(expected[0]), 120 * 8000);
    EXPECT_EQ(it.frames(expected[1]), 60 * 8000);
    EXPECT_EQ(it.breaks({expected[0]}) + it.breaks({expected[1]}), 0);
}

TEST(TimetableClock, recordsTheEntryOfTheDayBefore_whenTheClockIsSetBackByADay) {
    ClockedDesk it(timetable({dailyEntry("a", at(9, 59), at(10, 1))}), slowInput(), aDayLater);
    it.armAt(5.37); // so that no look at the timetable is at a start
    it.setClockAt(5.5, -86400.0);
    it.until(400.0);
    ASSERT_EQ(it.recordings(), (Names{"_Velmoratide_20260302_095900~100100.aif"}));
    EXPECT_EQ(it.frames(it.recordings()[0]), 120 * 8000);
}

TEST(TimetableClock, recordsTheRestOfAnEntryAgain_whenTheClockIsSetBackIntoIt) {
    ClockedDesk it(timetable({dailyEntry("a", at(9, 59), at(10, 0))}));
    it.armAt(5.0);
    it.setClockAt(110.0, -40.0);
    it.until(300.0);
    ASSERT_EQ(it.recordings(),
              (Names{"_Velmoratide_20260302_095900~100000.aif", "_Velmoratide_20260302_095930~100000.aif"}));
    EXPECT_NEAR(static_cast<double>(it.frames(it.recordings()[1])) / 8000, 30.0, 0.2);
    it.expectNamesToAgree();
}

TEST(TimetableClock, goesOnToTheNewStop_whenTheClockIsSetBackInTheLastTwoSecondsOfAnEntry) {
    ClockedDesk it(timetable({dailyEntry("a", at(9, 59), at(10, 0))}));
    it.armAt(5.0);
    it.setClockAt(98.5, -20.0);
    it.until(400.0);
    const Names names{"_Velmoratide_20260302_095900~095958.aif", "_Velmoratide_20260302_095938~100000.aif"};
    ASSERT_EQ(it.recordings(), names);
    EXPECT_EQ(it.breaks(names), 0);
    EXPECT_EQ(it.lastFrame(names[1]) + 1, 120 * 8000) << "it ends when the clock shows the stop again";
    EXPECT_EQ(it.note(names[1]), "a");
}

TEST(TimetableClock, goesOnWithTheEntry_whenTheClockIsSetBackBeforeItsStartInItsLastTwoSeconds) {
    ClockedDesk it(timetable({dailyEntry("a", at(9, 59), at(10, 0))}));
    it.armAt(5.0);
    it.setClockAt(98.5, -3600.0);
    it.until(400.0);
    it.recorder().reserveButton().press(false);
    it.desk.runFor(1.0);
    // The later part has the earlier name.
    const Names names{"_Velmoratide_20260302_085958~090500.aif", "_Velmoratide_20260302_095900~095958.aif"};
    ASSERT_EQ(it.recordings(), names);
    EXPECT_EQ(it.breaks({names[1], names[0]}), 0);
    it.expectNamesToAgree();
}

TEST(TimetableDisk, losesNothingBetweenEntriesThatTouch_whenTheDiskIsSlow) {
    for (const double perBlock : {0.5, 1.0, 5.0})
        expectNothingLostBetweenEntries(perBlock);
}

TEST(TimetableDisk, losesNothingBetweenEntriesInAutoMode_whenTheDiskIsSlow) {
    ClockedDesk it(
        timetable({dailyEntry("a", at(9, 59), at(10, 0), 1), dailyEntry("b", at(10, 0), at(10, 1), 1)},
                  {{"AutoStartLevel", 0}, {"PreBufferingSeconds", 3}}));
    it.armAt(5.0);
    it.slowDiskAt(50.0, 1.5);
    it.until(200.0);
    const Names expected{"_Velmoratide_20260302_095857~100000.aif", "_Velmoratide_20260302_100000~100100.aif"};
    ASSERT_EQ(it.recordings(), expected);
    EXPECT_EQ(it.breaks(expected), 0);
    EXPECT_EQ(it.lastFrame(expected[1]) + 1, 160 * 8000);
}

TEST(TimetableSwitch, isOffAfterTheLaunch_whenTheRecordSwitchWasOnAsWell) {
    ClockedDesk it(
        timetable({dailyEntry("a", at(12, 0), at(13, 0))}, {{"RecordSwitch", true}, {"ReserveSwitch", true}}));
    it.until(10.0);
    EXPECT_TRUE(it.recorder().recordButton().isOn());
    EXPECT_FALSE(it.recorder().reserveButton().isOn());
    EXPECT_TRUE(it.recorder().recordButton().enabled());
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    EXPECT_EQ(it.desk.controler->applicationShouldTerminate(), VmControler::TerminateReply::cancel);
    it.stopAt(30.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::stopped);
    EXPECT_EQ(it.recordings().size(), 1U);
    EXPECT_EQ(it.desk.controler->applicationShouldTerminate(), VmControler::TerminateReply::now);
}
