// Inserting, copying, deleting and editing entries, and the settings of these.
#include "schedule/ScheduleDesk.h"

namespace {
using Settings = std::vector<RehearsalDesk::Setting>;

std::string names(ScheduleDesk& desk) {
    std::string all;
    for (const VmReserverElement& element : desk.list().timers())
        all += element.name() + " ";
    return all;
}
const std::vector<StoredTimer> three = {{.name = "a", .device = 7}, {.name = "b", .device = 8}, {.name = "c"}};
} // namespace

TEST(VmReserverEditing, insertsAtTheNextFiveMinuteMark) {
    const std::vector<std::pair<CalendarDate, int>> cases = {
        {{.year = 2007, .month = 10, .day = 24, .hour = 10, .minute = 7}, hourMinute(10, 10)},
        {{.year = 2007, .month = 10, .day = 24, .hour = 10, .minute = 10}, hourMinute(10, 15)},
        {{.year = 2007, .month = 10, .day = 24, .hour = 10, .minute = 59, .second = 59}, hourMinute(11, 0)},
        {{.year = 2007, .month = 10, .day = 24, .hour = 23, .minute = 54, .second = 59}, hourMinute(23, 55)},
        {{.year = 2007, .month = 10, .day = 24, .hour = 23, .minute = 55}, 86400},
        {{.year = 2007, .month = 10, .day = 24, .hour = 23, .minute = 57}, 86400}};
    for (const auto& [now, mark] : cases) {
        ScheduleDesk desk(std::vector<StoredTimer>{});
        desk.goTo(now);
        desk.reserver().actInsertTimer();
        ASSERT_EQ(desk.reserver().count(), 1);
        EXPECT_EQ(desk.reserver().elementAtIndex(0)->start(), mark);
        EXPECT_EQ(desk.reserver().elementAtIndex(0)->stop(), mark);
        EXPECT_EQ(desk.changes, 1);
    }
}

TEST(VmReserverEditing, showsTheEndOfTheDayAsTwentyFour) {
    ScheduleDesk desk(std::vector<StoredTimer>{});
    desk.goToTime(23, 57);
    desk.reserver().actInsertTimer();
    EXPECT_EQ(desk.list().objectValue("StartTime", 0), "24:00");
}

TEST(VmReserverEditing, insertsWithTheRegisteredDefaults) {
    ScheduleDesk desk(std::vector<StoredTimer>{});
    desk.goToTime(10, 7);
    desk.reserver().actInsertTimer();
    const QJsonArray expected{
        QString::fromStdString(desk.desk().texts("NoNamedTimer")), 1, 36600, 36600, 0, 1, 1, 0, 0, 0, 0};
    EXPECT_EQ(desk.reserver().elementAtIndex(0)->valueArray(), expected);
}

TEST(VmReserverEditing, insertsWithTheStoredDefaults) {
    ScheduleDesk desk(Settings{{"TimerList", QJsonArray()},
                               {"DefaultReserveValid", false},
                               {"DefaultReserveName", "News"},
                               {"DefaultReserveMonth", 2},
                               {"DefaultReserveDay", 29},
                               {"DefaultReserveWeek", 3},
                               {"DefaultReserveRate", 2},
                               {"DefaultReserveChannel", 2},
                               {"DefaultReserveDevice", 1},
                               {"DefaultReserveMode", 1}});
    desk.goToTime(10, 7);
    desk.reserver().actInsertTimer();
    const QJsonArray expected{"News", 0, 36600, 36600, 1, 2, 2, 1, 2, 29, 3};
    EXPECT_EQ(desk.reserver().elementAtIndex(0)->valueArray(), expected);
}

TEST(VmReserverEditing, insertsBeforeTheSelectedRow) {
    ScheduleDesk desk(three);
    desk.reserver().setDefReserveName("new");
    desk.reserver().setSelectedRow(1);
    desk.reserver().actInsertTimer();
    EXPECT_EQ(names(desk), "a new b c ");
    EXPECT_EQ(desk.list().renewFlags(), (std::vector{false, true, false, false}));
    EXPECT_EQ(desk.list().lastTimers()[2].device(), 8);
    EXPECT_EQ(desk.list().numberOfRows(), 4);
    EXPECT_EQ(desk.reserver().selectedRow(), 1);
}

