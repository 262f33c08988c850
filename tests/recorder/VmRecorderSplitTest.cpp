// Seams between files: at the full hour, at the greatest length, and before a file is too large.
#include "base/Clock.h"
#include "recorder/ClockedDesk.h"
#include "recorder/SplitRule.h"
#include "support/Counting.h"
#include "support/DeskOfATest.h"

#include <filesystem>
#include <fstream>

namespace {
using Names = std::vector<std::string>;
constexpr CalendarDate beforeTen{.year = 2026, .month = 3, .day = 2, .hour = 9, .minute = 58, .second = 20};

/// How many frames of the files, in the order of their names, do not follow the one before.
std::int64_t breaksOverAll(const Desk& it, const Names& names) {
    std::int64_t found = 0;
    std::int64_t next = -1;
    for (const std::string& name : names) {
        const auto samples = it.samples(name);
        EXPECT_FALSE(samples.empty()) << name;
        found += counting::breaks(samples, next < 0 ? counting::frameOf(samples[0], samples[1]) : next);
        next = counting::frameOf(samples[samples.size() - 2], samples.back()) + 1;
    }
    return found;
}
} // namespace

TEST(SplitRule, findsTheNextFullHour_alsoWhereTheClockIsSetOnTheWay) {
    const auto hourAfter = [](const char* zone, const CalendarDate& local, int secondsLater) {
        const VirtualClock clock(QTimeZone(zone), {});
        const Date date = clock.dateFromLocal(local).addingSeconds(secondsLater);
        return clock.format(nextFullHour(date, clock), "%d %H%M%S");
    };
    EXPECT_EQ(hourAfter("Europe/Berlin", beforeTen, 0), "02 100000");
    EXPECT_EQ(hourAfter("Europe/Berlin", {.year = 2026, .month = 3, .day = 2, .hour = 10}, 0), "02 110000");
    EXPECT_EQ(hourAfter("Asia/Kathmandu", {.year = 2026, .month = 3, .day = 2, .hour = 10, .minute = 1}, 0),
              "02 110000");
    // Spring: 02:00 is 03:00. Autumn: 03:00 is 02:00 once more.
    EXPECT_EQ(hourAfter("Europe/Berlin", {.year = 2026, .month = 3, .day = 29, .hour = 1, .minute = 30}, 0),
              "29 030000");
    EXPECT_EQ(hourAfter("Europe/Berlin", {.year = 2026, .month = 10, .day = 25, .hour = 2, .minute = 30}, 0),
              "25 020000");
    EXPECT_EQ(hourAfter("Europe/Berlin", {.year = 2026, .month = 10, .day = 25, .hour = 2, .minute = 30}, 3600),
              "25 030000");
    // Half an hour back at 02:00: the full hour is shown again half an hour later.
    EXPECT_EQ(
        hourAfter("Australia/Lord_Howe", {.year = 2026, .month = 4, .day = 5, .hour = 1, .minute = 10}, 0),
        "05 020000");
}

