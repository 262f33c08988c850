// Seams at boundaries that are in the midst of something: a file's frame, a slow disk, a change of the hour
// switch.
#include "base/Formatted.h"
#include "recorder/ClockedDesk.h"

namespace {
struct Grid {
    const char* what;
    double deviceRate;
    int rateNumber;
    int channels;
    double maxRecordTime; // seconds
    double clockBy;       // seconds
    double recordAt = 5.0;
    std::uint32_t cycle = 0; // frames; 0: as it comes
};

SimulatedDevice inputOf(const Grid& grid) {
    SimulatedDevice input = slowInput(grid.deviceRate);
    if (grid.cycle != 0)
        input.minFrames = input.maxFrames = grid.cycle;
    return input;
}

/// Each file frame is `ratio` device frames after the one before, over all files.
void expectEvenSteps(const ClockedDesk& it, int channels, std::int64_t ratio) {
    std::int64_t uneven = 0;
    std::int64_t last = -1;
    for (const std::string& name : it.recordings()) {
        const auto all = it.samples(name);
        ASSERT_FALSE(all.empty()) << name;
        const std::int64_t seam = (all[0] - last + counting::period) % counting::period;
        EXPECT_TRUE(last < 0 || seam == ratio)
            << name << " begins " << seam << " frames after the last one's end";
        last = all[0];
        for (std::size_t i = static_cast<std::size_t>(channels); i < all.size();
             i += static_cast<std::size_t>(channels)) {
            uneven += (all[i] - last + counting::period) % counting::period != ratio ? 1 : 0;
            last = all[i];
        }
    }
    EXPECT_EQ(uneven, 0);
}

/// Records a bit over two minutes across the full hour.
void expectSeamsWithoutLoss(const Grid& grid, std::size_t files) {
    SCOPED_TRACE(grid.what);
    ClockedDesk it({{"SamplingRateNumber", grid.rateNumber},
                    {"ChannelsNumber", grid.channels},
                    {"MaxRecordTime", grid.maxRecordTime}},
                   inputOf(grid));
    it.setClockAt(1.0, grid.clockBy);
    it.recordAt(grid.recordAt);
    it.stopAt(110.0);
    ASSERT_EQ(it.recordings().size(), files);
    const int ratio = 1 << (2 - grid.rateNumber);
    expectEvenSteps(it, grid.channels, ratio);
    EXPECT_FALSE(it.happened("SomeErrorHappen"));
    EXPECT_EQ(it.recorder().dutyFrames().captured, it.recorder().dutyFrames().written);
}
} // namespace

TEST(VmRecorderSeam, goesOnWithTheNextFileFrame_whenTheHourIsNoMultipleOfTheRatio) {
    expectSeamsWithoutLoss({"half the rate, mono", 44100, 1, 1, 3600, 0.00042}, 2);
    expectSeamsWithoutLoss({"half the rate, stereo", 44100, 1, 2, 3600, 0.00042}, 2);
}

TEST(VmRecorderSeam, goesOnWithTheNextFileFrame_whenTheGreatestLengthIsNoMultipleOfTheRatio) {
    expectSeamsWithoutLoss({"a quarter of the rate, mono", 44100, 0, 1, 30, 0.0004}, 5);
    expectSeamsWithoutLoss({"a quarter of the rate, stereo", 44100, 0, 2, 30, 0.0004}, 5);
    expectSeamsWithoutLoss({"half of 48000, stereo", 48000, 1, 2, 30, 0.0004}, 5);
}

TEST(VmRecorderSeam, goesOnWithTheNextFileFrame_whereverInACycleTheRecordingBegan) {
    for (const double begin : {5.0, 5.0137, 7.1211, 9.377})
        expectSeamsWithoutLoss({"a length that is no whole cycle", 44100, 1, 1, 20.0001, 0.0, begin, 512}, 6);
}