TEST(VmReserverEditing, insertsAtTheEnd_whenNoRowIsSelected) {
    ScheduleDesk desk(three);
    desk.reserver().setDefReserveName("new");
    desk.reserver().actInsertTimer();
    EXPECT_EQ(names(desk), "a b c new ");
    EXPECT_EQ(desk.reserver().selectedRow(), 3);
}

TEST(VmReserverEditing, recordsAllDay_untilANewEntryIsEdited) {
    ScheduleDesk desk(std::vector<StoredTimer>{});
    desk.reserver().actInsertTimer();
    desk.goToTime(3, 0);
    EXPECT_NE(desk.reserver().withinElement(), nullptr);
}

TEST(VmReserverEditing, copiesTheSelectedEntryBeforeIt) {
    ScheduleDesk desk(three);
    desk.reserver().setSelectedRow(1);
    desk.reserver().actCopyTimer();
    EXPECT_EQ(names(desk), "a b b c ");
    EXPECT_TRUE(desk.list().timers()[1].isEqualElement(desk.list().timers()[2]));
    EXPECT_EQ(desk.list().renewFlags(), (std::vector{false, true, false, false}));
    EXPECT_EQ(desk.changes, 1);
    const QJsonArray stored = desk.desk().defaults.valueForKey("TimerList").toArray();
    EXPECT_EQ(stored.at(1).toArray().at(7).toInt(), 0);
    EXPECT_EQ(stored.at(2).toArray().at(7).toInt(), 8);
}

TEST(VmReserverEditing, doesNothingToNoSelection) {
    ScheduleDesk desk(three);
    desk.reserver().actCopyTimer();
    desk.reserver().actDeleteTimer();
    desk.reserver().resetTimerElementValue({});
    EXPECT_EQ(names(desk), "a b c ");
    EXPECT_EQ(desk.changes, 0);
    EXPECT_TRUE(desk.desk().alert.shown().empty());
}

TEST(VmReserverEditing, asksBeforeItDeletes) {
    ScheduleDesk desk(three);
    desk.reserver().setSelectedRow(1);
    desk.reserver().actDeleteTimer();
    const auto shown = desk.desk().alert.shown();
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_EQ(shown[0].request.messageKey, "RemoveTimerCaution");
    EXPECT_EQ(shown[0].request.informativeKey, "RemoveTimerInfo");
    EXPECT_EQ(shown[0].request.defaultKey, "ExecRemove");
    EXPECT_EQ(shown[0].request.alternateKey, "Cancel");
    EXPECT_EQ(names(desk), "a c ");
    EXPECT_EQ(desk.list().numberOfRows(), 2);
    EXPECT_EQ(desk.list().lastTimers().size(), 2U);
    EXPECT_EQ(desk.list().renewFlags().size(), 2U);
    EXPECT_EQ(desk.reserver().selectedRow(), 1);
    EXPECT_EQ(desk.changes, 1);
}

TEST(VmReserverEditing, deletesNothing_whenThePersonCancels) {
    ScheduleDesk desk(three);
    desk.desk().alert.answerNext("RemoveTimerCaution", AlertAnswer::alternateButton);
    desk.reserver().setSelectedRow(1);
    desk.reserver().actDeleteTimer();
    EXPECT_EQ(names(desk), "a b c ");
    EXPECT_EQ(desk.changes, 0);
}

TEST(VmReserverEditing, deletesUnasked_whenSoSet) {
    ScheduleDesk desk(three);
    desk.reserver().setVerifyDeleteReserve(false);
    desk.reserver().setSelectedRow(2);
    desk.reserver().actDeleteTimer();
    EXPECT_TRUE(desk.desk().alert.shown().empty());
    EXPECT_EQ(names(desk), "a b ");
    EXPECT_EQ(desk.reserver().selectedRow(), 1);
    desk.reserver().actDeleteTimer();
    desk.reserver().actDeleteTimer();
    EXPECT_EQ(desk.reserver().count(), 0);
    EXPECT_EQ(desk.reserver().selectedRow(), -1);
}

