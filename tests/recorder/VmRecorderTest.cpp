#include "recorder/VmRecorder.h"

#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "recorder/VmLevelMeter.h"
#include "rehearsal/RehearsalDesk.h"
#include "support/Counting.h"
#include "support/DeskOfATest.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {
using Names = std::vector<std::string>;
} // namespace

TEST(VmRecorder, recordsWhileTheSwitchIsOn_underTheTimesOfStartAndStop) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(10.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(30.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(5.0);
    ASSERT_EQ(it.recordings(), (Names{"_Velmoratide_20071024_093010~093040.aif"}));
    const auto samples = it.samples("_Velmoratide_20071024_093010~093040.aif");
    EXPECT_NEAR(static_cast<double>(samples.size() / 2), 30.0 * 44100, 1.0);
    const std::int64_t first = counting::frameOf(samples[0], samples[1]);
    EXPECT_NEAR(static_cast<double>(first), 10.05 * 44100, 0.05 * 44100 + 1);
    EXPECT_EQ(counting::breaks(samples, first), 0);
    EXPECT_EQ(it.events, (Names{"DutyStart", "RecordingStart", "RecordingStop", ""}));
    EXPECT_TRUE(it.desk.log.lines().empty());
}

TEST(VmRecorder, writesTheRecordInformationBehindTheHeader) {
    Desk it({{"SamplingRateNumber", 1}, {"ChannelsNumber", 1}});
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(20.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(5.0);
    ASSERT_EQ(it.recordings().size(), 1U);
    const std::string name = it.recordings()[0];
    EXPECT_EQ(it.information(name), name.substr(0, name.size() - 4) + "22050MI");
}

TEST(VmRecorder, hidesRecordingsBehindADot_whenAsked) {
    Desk it({{"HideSoundFileFlag", true}});
    it.desk.launch();
    it.desk.runFor(1.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(20.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(5.0);
    ASSERT_EQ(it.recordings(), (Names{".Velmoratide_20071024_093001~093021.aif"}));
    EXPECT_EQ(it.information(it.recordings()[0]).substr(0, 13), "_Velmoratide_");
}

TEST(VmRecorder, neverOverwritesARecordingOfTheSameName) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(1.0);
    std::filesystem::create_directories(it.desk.recordFolder());
    std::ofstream(it.desk.recordFolder() + "/_Velmoratide_20071024_093001~093003.aif") << "somebody's";
    it.recorder().recordButton().press(true);
    it.desk.runFor(2.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    EXPECT_EQ(it.recordings(),
              (Names{"_Velmoratide_20071024_093001~093003+.aif", "_Velmoratide_20071024_093001~093003.aif"}));
}

TEST(VmRecorder, waitsForTheFirstSoundOfTheStreamBeforeItBegins) {
    Desk it;
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(10.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(3.0);
    const auto samples = it.samples(it.recordings().at(0));
    const double named = it.recorder().recordStopDate().secondsSince(it.recorder().recordStartDate());
    EXPECT_NEAR(static_cast<double>(samples.size() / 2) / 44100.0, named, 0.001);
}

TEST(VmRecorder, rescuesWhatACrashLeft_atTheNextLaunch) {
    TemporaryFolder folder;
    const auto devices = std::vector<SimulatedDevice>{countingInput()};
    {
        RehearsalDesk desk(folder.path(), QTimeZone("Asia/Tokyo"), morning, devices, fullRateStereo);
        desk.launch();
        desk.runFor(10.0);
        desk.controler->recorder().recordButton().press(true);
        desk.runFor(23.0);
    } // The process's state is dropped: only what is on the disk by now counts.
    RehearsalDesk next(folder.path(), QTimeZone("Asia/Tokyo"),
                       {.year = 2007, .month = 10, .day = 24, .hour = 10}, devices);
    next.defaults.set("RecordSwitch", false);
    next.launch();
    auto entries = PosixVolume().list(next.recordFolder());
    std::erase_if(entries, [](const VolumeEntry& entry) {
        return VmDutyLog::isLogFile(entry.name) || VmMechanic::isImageFile(entry.name);
    });
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].name, "_Velmoratide_20071024_093010~093030.aif");
    const auto opened = SoundFile::openForReading(next.files, next.recordFolder() + "/" + entries[0].name);
    ASSERT_EQ(opened.error, SoundFileError::none);
    EXPECT_NEAR(static_cast<double>(opened.file->frames()), 20.0 * 44100, 1024);
    std::ifstream file(next.recordFolder() + "/" + entries[0].name, std::ios::binary);
    file.seekg(256);
    std::string text;
    std::getline(file, text, '\0');
    EXPECT_EQ(text, "_Velmoratide_20071024_093010~09303044100SI*");
}

TEST(VmRecorder, goesOnWithTheSwitchOfTheLastLaunch) {
    Desk it({{"RecordSwitch", true}});
    it.desk.launch();
    it.desk.runFor(10.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    it.desk.terminate();
    EXPECT_EQ(it.recordings().size(), 1U);
    EXPECT_TRUE(it.desk.defaults.boolForKey("RecordSwitch")); // the next launch goes on
}

TEST(VmRecorder, stopsAndSaysSo_whenTheDiskIsFull) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(1.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(12.0);
    it.desk.volume.setWriteError(true);
    it.desk.runFor(8.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::stopped);
    EXPECT_FALSE(it.recorder().recordButton().isOn());
    EXPECT_TRUE(it.happened("SomeErrorHappen: VmRecorder: audio file write error."));
    ASSERT_FALSE(it.desk.alert.shown().empty());
    EXPECT_EQ(it.desk.alert.shown()[0].request.messageKey, "FileWriteError");
    EXPECT_EQ(it.desk.alert.shown()[0].request.informativeKey, "CheckAndRetry");
    ASSERT_EQ(it.recordings().size(), 1U);
    const auto samples = it.samples(it.recordings()[0]);
    EXPECT_GE(samples.size() / 2, 10U * 44100U - 1024U);
    EXPECT_EQ(counting::breaks(samples, counting::frameOf(samples[0], samples[1])), 0);
}

TEST(VmRecorder, stopsAndSaysSo_whenNoFileCanBeMade) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(1.0);
    it.desk.volume.setWriteError(true);
    it.recorder().recordButton().press(true);
    it.desk.runFor(3.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::stopped);
    EXPECT_FALSE(it.recorder().recordButton().isOn());
    EXPECT_TRUE(it.logged("VmRecorder: record file create error."));
    EXPECT_EQ(it.desk.alert.shown().size(), 1U);
}

TEST(VmRecorder, refusesToQuitWhileTheSwitchIsOn) {
    Desk it;
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(3.0);
    EXPECT_EQ(it.desk.controler->applicationShouldTerminate(), VmControler::TerminateReply::cancel);
    EXPECT_EQ(it.desk.alert.shown().at(0).request.messageKey, "UnableExit");
    it.recorder().recordButton().press(false);
    it.desk.runFor(3.0);
    EXPECT_EQ(it.desk.controler->applicationShouldTerminate(), VmControler::TerminateReply::now);
}

TEST(VmRecorder, saysThatThereIsNoInput) {
    Desk it(fullRateStereo, {});
    it.desk.launch();
    it.desk.runFor(1.0);
    EXPECT_TRUE(it.desk.controler->devicer().awakeError());
    EXPECT_TRUE(it.desk.runLoop.hasQuit());
    EXPECT_EQ(it.desk.alert.shown().at(0).request.messageKey, "NoRecordSource");
    EXPECT_TRUE(it.happened("SomeErrorHappen: VmRecorder: no sound data input device."));
}

TEST(VmRecorder, recordsAlways_whenTheModeOfTheSettingsIsNone) {
    for (const double mode : {99.0, 3.0, -1.0, 1e300}) {
        Desk it(
            {{"SamplingRateNumber", 99}, {"ChannelsNumber", -7}, {"RecordMode", mode}, {"RecordSwitch", true}});
        it.desk.launch();
        it.desk.runFor(3.0);
        EXPECT_TRUE(it.recorder().recordState()) << mode;
        it.desk.terminate();
        EXPECT_EQ(it.recordings().size(), 1U) << mode;
        ASSERT_FALSE(it.desk.log.lines().empty()) << mode;
        EXPECT_NE(it.desk.log.lines()[0].find("VmRecorder: there is no record mode "), std::string::npos);
    }
}

TEST(VmRecorder, startsOnLevelWithSoundFromBeforeTheTrigger) {
    SimulatedDevice device = countingInput();
    device.signal = {{.at = 0.0, .kind = SimulatedSegment::Kind::silence},
                     {.at = 20.0, .kind = SimulatedSegment::Kind::constant, .level = 0.5},
                     {.at = 25.0, .kind = SimulatedSegment::Kind::silence}};
    auto settings = fullRateStereo;
    settings.insert(settings.end(), {{"RecordMode", 1}, {"AutoStartLevel", 10}, {"RecordSwitch", true}});
    Desk it(settings, {device});
    it.desk.launch();
    it.desk.runFor(40.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::standingBy);
    ASSERT_EQ(it.recordings(), (Names{"_Velmoratide_20071024_093017~093030.aif"}));
    const auto samples = it.samples(it.recordings()[0]);
    const auto loud =
        std::find_if(samples.begin(), samples.end(), [](std::int16_t sample) { return sample != 0; });
    EXPECT_NEAR(static_cast<double>(loud - samples.begin()) / 2 / 44100.0, 3.0, 0.3);
}
