// Names, information and alerts where sound could not be written or did not come.
#include "recorder/ClockedDesk.h"

namespace {
using Names = ClockedDesk::Names;
const std::string informationError = "SomeErrorHappen: VmRecorder: record information write error.";
const std::string withoutLoss = " for 0.0seconds.";
} // namespace

TEST(VmRecorderUnwritten, isNotPartOfTheName_andTheNextFileBeginsWithIt) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.writeErrorAt(30.0, true);
    it.writeErrorAt(60.0, false);
    it.stopAt(90.0);
    const Names names{"_Velmoratide_20260302_095825~095845.aif", "_Velmoratide_20260302_095845~095950.aif"};
    ASSERT_EQ(it.recordings(), names);
    EXPECT_EQ(it.breaks(names), 0);
    it.expectNamesToAgree();
    EXPECT_EQ(it.alerts(), Names{"FileWriteError"});
}

TEST(VmRecorderUnwritten, leavesInformationForLater_whenThatCannotBeWrittenEither) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.writeErrorAt(30.0, true);
    it.until(59.0);
    ASSERT_TRUE(it.happened(informationError));
    const std::string name = "_Velmoratide_20260302_095825~095845.aif";
    EXPECT_NE(it.information(name), "_Velmoratide_20260302_095825~0958458000SI");
    it.writeErrorAt(60.0, false);
    it.until(75.0);
    EXPECT_EQ(it.information(name), "_Velmoratide_20260302_095825~0958458000SI");
    EXPECT_EQ(it.count(informationError), 1);
}

TEST(VmRecorderUnwritten, isNotPartOfTheName_inTheTimetable) {
    ClockedDesk it({{"TimerList", QJsonArray{dailyEntry("a", 9 * 3600 + 59 * 60, 10 * 3600 + 300)}}});
    it.armAt(5.0);
    it.writeErrorAt(70.0, true);
    it.writeErrorAt(90.0, false);
    it.until(410.0);
    const Names names{"_Velmoratide_20260302_095900~095929.aif", "_Velmoratide_20260302_095929~100500.aif"};
    ASSERT_EQ(it.recordings(), names);
    EXPECT_EQ(it.breaks(names), 0);
    it.expectNamesToAgree();
    for (const std::string& name : names)
        EXPECT_EQ(it.note(name), "a");
    EXPECT_EQ(it.lastFrame(names[1]) + 1, 400 * 8000);
}

TEST(VmRecorderUnwritten, isRecordedLater_whenTheDiskWasFull) {
    ClockedDesk it;
    it.desk.volume.limitRoom(it.desk.folder, {1e9, ScriptedVolume::usedBytes(it.desk.folder)});
    it.recordAt(5.0);
    it.until(30.0);
    it.desk.volume.setFreeBytes(100000);
    it.until(60.0);
    it.desk.volume.setFreeBytes(1e9);
    it.stopAt(90.0);
    // The first file had to go to make room.
    ASSERT_EQ(it.recordings(), (Names{"_Velmoratide_20260302_095845~095950.aif"}));
    EXPECT_EQ(it.breaks(it.recordings()), 0);
    it.expectNamesToAgree();
    EXPECT_TRUE(it.eventWith("recording goes on").ends_with(withoutLoss));
}

TEST(VmRecorderUnwritten, isToldWithAnAlert_whenItIsTheLastBlockOfARecordingStoppedByHand) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.writeErrorAt(32.5, true);
    it.stopAt(33.0);
    EXPECT_EQ(it.alerts(), Names{"FileWriteError"});
    EXPECT_EQ(it.recorder().condition(), RecordCondition::stopped);
    it.writeErrorAt(36.0, false);
    it.until(39.9);
    it.recordAt(40.0);
    it.stopAt(50.0);
    const Names names{"_Velmoratide_20260302_095825~095850.aif", "_Velmoratide_20260302_095850~095853.aif",
                      "_Velmoratide_20260302_095900~095910.aif"};
    ASSERT_EQ(it.recordings(), names);
    EXPECT_EQ(it.breaks({names[0], names[1]}) + it.breaks({names[2]}), 0); // it was written after all
    EXPECT_EQ(it.lastFrame(names[1]) + 1, 33 * 8000 + 400);
    it.expectNamesToAgree();
    EXPECT_EQ(it.information(names[0]), "_Velmoratide_20260302_095825~0958508000SI");
    EXPECT_EQ(it.alerts().size(), 1U);
}