TEST(VmRecorderSplit, splitsAtTheFullHour_withoutLosingOrDoublingAFrame) {
    Desk it(fullRateStereo, {countingInput(), deskOutput()}, beforeTen);
    it.desk.launch();
    it.desk.runFor(5.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(7300.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(5.0);
    const Names expected{"_Velmoratide_20260302_095825~100000.aif", "_Velmoratide_20260302_100000~110000.aif",
                         "_Velmoratide_20260302_110000~120000.aif", "_Velmoratide_20260302_120000~120005.aif"};
    ASSERT_EQ(it.recordings(), expected);
    EXPECT_EQ(breaksOverAll(it, expected), 0);
    const auto second = it.samples(expected[1]);
    EXPECT_EQ(second.size() / 2, 3600U * 44100U);
    EXPECT_EQ(counting::frameOf(second[0], second[1]), 100 * 44100);
    EXPECT_EQ(it.recorder().actionMethod(), 3);
}

TEST(VmRecorderSplit, splitsAtTheGreatestLength_counted) {
    Desk it({{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}, {"MaxRecordTime", 17.0}});
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(60.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 4U);
    EXPECT_EQ(breaksOverAll(it, names), 0);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(it.samples(names[i]).size() / 2, 17U * 44100U) << names[i];
    EXPECT_FALSE(it.happened("SomeErrorHappen"));
}

TEST(VmRecorderSplit, doesNotSplitAgainInTheMinuteInWhichAFileBegan) {
    Desk it(fullRateStereo, {countingInput(), deskOutput()}, {.year = 2026, .month = 3, .day = 2, .hour = 10});
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(90.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    EXPECT_EQ(it.recordings(), (Names{"_Velmoratide_20260302_100000~100130.aif"}));
}

TEST(VmRecorderSplit, leavesTheHourAlone_whenTheHourSwitchIsOff) {
    Desk it({{"StartOnTheHour", false}}, {countingInput(), deskOutput()}, beforeTen);
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(200.0);
    EXPECT_EQ(it.recordings().size(), 2U); // the work file and its progress name
    it.recorder().hourButton().press(true);
    EXPECT_TRUE(it.happened("HourSwitchChange"));
    EXPECT_TRUE(it.desk.defaults.boolForKey("StartOnTheHour"));
    it.desk.runFor(3600.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    EXPECT_EQ(it.recordings(),
              (Names{"_Velmoratide_20260302_095820~105820.aif", "_Velmoratide_20260302_105820~110000.aif",
                     "_Velmoratide_20260302_110000~110140.aif"}));
}

TEST(VmRecorderSplit, finishesTheOldFileFirst_whenStoppedJustAfterTheHour) {
    Desk it(fullRateStereo, {countingInput(), deskOutput()}, beforeTen);
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(100.1);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    const Names expected{"_Velmoratide_20260302_095820~100000.aif", "_Velmoratide_20260302_100000~100000.aif"};
    ASSERT_EQ(it.recordings(), expected);
    EXPECT_EQ(breaksOverAll(it, expected), 0);
}

TEST(VmRecorderSplit, losesNothing_whenStopAndStartTakeSeconds) {
    Desk it(fullRateStereo, {countingInput(), deskOutput()}, beforeTen);
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(90.0);
    it.desk.volume.setWriteSeconds(4.0);
    it.desk.runFor(60.0);
    it.desk.volume.setWriteSeconds(0.0);
    it.desk.runFor(30.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(20.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_EQ(names[0], "_Velmoratide_20260302_095820~100000.aif");
    EXPECT_EQ(breaksOverAll(it, names), 0);
}

TEST(VmRecorderSplit, goesOnWithoutPreBuffer_inAutoMode) {
    Desk it({{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}, {"RecordMode", 1}, {"AutoStartLevel", 0}},
            {countingInput(), deskOutput()}, beforeTen);
    it.desk.launch();
    it.desk.runFor(20.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(120.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    const Names expected{"_Velmoratide_20260302_095837~100000.aif", "_Velmoratide_20260302_100000~100040.aif"};
    ASSERT_EQ(it.recordings(), expected);
    EXPECT_EQ(breaksOverAll(it, expected), 0);
}

TEST(VmRecorderSplit, showsTheRecordingInProgress_andRemovesItsNameAtTheStop) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(1.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(1.0);
    const std::string first = it.desk.recordFolder() + "/_Velmoratide_20071024_093001~093001.aif";
    EXPECT_EQ(it.desk.defaults.stringForKey("ProgressSoundFileName"), first);
    EXPECT_TRUE(it.desk.files.exists(first));
    it.desk.runFor(60.0);
    const std::string grown = it.desk.defaults.stringForKey("ProgressSoundFileName");
    EXPECT_EQ(grown, it.desk.recordFolder() + "/_Velmoratide_20071024_093001~093100.aif");
    EXPECT_FALSE(it.desk.files.exists(first));
    const auto samples = it.samples("_Velmoratide_20071024_093001~093100.aif");
    EXPECT_GT(samples.size() / 2, 54U * 44100U);
    EXPECT_EQ(counting::breaks(samples, counting::frameOf(samples[0], samples[1])), 0);
    EXPECT_EQ(it.note("_Velmoratide_20071024_093001~093100.aif"), "PROGRESS");
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    EXPECT_EQ(it.recordings(), (Names{"_Velmoratide_20071024_093001~093102.aif"}));
    EXPECT_EQ(it.note(it.recordings()[0]), "44100SI");
    EXPECT_EQ(it.desk.defaults.stringForKey("ProgressSoundFileName"), "");
}

TEST(VmRecorderSplit, givesARecordingItsFinalName_whenThatEqualsItsProgressName) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(1.1);
    it.recorder().recordButton().press(true);
    it.desk.runFor(0.5);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    EXPECT_EQ(it.recordings(), (Names{"_Velmoratide_20071024_093001~093001.aif"}));
    it.recorder().recordButton().press(true);
    it.desk.runFor(5.0);
    EXPECT_TRUE(it.desk.files.exists(it.desk.recordFolder() + "/_Velmoratide_20071024_093001~093001.aif"));
}

TEST(VmRecorderRelay, cutsBackWhatCameAfterAGap_andOpensTheNextFileWithIt) {
    Desk it;
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(12.0);
    // The main thread is busy over a whole loss and return, and longer than the write thread sleeps.
    it.desk.hardware.unplug("desk-in");
    it.desk.clock.sleep(2.0);
    it.desk.hardware.replug("desk-in");
    it.desk.clock.sleep(9.0);
    it.desk.runFor(20.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(1.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 2U);
    const auto before = it.samples(names[0]);
    const auto after = it.samples(names[1]);
    const std::int64_t lastBefore = counting::frameOf(before[before.size() - 2], before.back());
    const std::int64_t firstAfter = counting::frameOf(after[0], after[1]);
    EXPECT_EQ(counting::breaks(before, counting::frameOf(before[0], before[1])), 0);
    EXPECT_EQ(counting::breaks(after, firstAfter), 0);
    EXPECT_NEAR(static_cast<double>(lastBefore) / 44100.0, 12.0, 0.1);
    EXPECT_NEAR(static_cast<double>(firstAfter) / 44100.0, 14.0, 0.1);
    EXPECT_EQ(names[1].substr(0, 28), "_Velmoratide_20071024_093014");
    EXPECT_TRUE(std::any_of(it.events.begin(), it.events.end(), [](const std::string& event) {
        return event.starts_with("SomeReportHappen: VmRecorder: over record ");
    }));
    EXPECT_FALSE(it.desk.files.exists(it.desk.recordFolder() + "/.VelmoratideRelayFile"));
}

TEST(VmRecorderRelay, carriesAMinuteAtMost_andLosesNothing) {
    ClockedDesk it({{"StartOnTheHour", false}});
    it.recordAt(2.0);
    it.until(12.0);
    it.desk.hardware.unplug("desk-in");
    it.desk.clock.sleep(2.0); // the main thread is busy
    it.desk.hardware.replug("desk-in");
    it.desk.clock.sleep(71.0);
    it.stopAt(100.0);
    EXPECT_TRUE(it.logged("RecordTime over 60sec"));
    EXPECT_EQ(it.eventWith("over record"),
              "SomeReportHappen: VmRecorder: over record 60.000000seconds(=1920000bytes)");
    const Names names = it.recordings();
    EXPECT_EQ(it.breaks(names), 1); // the gap
    std::int64_t frames = 0;
    for (const std::string& name : names) {
        SCOPED_TRACE(name + " from " + std::to_string(it.firstFrame(name)) + " to " +
                     std::to_string(it.lastFrame(name)));
        EXPECT_GT(it.frames(name), 0);
        frames += it.frames(name);
    }
    EXPECT_NEAR(static_cast<double>(frames) / 8000, 96.0, 0.2);
}

TEST(VmRecorderRelay, isKeptUnderANameThatSaysSo_afterACrash) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder.path() + "/record");
    std::ofstream(folder.path() + "/record/.VelmoratideRelayFile") << std::string(50000, 's');
    for (int launch = 0; launch < 2; ++launch) {
        RehearsalDesk desk(folder.path(), QTimeZone("Asia/Tokyo"), morning, {countingInput()}, fullRateStereo);
        desk.launch();
        desk.runFor(1.0);
        auto entries = PosixVolume().list(desk.recordFolder());
        std::erase_if(entries, [](const VolumeEntry& entry) {
            return VmDutyLog::isLogFile(entry.name) || VmMechanic::isImageFile(entry.name);
        });
        ASSERT_EQ(entries.size(), 1U);
        EXPECT_EQ(entries[0].name, "VelmoratideUnreadable_20071024_093000.data");
        const auto lines = desk.log.lines();
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                [](const std::string& line) {
                                    return line.find("sound between two recordings cannot be placed") !=
                                           std::string::npos;
                                }),
                  launch == 0 ? 1 : 0);
    }
}

TEST(VmRecorderMethod, isNotInternalAnyMore_whenTheLevelEndsAndBeginsFilesAfterASplit) {
    SimulatedDevice input = countingInput();
    using Kind = SimulatedSegment::Kind;
    input.signal = {{.at = 0.0, .kind = Kind::constant, .level = 0.5},
                    {.at = 120.0, .kind = Kind::silence},
                    {.at = 140.0, .kind = Kind::constant, .level = 0.5}};
    Desk it({{"RecordMode", 1}, {"AutoStartLevel", 5}}, {input, deskOutput()}, beforeTen);
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(90.0);
    EXPECT_EQ(it.recorder().actionMethod(), 3);
    it.desk.runFor(20.0); // over the hour
    EXPECT_EQ(it.recorder().actionMethod(), 1);
    it.desk.runFor(20.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::standingBy);
    EXPECT_EQ(it.recorder().actionMethod(), 3);
    it.desk.runFor(15.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    EXPECT_EQ(it.recorder().actionMethod(), 3);
}
