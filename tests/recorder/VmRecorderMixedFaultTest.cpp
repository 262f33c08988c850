// A disk that cannot be written while something else goes wrong, too.
#include "recorder/ClockedDesk.h"

namespace {
using Names = ClockedDesk::Names;
constexpr CalendarDate fiveAfterTen{.year = 2026, .month = 3, .day = 2, .hour = 10, .minute = 5, .second = 0};

class VmRecorderMixedFault : public testing::Test {
protected:
    double secondsTold() const {
        double told = 0.0;
        for (const std::string& event : it.events)
            if (event.find("no sound since") != std::string::npos)
                told += std::stod(event.substr(event.rfind(" for ") + 5));
        return told;
    }
    /// Seconds of the signal that lie in all recordings.
    double secondsKept() const {
        std::int64_t kept = 0;
        for (const std::string& name : it.recordings())
            kept += it.frames(name);
        return static_cast<double>(kept) / 8000.0;
    }
    ClockedDesk it{{}, slowInput(), fiveAfterTen};
};
} // namespace

TEST_F(VmRecorderMixedFault, costsNothing_whenTheClockIsSetBackAndTheInputPulledOutMeanwhile) {
    it.recordAt(5.0);
    it.writeErrorAt(20.0, true);
    it.setClockAt(31.0, -600.0);
    it.unplugAt(40.0);
    it.writeErrorAt(50.0, false);
    it.replugAt(60.0);
    it.stopAt(80.0);
    const Names names{"_Velmoratide_20260302_095531~095540.aif", "_Velmoratide_20260302_095600~095620.aif",
                      "_Velmoratide_20260302_100505~100515.aif", "_Velmoratide_20260302_100515~100531.aif"};
    ASSERT_EQ(it.recordings(), names);
    EXPECT_EQ(it.breaks({names[2], names[3], names[0]}) + it.breaks({names[1]}), 0);
    EXPECT_NEAR(secondsKept(), 55.0, 0.2);
    EXPECT_NEAR(secondsTold(), 20.0, 0.2); // of the input
    it.expectNamesToAgree();
}

TEST_F(VmRecorderMixedFault, costsNothing_whenTheDiskIsFullAndTheInputPulledOutMeanwhile) {
    it.desk.volume.limitRoom(it.desk.folder, {1e9, ScriptedVolume::usedBytes(it.desk.folder)});
    it.recordAt(5.0);
    it.until(10.0);
    it.desk.volume.setFreeBytes(0);
    it.unplugAt(30.0);
    it.until(40.0);
    it.desk.volume.setFreeBytes(1e9);
    it.replugAt(50.0);
    it.stopAt(80.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_EQ(it.breaks({names[0]}) + it.breaks({names[1]}), 0);
    EXPECT_NEAR(secondsKept(), 55.0, 0.2);
    EXPECT_NEAR(secondsTold(), 20.0, 0.2);
    it.expectNamesToAgree();
}

TEST_F(VmRecorderMixedFault, costsNothingFromBeforeASleep_wheneverTheDiskIsBack) {
    for (const double diskBack : {610.0, 625.0}) {
        SCOPED_TRACE(diskBack);
        ClockedDesk desk({}, slowInput(), fiveAfterTen);
        desk.recordAt(5.0);
        desk.writeErrorAt(595.0, true);
        desk.sleepAt(605.0);
        if (diskBack < 615.0)
            desk.writeErrorAt(diskBack, false);
        desk.wakeAt(615.0);
        if (diskBack > 615.0)
            desk.writeErrorAt(diskBack, false);
        desk.stopAt(640.0);
        const Names names = desk.recordings();
        ASSERT_EQ(names.size(), 3U);
        EXPECT_EQ(desk.breaks({names[0], names[1]}) + desk.breaks({names[2]}), 0);
        EXPECT_NEAR(static_cast<double>(desk.lastFrame(names[1])) / 8000.0, 605.0, 0.1);
        EXPECT_NEAR(static_cast<double>(desk.firstFrame(names[2])) / 8000.0, 615.0, 0.1);
        EXPECT_NEAR(static_cast<double>(desk.lastFrame(names[2])) / 8000.0, 640.0, 0.2);
        EXPECT_EQ(desk.eventWith("recording ends"), "");
        EXPECT_TRUE(desk.eventWith("recording goes on").ends_with(" for 0.0seconds."));
        desk.expectNamesToAgree();
    }
}

TEST_F(VmRecorderMixedFault, isReportedWithItsLength_whenTheMachineSleepsForLongerThanTheQueueLasts) {
    it.recordAt(5.0);
    it.writeErrorAt(595.0, true);
    it.sleepAt(605.0);
    it.until(700.0);
    it.wakeAt(705.0);
    it.writeErrorAt(710.0, false);
    it.stopAt(740.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 2U);
    const double lost = 605.0 - static_cast<double>(it.lastFrame(names[0])) / 8000.0;
    EXPECT_NEAR(secondsTold(), lost, 0.2);
    EXPECT_NEAR(static_cast<double>(it.firstFrame(names[1])) / 8000.0, 705.0, 0.1);
    it.expectNamesToAgree();
}

TEST_F(VmRecorderMixedFault, isReportedWithoutTheJump_whenTheClockIsSetMeanwhile) {
    for (const double by : {3600.0, -600.0}) {
        SCOPED_TRACE(by);
        ClockedDesk desk({}, slowInput(), fiveAfterTen);
        desk.recordAt(5.0);
        desk.writeErrorAt(20.0, true);
        desk.setClockAt(31.0, by);
        desk.writeErrorAt(141.0, false);
        desk.stopAt(180.0);
        double told = 0.0;
        std::int64_t kept = 0;
        for (const std::string& event : desk.events)
            if (event.find("no sound since") != std::string::npos)
                told += std::stod(event.substr(event.rfind(" for ") + 5));
        for (const std::string& name : desk.recordings())
            kept += desk.frames(name);
        EXPECT_NEAR(told + static_cast<double>(kept) / 8000.0, 175.0, 0.3);
        EXPECT_NEAR(told, 46.0, 1.0); // the queue holds eighty seconds
        desk.expectNamesToAgree();
    }
}