TEST(VmRecorderUnwritten, isWrittenBeforeTheNextRecording_whichIsStartedBeforeTheDiskIsBack) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.writeErrorAt(32.5, true);
    it.stopAt(33.0);
    it.recordAt(35.0);
    it.writeErrorAt(60.0, false);
    it.stopAt(80.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 3U);
    EXPECT_EQ(it.breaks({names[0], names[1]}) + it.breaks({names[2]}), 0);
    EXPECT_EQ(it.lastFrame(names[1]) + 1, 33 * 8000 + 400);
    EXPECT_EQ(it.firstFrame(names[2]), 35 * 8000 + 400);
    it.expectNamesToAgree();
}

TEST(VmRecorderUnwritten, isWrittenAtTheQuit_whenTheDiskIsBackWithinFifteenSeconds) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.writeErrorAt(32.5, true);
    it.until(33.0);
    it.desk.clock.detachThread("disk", [&it] {
        it.desk.clock.sleep(12.0);
        it.desk.volume.setWriteError(false);
    });
    it.desk.terminate();
    const Names names{"_Velmoratide_20260302_095825~095850.aif", "_Velmoratide_20260302_095850~095853.aif"};
    ASSERT_EQ(it.recordings(), names);
    EXPECT_EQ(it.breaks(names), 0);
    EXPECT_EQ(it.lastFrame(names[1]) + 1, 33 * 8000);
}

TEST(VmRecorderUnwritten, isReportedWithItsLength_whenTheDiskStaysAwayBeyondTheQuit) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.writeErrorAt(32.5, true);
    it.until(33.0);
    const HostTime quit = it.desk.clock.hostTime();
    it.desk.terminate();
    EXPECT_LT(it.desk.clock.hostTime() - quit, hostTimeFromSeconds(20.0));
    const std::string report = it.eventWith("recording ends, no sound since 2026-03-02 09:58:50 for ");
    const double lost = 33.0 - static_cast<double>(it.lastFrame(it.recordings()[0]) + 1) / 8000.0;
    ASSERT_FALSE(report.empty());
    EXPECT_NEAR(std::stod(report.substr(report.find(" for ") + 5)), lost, 0.06);
}

TEST(VmRecorderUnwritten, isNotNamedTwice_whenTheRecordingIsStoppedAndStartedWhileTheInputStalls) {
    for (const double stop : {19.0, 20.5, 22.0}) {
        SCOPED_TRACE(stop);
        ClockedDesk it;
        it.recordAt(5.0);
        it.until(18.0);
        it.desk.hardware.stall("desk-in", 6.0);
        it.until(stop);
        it.recorder().recordButton().press(false);
        it.recordAt(stop + 0.5);
        it.stopAt(40.0);
        const Names names = it.recordings();
        ASSERT_GE(names.size(), 2U);
        for (std::size_t i = 1; i < names.size(); ++i)
            EXPECT_LE(ClockedDesk::secondOfDay(names[i - 1].substr(29, 6)),
                      ClockedDesk::secondOfDay(names[i].substr(22, 6)))
                << names[i - 1] << " " << names[i];
        it.expectNamesToAgree();
        EXPECT_LT(it.lastFrame(names[0]), 18 * 8000);
        EXPECT_EQ(it.lastFrame(names.back()) + 1, 320400);
    }
}
