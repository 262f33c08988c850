// The table and the drawer of the timer tab.
#include "schedule/ScheduleDesk.h"

namespace {
constexpr int tenPast = hourMinute(8, 10);

std::vector<StoredTimer> two() {
    return {{.name = "News", .start = tenPast, .stop = hourMinute(9, 55), .week = 2},
            {.name = "Night",
             .enabled = 0,
             .start = hourMinute(22, 0),
             .stop = hourMinute(2, 0),
             .mode = 1,
             .sample = 2,
             .channels = 2,
             .device = 1,
             .month = 3,
             .day = 4}};
}
} // namespace

TEST(VmReserverDrawer, disablesItsControls_whileNothingIsSelected) {
    ScheduleDesk desk(two());
    VmReserver& reserver = desk.reserver();
    EXPECT_FALSE(reserver.nameField.enabled());
    EXPECT_FALSE(reserver.startHourPopup.enabled());
    EXPECT_FALSE(reserver.copyButton.enabled());
    EXPECT_FALSE(reserver.deleteButton.enabled());
    EXPECT_TRUE(reserver.insertButton.enabled());
    reserver.timerTable.chooseRow(0);
    EXPECT_TRUE(reserver.nameField.enabled());
    EXPECT_TRUE(reserver.deleteButton.enabled());
    reserver.timerTable.chooseRow(-1);
    EXPECT_FALSE(reserver.modePopup.enabled());
    EXPECT_EQ(reserver.nameField.text(), "");
}

TEST(VmReserverDrawer, showsTheSelectedEntry) {
    ScheduleDesk desk(two());
    VmReserver& reserver = desk.reserver();
    reserver.timerTable.chooseRow(0);
    EXPECT_EQ(reserver.nameField.text(), "News");
    EXPECT_TRUE(reserver.enabledCheck.isOn());
    EXPECT_EQ(reserver.startHourPopup.selected(), 8);
    EXPECT_EQ(reserver.startMinutePopup.selected(), 2);
    EXPECT_EQ(reserver.stopHourPopup.selected(), 9);
    EXPECT_EQ(reserver.stopMinutePopup.selected(), 11);
    EXPECT_EQ(reserver.weekPopup.selected(), 2);
    reserver.timerTable.chooseRow(1);
    EXPECT_FALSE(reserver.enabledCheck.isOn());
    EXPECT_EQ(reserver.modePopup.selected(), 1);
    EXPECT_EQ(reserver.ratePopup.selected(), 2);
    EXPECT_EQ(reserver.ratePopup.items().size(), 3U);
    EXPECT_EQ(reserver.channelsPopup.selected(), 1);
    EXPECT_EQ(reserver.devicePopup.selected(), 1);
    EXPECT_EQ(reserver.monthPopup.selected(), 3);
    EXPECT_EQ(reserver.dayPopup.selected(), 4);
}

TEST(VmReserverDrawer, writesEveryEditIntoTheEntry) {
    ScheduleDesk desk(two());
    VmReserver& reserver = desk.reserver();
    reserver.timerTable.chooseRow(0);
    reserver.nameField.enter("Midday");
    reserver.enabledCheck.press(false);
    reserver.startHourPopup.choose(12);
    reserver.startMinutePopup.choose(6);
    reserver.stopHourPopup.choose(13);
    reserver.stopMinutePopup.choose(0);
    reserver.monthPopup.choose(12);
    reserver.dayPopup.choose(31);
    reserver.weekPopup.choose(0);
    reserver.ratePopup.choose(0);
    reserver.channelsPopup.choose(1);
    reserver.devicePopup.choose(1);
    reserver.modePopup.choose(1);
    const VmReserverElement& entry = desk.list().timers().at(0);
    EXPECT_EQ(entry.valueArray(),
              (QJsonArray{"Midday", 0, hourMinute(12, 30), hourMinute(13, 0), 1, 0, 2, 1, 12, 31, 0}));
    EXPECT_TRUE(desk.list().renewFlags().at(0));
    EXPECT_EQ(reserver.selectedRow(), 0);
}

TEST(VmReserverDrawer, keepsTimesBetweenTwoSteps_untilTheyAreEdited) {
    ScheduleDesk desk({{.start = hourMinute(8, 3), .stop = hourMinute(9, 0, 30)}});
    VmReserver& reserver = desk.reserver();
    reserver.timerTable.chooseRow(0);
    reserver.nameField.enter("Exact");
    EXPECT_EQ(desk.list().timers().at(0).start(), hourMinute(8, 3));
    EXPECT_EQ(desk.list().timers().at(0).stop(), hourMinute(9, 0, 30));
    reserver.stopMinutePopup.choose(1);
    EXPECT_EQ(desk.list().timers().at(0).start(), hourMinute(8, 0));
    EXPECT_EQ(desk.list().timers().at(0).stop(), hourMinute(9, 5));
}

TEST(VmReserverDrawer, hasNoMinutesAfterTheEndOfTheDay) {
    ScheduleDesk desk(two());
    VmReserver& reserver = desk.reserver();
    reserver.timerTable.chooseRow(0);
    reserver.stopHourPopup.choose(24);
    EXPECT_EQ(desk.list().timers().at(0).stop(), 86400);
    EXPECT_EQ(reserver.stopMinutePopup.selected(), 0);
    EXPECT_EQ(desk.list().cell(0, "StopTime"), "24:00");
}

TEST(VmReserverDrawer, selectsWhatIsInsertedCopiedOrMovesUp) {
    ScheduleDesk desk(two());
    VmReserver& reserver = desk.reserver();
    reserver.timerTable.chooseRow(1);
    reserver.copyButton.press(true);
    EXPECT_EQ(reserver.timerTable.numberOfRows(), 3);
    EXPECT_EQ(reserver.timerTable.selectedRow(), 1);
    reserver.insertButton.press(true);
    EXPECT_EQ(reserver.timerTable.numberOfRows(), 4);
    EXPECT_EQ(reserver.timerTable.selectedRow(), 1);
    reserver.deleteButton.press(true);
    EXPECT_EQ(reserver.timerTable.numberOfRows(), 3);
    EXPECT_EQ(reserver.nameField.text(), "Night");
}

TEST(VmReserverDrawer, staysAsItWasLeft) {
    ScheduleDesk desk({RehearsalDesk::Setting{"TimerDrawerState", 1}});
    EXPECT_TRUE(desk.reserver().drawer.isOpen());
    EXPECT_TRUE(desk.reserver().drawerButton.isOn());
    desk.reserver().drawerButton.press(false);
    EXPECT_FALSE(desk.reserver().drawer.isOpen());
    EXPECT_EQ(desk.desk().defaults.integerForKey("TimerDrawerState"), 0);
}

TEST(VmReserverDrawer, sortsByAColumn_andBack) {
    ScheduleDesk desk({{.name = "b"}, {.name = "a"}});
    desk.reserver().timerTable.pressHead("ReserveName");
    EXPECT_EQ(desk.list().timers().at(0).name(), "a");
    desk.reserver().timerTable.pressHead("ReserveName");
    EXPECT_EQ(desk.list().timers().at(0).name(), "b");
    desk.reserver().timerTable.pressHead("NextSpan"); // no column to sort by
    EXPECT_EQ(desk.list().timers().at(0).name(), "b");
}