TEST(VmRecorderSeam, goesOnWithTheNextFileFrame_inAFileOfATenthOfASecond) {
    ClockedDesk it({{"SamplingRateNumber", 0}, {"ChannelsNumber", 1}, {"MaxRecordTime", 3599.9}}, slowInput(),
                   {.year = 2026, .month = 3, .day = 2, .hour = 9, .minute = 59, .second = 50});
    it.recordAt(9.95);
    it.stopAt(3700.0);
    EXPECT_EQ(it.recordings(), (ClockedDesk::Names{"_Velmoratide_20260302_100000~105959.aif",
                                                   "_Velmoratide_20260302_105959~110000.aif",
                                                   "_Velmoratide_20260302_110000~110130.aif"}));
    expectEvenSteps(it, 1, 4);
}

TEST(VmRecorderSeam, saysHowMuchWasLost_whenTheDiskTakesLongerThanTheQueueLasts) {
    ClockedDesk it({{"MaxRecordTime", 60.0}});
    it.recordAt(5.0);
    it.slowDiskAt(20.0, 20.0);
    it.slowDiskAt(300.0, 0.0);
    it.stopAt(530.0);
    const auto names = it.recordings();
    ASSERT_GT(names.size(), 3U);
    std::int64_t lost = 0;
    for (std::size_t i = 1; i < names.size(); ++i)
        lost += it.firstFrame(names[i]) - it.lastFrame(names[i - 1]) - 1;
    EXPECT_GT(lost, 8000);
    EXPECT_TRUE(it.happened("SomeErrorHappen: " + formatted("VmRecorder: sound que buffer overflow %lld bytes.",
                                                            static_cast<long long>(lost) * 8)))
        << lost;
    const DutyFrames account = it.recorder().dutyFrames();
    EXPECT_EQ(account.captured - account.written, lost);
    it.expectNamesToAgree();
}

TEST(VmRecorderSeam, leavesOutTheHour_whenItsSwitchIsTurnedOffInTheLastSecond) {
    ClockedDesk it;
    it.recordAt(5.0);
    it.until(99.0);
    it.recorder().hourButton().press(false);
    it.stopAt(130.0);
    EXPECT_EQ(it.recordings(), (ClockedDesk::Names{"_Velmoratide_20260302_095825~100030.aif"}));
    EXPECT_EQ(it.breaks(it.recordings()), 0);
}

TEST(VmRecorderSeam, isToldAsAStopByHand_whenThatComesJustAfterABoundary) {
    for (const double stop : {100.0, 100.005, 100.03, 100.049, 100.06, 100.1, 100.19}) {
        SCOPED_TRACE(stop);
        ClockedDesk it;
        it.recordAt(5.0);
        it.stopAt(stop);
        ASSERT_EQ(it.recordings().size(), 2U);
        EXPECT_EQ(it.breaks(it.recordings()), 0);
        EXPECT_EQ(it.recorder().actionMethod(), 3);
    }
}

TEST(VmRecorderSeam, beginsANewFileAtAnyMoment_withoutLosingOrDoublingAFrame) {
    for (const double moment : {12.0, 12.0071, 23.3, 99.99, 100.02}) {
        SCOPED_TRACE(moment);
        ClockedDesk it;
        it.recordAt(5.0);
        it.until(moment);
        const std::size_t finished = it.recordings().size();
        it.recorder().beginNewFile();
        EXPECT_TRUE(it.recorder().recordButton().isOn());
        EXPECT_GT(it.recordings().size(), finished);
        it.stopAt(130.0);
        EXPECT_EQ(it.recordings().size(), 3U) << "at that moment and at the full hour";
        EXPECT_EQ(it.breaks(it.recordings()), 0);
        EXPECT_FALSE(it.happened("SomeErrorHappen"));
        EXPECT_EQ(it.recorder().dutyFrames().captured, it.recorder().dutyFrames().written);
    }
}

TEST(VmRecorderSeam, beginsNoNewFile_whenNoneIsOpenOrItsLengthIsFixed) {
    ClockedDesk it;
    it.until(5.0);
    it.recorder().beginNewFile();
    EXPECT_TRUE(it.recordings().empty());
    it.recordAt(6.0);
    it.until(8.0);
    it.recorder().endAfter(10.0);
    it.recorder().beginNewFile();
    it.stopAt(30.0);
    ASSERT_EQ(it.recordings().size(), 1U);
    EXPECT_EQ(it.samples(it.recordings()[0]).size(), 10U * 8000 * 2);
}
