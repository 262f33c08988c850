// An input that is lost while the disk cannot be written.
#include "recorder/ClockedDesk.h"

namespace {
using Names = ClockedDesk::Names;

/// The disk fails from 22.5 s on, the input is away from 30 s to 36 s.
void expectNothingLost(double diskBack) {
    SCOPED_TRACE(diskBack);
    ClockedDesk it;
    it.recordAt(5.0);
    it.writeErrorAt(22.5, true);
    it.unplugAt(30.0);
    if (diskBack < 36.0)
        it.writeErrorAt(diskBack, false);
    it.replugAt(36.0);
    if (diskBack >= 36.0)
        it.writeErrorAt(diskBack, false);
    it.stopAt(80.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 3U);
    EXPECT_EQ(it.breaks({names[0], names[1]}), 0);
    EXPECT_EQ(it.breaks({names[2]}), 0);
    EXPECT_NEAR(static_cast<double>(it.lastFrame(names[1])) / 8000.0, 30.0, 0.07);
    EXPECT_NEAR(static_cast<double>(it.firstFrame(names[2])) / 8000.0, 36.0, 0.07);
    EXPECT_NEAR(static_cast<double>(it.lastFrame(names[2])) / 8000.0, 80.0, 0.2);
    it.expectNamesToAgree();
    EXPECT_NE(it.eventWith("is back, no sound since 2026-03-02 09:58:49").find(" for 6."), std::string::npos);
    EXPECT_EQ(it.eventWith("recording ends"), "");
    EXPECT_TRUE(it.eventWith("recording goes on").ends_with(" for 0.0seconds."));
}
} // namespace

TEST(VmRecorderBreak, costsNothingFromBeforeIt_wheneverTheDiskIsBack) {
    for (const double diskBack : {31.0, 38.0, 55.0, 70.0})
        expectNothingLost(diskBack);
}

TEST(VmRecorderBreak, isReportedWithTheLengthThatTheQueueCouldNotHold) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.writeErrorAt(22.5, true);
    it.unplugAt(40.0);
    it.replugAt(46.0);
    it.writeErrorAt(160.0, false);
    it.stopAt(200.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 3U); // the last two are split at the full hour
    const double before = static_cast<double>(it.lastFrame(names[0]) + 1) / 8000.0;
    const double after = static_cast<double>(it.firstFrame(names[1])) / 8000.0;
    double told = 0.0;
    for (const std::string& event : it.events)
        if (event.find("no sound since") != std::string::npos)
            told += std::stod(event.substr(event.rfind(" for ") + 5));
    EXPECT_NEAR(told, after - before, 0.2); // of three reports
}

TEST(VmRecorderBreak, costsNothing_whenTheQuitComesBeforeTheDiskIsBack) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.writeErrorAt(22.5, true);
    it.unplugAt(30.0);
    it.replugAt(36.0);
    it.until(50.0);
    it.desk.clock.detachThread("disk", [&it] {
        it.desk.clock.sleep(9.0);
        it.desk.volume.setWriteError(false);
    });
    it.desk.terminate();
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 3U);
    EXPECT_EQ(it.breaks({names[0], names[1]}) + it.breaks({names[2]}), 0);
    EXPECT_NEAR(static_cast<double>(it.lastFrame(names[2])) / 8000.0, 50.0, 0.07);
    it.expectNamesToAgree();
}

TEST(VmRecorderBreak, endsAtTheFullHour_whatTheDiskTookLate) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.writeErrorAt(82.5, true); // the full hour is at 100 s
    it.unplugAt(110.0);
    it.replugAt(114.0);
    it.writeErrorAt(125.0, false);
    it.stopAt(140.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 4U);
    EXPECT_EQ(it.breaks({names[0], names[1], names[2]}) + it.breaks({names[3]}), 0);
    EXPECT_EQ(names[2].substr(22, 6), "100000");
    it.expectNamesToAgree();
}