TEST(VmReserverEditing, writesTheDrawersValuesIntoTheSelectedEntry) {
    ScheduleDesk desk(three);
    desk.reserver().setSelectedRow(1);
    desk.reserver().resetTimerElementValue({.name = "Edited",
                                            .enabled = true,
                                            .startHour = 23,
                                            .startMinute = 11,
                                            .stopHour = 1,
                                            .stopMinute = 2,
                                            .sample = 2,
                                            .channels = 1,
                                            .device = 1,
                                            .mode = 1,
                                            .month = 12,
                                            .day = 31,
                                            .week = 7});
    const QJsonArray expected{"Edited", 1, 86100, 4200, 1, 2, 2, 1, 12, 31, 7};
    EXPECT_EQ(desk.list().timers()[1].valueArray(), expected);
    EXPECT_EQ(desk.list().objectValue("StartTime", 1), "23:55");
    EXPECT_EQ(desk.list().renewFlags(), (std::vector{false, true, false}));
    EXPECT_EQ(desk.changes, 1);
    const QJsonArray stored = desk.desk().defaults.valueForKey("TimerList").toArray();
    EXPECT_EQ(stored.at(1).toArray(), expected);
    EXPECT_EQ(stored.at(0).toArray().at(7).toInt(), 7);
}

TEST(VmReserverEditing, ignoresASelectionThatThereIsNot) {
    ScheduleDesk desk(three);
    desk.reserver().setSelectedRow(3);
    EXPECT_EQ(desk.reserver().selectedRow(), -1);
    desk.reserver().setSelectedRow(-5);
    EXPECT_EQ(desk.reserver().selectedRow(), -1);
}

TEST(VmReserverEditing, survivesACrashAfterAnEdit) {
    ScheduleDesk desk(three);
    desk.reserver().setSelectedRow(0);
    desk.reserver().actCopyTimer();
    desk.relaunch({countingInput(), deskOutput()}); // with no quit before
    EXPECT_EQ(names(desk), "a a b c ");
}

TEST(VmReserverEditing, hasTheRegisteredSettings_onAFirstLaunch) {
    ScheduleDesk desk(Settings{});
    const VmReserver& reserver = desk.reserver();
    EXPECT_FALSE(reserver.reserveAutoStartup());
    EXPECT_TRUE(reserver.verifyDeleteReserve());
    EXPECT_FALSE(reserver.timerDrawerState());
    EXPECT_TRUE(reserver.defReserveValid());
    EXPECT_EQ(reserver.defReserveName(), desk.desk().texts("NoNamedTimer"));
    EXPECT_EQ(reserver.defReserveMonth(), 0);
    EXPECT_EQ(reserver.defReserveDay(), 0);
    EXPECT_EQ(reserver.defReserveWeek(), 0);
    EXPECT_EQ(reserver.defReserveRate(), 1);
    EXPECT_EQ(reserver.defReserveChannels(), 1);
    EXPECT_EQ(reserver.defReserveDevice(), 0);
    EXPECT_EQ(reserver.defReserveMode(), 0);
}

TEST(VmReserverEditing, findsItsSettingsAgain_afterAQuit) {
    ScheduleDesk desk(Settings{});
    desk.reserver().setReserveAutoStartup(true);
    desk.reserver().setVerifyDeleteReserve(false);
    desk.reserver().setTimerDrawerState(true);
    desk.reserver().setDefReserveValid(false);
    desk.reserver().setDefReserveName("News");
    desk.reserver().setDefReserveMonth(1);
    desk.reserver().setDefReserveDay(2);
    desk.reserver().setDefReserveWeek(3);
    desk.reserver().setDefReserveRate(0);
    desk.reserver().setDefReserveChannels(2);
    desk.reserver().setDefReserveDevice(1);
    desk.reserver().setDefReserveMode(1);
    desk.desk().terminate();
    desk.relaunch({countingInput(), deskOutput()});
    const VmReserver& reserver = desk.reserver();
    EXPECT_TRUE(reserver.reserveAutoStartup());
    EXPECT_FALSE(reserver.verifyDeleteReserve());
    EXPECT_TRUE(reserver.timerDrawerState());
    EXPECT_FALSE(reserver.defReserveValid());
    EXPECT_EQ(reserver.defReserveName(), "News");
    EXPECT_EQ(reserver.defReserveMonth(), 1);
    EXPECT_EQ(reserver.defReserveDay(), 2);
    EXPECT_EQ(reserver.defReserveWeek(), 3);
    EXPECT_EQ(reserver.defReserveRate(), 0);
    EXPECT_EQ(reserver.defReserveChannels(), 2);
    EXPECT_EQ(reserver.defReserveDevice(), 1);
    EXPECT_EQ(reserver.defReserveMode(), 1);
}
