// What is told of a sleep, and an input that is lost meanwhile.
#include "recorder/ClockedDesk.h"

namespace {
using Names = ClockedDesk::Names;

/// Asleep from 10 s to `wake`, without the input from `lost` to `back`; stopped 20 s after that.
void expectOneSleep(double lost, double wake, double back) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.sleepAt(10.0);
    it.unplugAt(lost);
    it.wakeAt(wake);
    it.replugAt(back);
    it.until(back + 10.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    EXPECT_EQ(it.recorder().actionMethod(), 5) << "the last stop was the sleep's";
    it.stopAt(back + 20.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_EQ(names[0], "_Velmoratide_20260302_095825~095830.aif");
    EXPECT_EQ(it.breaks({names[0]}) + it.breaks({names[1]}), 0);
    EXPECT_NEAR(static_cast<double>(it.firstFrame(names[1])) / 8000, back, 0.15);
    it.expectNamesToAgree();
    EXPECT_EQ(it.count("RecordingSleep"), 1);
    EXPECT_EQ(it.count("RecordingStop"), 1);
    EXPECT_EQ(it.count("RecordingStart"), 2);
    EXPECT_EQ(it.recorder().actionMethod(), 3);
}
} // namespace

TEST(VmRecorderWake, waitsForAnInputThatWasLostInTheSleep) {
    expectOneSleep(11.0, 30.0, 60.0);
}

TEST(VmRecorderWake, waitsForAnInputThatComesBackSoonAfterTheWake) {
    expectOneSleep(12.0, 15.0, 20.0);
}

TEST(VmRecorderWake, isToldOnce_whenTheSleepComesJustAfterABoundary) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.sleepAt(100.02);
    EXPECT_EQ(it.recorder().actionMethod(), 5);
    ASSERT_EQ(it.recordings().size(), 2U);
    EXPECT_EQ(it.breaks(it.recordings()), 0);
    EXPECT_EQ(it.count("RecordingStop"), 1) << "of the file that ended with the hour";
    EXPECT_EQ(it.count("RecordingSleep"), 1);
    it.wakeAt(130.0);
    it.stopAt(140.0);
    const Names names{"_Velmoratide_20260302_095825~100000.aif", "_Velmoratide_20260302_100000~100000.aif",
                      "_Velmoratide_20260302_100030~100040.aif"};
    EXPECT_EQ(it.recordings(), names);
    EXPECT_EQ(it.count("RecordingSleep"), 1);
    EXPECT_EQ(it.count("RecordingStop"), 2);
    EXPECT_EQ(it.recorder().actionMethod(), 3);
}
