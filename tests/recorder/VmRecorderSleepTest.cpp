// The machine sleeps and wakes; sound that fits no recording; the gate of the administrator.
#include "support/Counting.h"
#include "support/DeskOfATest.h"

namespace {
using Names = std::vector<std::string>;
}

TEST(VmRecorderSleep, finishesTheFileBeforeTheSleep_andGoesOnWhenTheMachineWakes) {
    Desk it;
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(10.0);
    it.recorder().willSleepHandle();
    EXPECT_EQ(it.recordings(), (Names{"_Velmoratide_20071024_093000~093010.aif"}));
    EXPECT_EQ(it.recorder().actionMethod(), 5);
    it.desk.runFor(60.0); // what is heard meanwhile belongs to nobody
    EXPECT_EQ(it.recordings().size(), 1U);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::standingBy);
    it.recorder().didWakeHandle();
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    it.desk.runFor(10.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    ASSERT_EQ(it.recordings(),
              (Names{"_Velmoratide_20071024_093000~093010.aif", "_Velmoratide_20071024_093110~093120.aif"}));
    const auto samples = it.samples(it.recordings()[1]);
    const auto first = static_cast<double>(counting::frameOf(samples[0], samples[1])) / 44100.0;
    EXPECT_NEAR(first, 70.1, 0.02); // the stop waited 0.1 s for the write thread
    const auto sleep = std::find(it.events.begin(), it.events.end(), "SleepIn: VmRecorder: Sleep in.");
    ASSERT_NE(sleep, it.events.end());
    EXPECT_EQ(Names(sleep, sleep + 5), (Names{"SleepIn: VmRecorder: Sleep in.", "RecordingSleep", "",
                                              "WakeUp: VmRecorder: Wake up.", "RecordingStart"}));
}

TEST(VmRecorderSleep, saysSoAndDoesNothing_whenNoFileIsOpen) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(1.0);
    it.recorder().willSleepHandle();
    it.recorder().didWakeHandle();
    it.desk.runFor(1.0);
    EXPECT_TRUE(it.happened("SleepIn: VmRecorder: Sleep in."));
    EXPECT_TRUE(it.happened("WakeUp: VmRecorder: Wake up."));
    EXPECT_TRUE(it.recordings().empty());
    EXPECT_EQ(it.recorder().condition(), RecordCondition::stopped);
}

TEST(VmRecorderSleep, staysStopped_whenSwitchedOffDuringTheSleep) {
    Desk it;
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(10.0);
    it.recorder().willSleepHandle();
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::stopped);
    it.recorder().didWakeHandle();
    it.desk.runFor(1.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::stopped);
    EXPECT_EQ(it.recordings().size(), 1U);
}

TEST(VmRecorderGate, keepsRecording_untilTheAdministratorAgrees) {
    Desk it({{"AuthorizationRequired", true}});
    it.desk.launch();
    it.recorder().recordButton().press(true); // needs nobody
    it.desk.runFor(5.0);
    EXPECT_EQ(it.desk.administratorRight.asked(), 0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(5.0);
    EXPECT_EQ(it.desk.administratorRight.asked(), 1);
    EXPECT_TRUE(it.recorder().recordButton().isOn());
    EXPECT_TRUE(it.desk.defaults.boolForKey("RecordSwitch"));
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    it.recorder().monitorButton().press(true);
    EXPECT_FALSE(it.recorder().monitorButton().isOn());
    it.desk.administratorRight.setGranted(true);
    it.recorder().monitorButton().press(true);
    EXPECT_TRUE(it.recorder().monitorButton().isOn());
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::stopped);
}

TEST(VmRecorderGate, isNotAsked_whenTheRecorderStopsItself) {
    Desk it({{"AuthorizationRequired", true}});
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(7.0);
    it.desk.volume.setWriteError(true);
    it.desk.runFor(10.0);
    EXPECT_EQ(it.desk.administratorRight.asked(), 0);
    EXPECT_FALSE(it.recorder().recordButton().isOn());
    EXPECT_EQ(it.recorder().actionMethod(), 4);
}

TEST(VmControlerQuit, isRefused_whileTheAdministratorDoesNotAgree) {
    Desk it({{"AuthorizationRequired", true}});
    it.desk.launch();
    it.desk.runFor(1.0);
    EXPECT_EQ(it.desk.controler->applicationShouldTerminate(), VmControler::TerminateReply::cancel);
    EXPECT_TRUE(it.desk.alert.shown().empty());
    it.desk.administratorRight.setGranted(true);
    EXPECT_EQ(it.desk.controler->applicationShouldTerminate(), VmControler::TerminateReply::now);
}
