// A disk that cannot be written for a while, and a clock that is set.
#include "support/Counting.h"
#include "support/DeskOfATest.h"

#include <filesystem>
#include <QJsonArray>

namespace {
using Names = std::vector<std::string>;

/// Frames missing or doubled over all files in the order given.
std::int64_t breaksOver(const Desk& it, const Names& names) {
    std::int64_t found = 0;
    std::int64_t next = -1;
    for (const std::string& name : names) {
        const auto samples = it.samples(name);
        if (samples.empty())
            return -1;
        found += counting::breaks(samples, next < 0 ? counting::frameOf(samples[0], samples[1]) : next);
        next = counting::frameOf(samples[samples.size() - 2], samples.back()) + 1;
    }
    return found;
}

std::string reported(const Desk& it, const std::string& part) {
    for (const std::string& event : it.events)
        if (event.find(part) != std::string::npos)
            return event;
    return {};
}
} // namespace

TEST(VmRecorderFault, goesOnByItself_withoutLosingAFrame_whenTheDiskIsWritableAgain) {
    Desk it;
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(12.0);
    it.desk.volume.setWriteError(true);
    it.desk.runFor(40.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::stopped);
    EXPECT_FALSE(it.recorder().recordButton().isOn());
    EXPECT_TRUE(it.desk.defaults.boolForKey("RecordSwitch")); // the next launch would go on
    EXPECT_EQ(it.recorder().messageField().text(), "WaitingForDisk");
    EXPECT_EQ(it.desk.alert.shown().size(), 1U);
    it.desk.volume.setWriteError(false);
    it.desk.runFor(10.0);
    EXPECT_TRUE(it.recorder().recordButton().isOn());
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    EXPECT_EQ(it.recorder().messageField().text(), "");
    it.desk.runFor(10.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_EQ(breaksOver(it, names), 0);
    EXPECT_EQ(names[0].substr(29, 6), names[1].substr(22, 6)) << names[0] << " " << names[1];
    EXPECT_TRUE(reported(it, "VmRecorder: recording goes on, no sound since 2007-10-24 09:30:1")
                    .ends_with("for 0.0seconds."));
}

TEST(VmRecorderFault, reportsWhatTheQueueCouldNotHold) {
    Desk it;
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(12.0);
    it.desk.volume.setWriteError(true);
    it.desk.runFor(200.0);
    it.desk.volume.setWriteError(false);
    it.desk.runFor(20.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 2U);
    for (const std::string& name : names)
        EXPECT_EQ(breaksOver(it, {name}), 0);
    const auto before = it.samples(names[0]);
    const auto after = it.samples(names[1]);
    const double gap = static_cast<double>(counting::frameOf(after[0], after[1]) - 1 -
                                           counting::frameOf(before[before.size() - 2], before.back())) /
                       44100.0;
    const std::string report = reported(it, "recording goes on");
    EXPECT_NEAR(std::stod(report.substr(report.find(" for ") + 5)), gap, 0.1) << report;
    EXPECT_GT(gap, 100.0);
}

TEST(VmRecorderFault, goesOnWithTheTimetable) {
    Desk it({{"TimerList", QJsonArray{QJsonArray{"Long", 1, 9 * 3600, 10 * 3600, 0, 2, 2, 0, 0, 0, 0}}}});
    it.desk.launch();
    it.recorder().reserveButton().press(true);
    it.desk.runFor(12.0);
    it.desk.volume.setWriteError(true);
    it.desk.runFor(20.0);
    EXPECT_FALSE(it.recorder().reserveButton().isOn());
    it.desk.volume.setWriteError(false);
    it.desk.runFor(20.0);
    EXPECT_TRUE(it.recorder().reserveButton().isOn());
    it.desk.runFor(1800.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_EQ(breaksOver(it, names), 0);
    EXPECT_EQ(names[1].substr(29, 6), "100000");
    EXPECT_EQ(it.note(names[1]), "Long");
}

TEST(VmRecorderFault, triesAgain_whenNoFileCouldBeMadeAtTheSeam) {
    Desk it(fullRateStereo, {countingInput(), deskOutput()},
            {.year = 2026, .month = 3, .day = 2, .hour = 9, .minute = 59, .second = 30});
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(29.9);
    std::filesystem::permissions(it.desk.recordFolder(), std::filesystem::perms::none);
    it.desk.volume.setWriteError(true);
    it.desk.runFor(10.0);
    it.desk.volume.setWriteError(false);
    std::filesystem::permissions(it.desk.recordFolder(), std::filesystem::perms::owner_all);
    it.desk.runFor(30.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    EXPECT_EQ(breaksOver(it, it.recordings()), 0);
    EXPECT_EQ(it.desk.alert.shown().size(), 1U);
}

TEST(VmRecorderFault, doesNotGoOn_whenTheSwitchIsPressedMeanwhile) {
    Desk it;
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(7.0);
    it.desk.volume.setWriteError(true);
    it.desk.runFor(10.0);
    it.desk.volume.setWriteError(false);
    it.recorder().recordButton().press(true);
    it.recorder().recordButton().press(false);
    it.desk.runFor(30.0);
    EXPECT_FALSE(it.recorder().recordButton().isOn());
    EXPECT_EQ(it.recorder().condition(), RecordCondition::stopped);
    EXPECT_FALSE(it.desk.defaults.boolForKey("RecordSwitch"));
}

TEST(VmRecorderFault, makesTheRecordFolderAnew_whenItIsGone) {
    Desk it;
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(12.0);
    std::filesystem::rename(it.desk.recordFolder(), it.desk.recordFolder() + "-moved");
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    EXPECT_TRUE(it.happened("SomeErrorHappen: VmRecorder: record file rename error."));
    EXPECT_TRUE(it.desk.files.exists(it.desk.recordFolder() + "-moved/.VelmoratideTempFile"));
    it.recorder().recordButton().press(true);
    it.desk.runFor(20.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    EXPECT_EQ(it.recordings().size(), 1U);
}

TEST(VmRecorderClock, splitsWhereTheClockIsSet_withoutLosingAFrame) {
    for (const double by : {3600.0, -3600.0, 2.0, -2.0, 86400.0}) {
        Desk it;
        it.desk.launch();
        it.recorder().recordButton().press(true);
        it.desk.runFor(100.0);
        it.desk.clock.jump(by);
        it.desk.runFor(60.0);
        it.recorder().recordButton().press(false);
        it.desk.runFor(1.0);
        Names names = it.recordings();
        ASSERT_EQ(names.size(), 2U) << by;
        if (names[0].find("~093140") == std::string::npos)
            std::swap(names[0], names[1]);
        EXPECT_EQ(names[0], "_Velmoratide_20071024_093000~093140.aif") << by;
        EXPECT_EQ(breaksOver(it, names), 0) << by;
        const auto second = it.samples(names[1]);
        EXPECT_NEAR(static_cast<double>(second.size()) / 2 / 44100, 60.0, 0.2) << by;
        EXPECT_FALSE(reported(it, "SomeReportHappen: VmRecorder: the clock was set by ").empty());
    }
}

TEST(VmRecorderClock, isNotDisturbedByASmallCorrection) {
    Desk it;
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(10.0);
    it.desk.clock.jump(1.9);
    it.desk.runFor(10.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    EXPECT_EQ(it.recordings().size(), 1U);
    EXPECT_TRUE(reported(it, "the clock was set").empty());
}

TEST(VmRecorderClock, keepsTheAutoStopDelay_whenTheClockIsSet) {
    SimulatedDevice input = countingInput();
    input.signal = {{.at = 0.0, .kind = SimulatedSegment::Kind::constant, .level = 0.5},
                    {.at = 20.0, .kind = SimulatedSegment::Kind::silence}};
    Desk it({{"RecordMode", 1}, {"AutoStartLevel", 5}, {"AutoStopDelayTime", 30.0}}, {input, deskOutput()});
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(25.0);
    it.desk.clock.jump(600.0);
    it.desk.runFor(20.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    it.desk.runFor(10.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::standingBy);
}
