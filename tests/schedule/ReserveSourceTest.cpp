// Entries whose input goes away and comes back while the timetable runs.
#include "audio/VmDevice.h"
#include "base/UserDefaults.h"
#include "recorder/VmRecorder.h"
#include "schedule/ScheduleDesk.h"

namespace {
SimulatedDevice interface() {
    SimulatedDevice device = countingInput();
    device.name = "Interface";
    device.uid = "interface";
    device.dataSources = {};
    return device;
}

/// The stored source of the entry.
int storedSource(ScheduleDesk& desk, int row = 0) {
    return desk.desk().defaults.valueForKey("TimerList").toArray().at(row).toArray().at(7).toInt();
}

/// Sources: 0 and 1 of the desk, 2 the interface.
class ReserveSource : public testing::Test {
protected:
    ReserveSource() { desk.relaunch({countingInput(), interface(), deskOutput()}); }
    void unplug(const char* uid = "interface") {
        desk.desk().hardware.unplug(uid);
        desk.desk().runFor(1.0);
    }
    void replug(const char* uid = "interface") {
        desk.desk().hardware.replug(uid);
        desk.desk().runFor(1.0);
    }
    int source() { return desk.list().timers()[0].device(); }

    ScheduleDesk desk{
        {{.name = "interface", .start = hourMinute(10, 0), .stop = hourMinute(11, 0), .device = 2}}};
};
} // namespace

TEST_F(ReserveSource, isReplacedAtOnce_andTakenAgainWhenItIsBack) {
    EXPECT_EQ(source(), 2);
    unplug();
    EXPECT_EQ(source(), 0);
    EXPECT_EQ(desk.list().objectValue("SourceDevice", 0), "Internal microphone");
    desk.reserver().mainTabSelected();
    replug();
    EXPECT_EQ(source(), 2);
    EXPECT_EQ(desk.list().objectValue("SourceDevice", 0), "Interface");
}

TEST_F(ReserveSource, isNotForgotten_whenAnotherEntryIsEditedMeanwhile) {
    unplug();
    desk.reserver().actInsertTimer(); // stores the list
    EXPECT_EQ(storedSource(desk), 2);
    replug();
    EXPECT_EQ(source(), 2);
}

TEST_F(ReserveSource, isThatOfTheEdit_whenItGoesAwayAfterwards) {
    VmReserverElement edited = desk.list().timers()[0];
    edited.setName("edited");
    desk.list().replace(0, edited);
    unplug();
    EXPECT_EQ(source(), 0);
    desk.list().saveUserDefaults();
    EXPECT_EQ(storedSource(desk), 2);
    replug();
    EXPECT_EQ(source(), 2);
}

TEST_F(ReserveSource, isTheSubstitute_onceTheEntryIsEditedWithIt) {
    unplug();
    desk.reserver().setSelectedRow(0);
    desk.reserver().nameField.enter("edited");
    EXPECT_EQ(storedSource(desk), 0);
    replug();
    EXPECT_EQ(source(), 0);
}

TEST_F(ReserveSource, staysWhatItWas_whenTheEntryIsEditedWithoutAnyInput) {
    unplug();
    unplug("desk-in");
    EXPECT_EQ(source(), -1);
    desk.reserver().setSelectedRow(0);
    desk.reserver().nameField.enter("edited");
    desk.reserver().actCopyTimer();
    EXPECT_EQ(desk.list().timers()[1].name(), "edited");
    EXPECT_EQ(storedSource(desk, 0), 2);
    EXPECT_EQ(storedSource(desk, 1), 2);
    replug("desk-in");
    replug();
    EXPECT_EQ(desk.list().timers()[1].device(), 2);
}

TEST_F(ReserveSource, isRecordedFrom_whenItCameBackBeforeTheStart) {
    VmRecorder& recorder = desk.desk().controler->recorder();
    const VmDevice& devicer = desk.desk().controler->devicer();
    recorder.reserveButton().press(true);
    desk.desk().runFor(5.0);
    EXPECT_EQ(devicer.recordSource(), 2);
    unplug();
    desk.reserver().mainTabSelected();
    desk.desk().runFor(60.0);
    replug();
    desk.desk().runFor(60.0);
    desk.goToTime(9, 59, 58);
    desk.desk().runFor(10.0);
    EXPECT_EQ(recorder.condition(), RecordCondition::recording);
    EXPECT_EQ(devicer.recordSource(), 2);
    EXPECT_EQ(devicer.presentRecordSourceName(), "Interface");
}
