// Auto mode: what the start level and the stop delay decide.
#include "recorder/ClockedDesk.h"

namespace {
using Names = ClockedDesk::Names;
using Kind = SimulatedSegment::Kind;

SimulatedDevice changingInput(const std::vector<std::pair<double, double>>& levels) {
    SimulatedDevice input = slowInput();
    input.signal.clear();
    for (const auto& [at, level] : levels)
        input.signal.push_back({.at = at, .kind = Kind::constant, .level = level});
    return input;
}

ClockedDesk::Settings autoMode(int startLevel, double stopDelay) {
    return {{"RecordMode", 1}, {"AutoStartLevel", startLevel}, {"AutoStopDelayTime", stopDelay}};
}
} // namespace

TEST(VmRecorderAuto, keepsOneFile_whenTheLevelDipsForLessThanTheStopDelay) {
    ClockedDesk it(autoMode(10, 5.0), changingInput({{0.0, 0.5}, {20.0, 0.0}, {24.5, 0.5}}));
    it.recordAt(5.0);
    it.until(40.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    it.stopAt(40.0);
    EXPECT_EQ(it.count("RecordingStart"), 1);
    EXPECT_EQ(it.recordings().size(), 1U);
}

TEST(VmRecorderAuto, stopsOnceTheLevelWasLowForTheStopDelay) {
    ClockedDesk it(autoMode(10, 5.0), changingInput({{0.0, 0.5}, {20.0, 0.0}, {30.0, 0.5}}));
    it.recordAt(10.0);
    it.until(24.8);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    it.until(26.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::standingBy);
    it.stopAt(40.0);
    EXPECT_EQ(it.recordings().size(), 2U);
}

TEST(VmRecorderAuto, countsTheStopDelayAnew_afterEachDip) {
    ClockedDesk it(
        autoMode(10, 5.0),
        changingInput({{0.0, 0.5}, {20.0, 0.0}, {24.0, 0.5}, {25.0, 0.0}, {29.0, 0.5}, {30.0, 0.0}}));
    it.recordAt(5.0);
    it.until(34.5);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    it.until(36.5);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::standingBy);
    EXPECT_EQ(it.count("RecordingStart"), 1);
}

TEST(VmRecorderAuto, neverStops_whenTheStartLevelIs0) {
    ClockedDesk it(autoMode(0, 0.0), changingInput({{0.0, 0.5}, {10.0, 0.0}, {20.0, -0.9}}));
    it.recordAt(5.0);
    it.until(300.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    EXPECT_EQ(it.count("RecordingStart"), 2); // and one at the hour
    EXPECT_EQ(it.count("RecordingStop"), 1);
}

TEST(VmRecorderAuto, begins3SecondsBeforeTheTrigger_alsoAcrossTheHour) {
    // 10:00:01 is 101 s after the launch.
    ClockedDesk it(autoMode(10, 5.0), changingInput({{0.0, 0.0}, {101.0, 0.5}, {105.0, 0.0}}));
    it.recordAt(5.0);
    it.stopAt(130.0);
    const Names names = it.recordings();
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(names[0].substr(0, 28), "_Velmoratide_20260302_095958");
    it.expectNamesToAgree();
}

TEST(VmRecorderDisplay, tellsTheConditionInItsWordAndColour) {
    ClockedDesk it(autoMode(10, 5.0), changingInput({{0.0, 0.0}, {20.0, 0.5}, {30.0, 0.0}}));
    TextField& field = it.recorder().conditionField();
    const auto expect = [&](double seconds, const std::string& text, TextColor color) {
        it.until(seconds);
        it.recorder().dispCondition();
        EXPECT_EQ(field.text(), text) << seconds;
        EXPECT_EQ(field.color(), color) << seconds;
    };
    expect(1.0, "Stopped", TextColor::black);
    it.recordAt(5.0);
    expect(10.0, "Standby", TextColor::red); // armed, nothing heard yet
    expect(25.0, "Recording", TextColor::red);
    expect(40.0, "Standby", TextColor::red); // after a recording
    it.recorder().setRecordMode(2);
    expect(41.0, "Standby", TextColor::black); // standby mode, quiet
    it.recorder().levelSlider().setValue(0);
    it.recorder().actLevelSlider();
    expect(42.0, "Standby", TextColor::red); // standby mode, at the start level
    it.recorder().setRecordMode(0);
    expect(43.0, "Recording", TextColor::red);
    it.stopAt(45.0);
    expect(46.0, "Stopped", TextColor::black);
}

TEST(VmRecorderDisplay, tellsTheMode) {
    ClockedDesk it;
    const std::pair<int, const char*> modes[] = {
        {0, "AlwaysMode"}, {1, "AutoMode"}, {2, "StandbyMode"}, {3, ""}, {-1, ""}};
    for (const auto& [mode, key] : modes) {
        it.recorder().setRecordMode(mode);
        EXPECT_EQ(it.recorder().modeField().text(), key) << mode;
    }
}

TEST(VmRecorderDisplay, countsDownToTheNextStart_fromFiveMinutesOn) {
    // It is 9:58:20; the entry begins at 10:04:20.
    ClockedDesk it({{"TimerList", QJsonArray{dailyEntry("News", 36260, 36380)}}});
    it.armAt(1.0);
    TextField& field = it.recorder().conditionField();
    EXPECT_EQ(it.recorder().modeField().text(), "TimerMode");
    it.until(30.0);
    EXPECT_EQ(field.text(), "Standby");
    EXPECT_EQ(field.color(), TextColor::black);
    it.until(75.0);
    EXPECT_EQ(field.text(), "4'45\"Before");
    EXPECT_EQ(field.color(), TextColor::red);
    it.until(305.0);
    EXPECT_EQ(field.text(), "55\"Before");
}

TEST(VmRecorderSettings, haveTheirDefaults) {
    Desk it(std::vector<RehearsalDesk::Setting>{});
    const UserDefaults& defaults = it.desk.defaults;
    for (const char* key : {"RecordMode", "AutoStartLevel", "MarkerSoundOption"})
        EXPECT_EQ(defaults.integerForKey(key), 0) << key;
    for (const char* key :
         {"MonitorSwitch", "RecordSwitch", "ReserveSwitch", "SliderAlwaysEnable", "HideSoundFileFlag",
          "MarkerSoundSwitch", "MarkerSoundMonitor", "DisplayTotalTime", "AutoRecordStartup"})
        EXPECT_FALSE(defaults.boolForKey(key)) << key;
    for (const char* key : {"SamplingRateNumber", "ChannelsNumber"})
        EXPECT_EQ(defaults.integerForKey(key), 1) << key;
    EXPECT_EQ(defaults.doubleForKey("AutoStopDelayTime"), 5.0);
    EXPECT_TRUE(defaults.boolForKey("StartOnTheHour"));
    EXPECT_EQ(defaults.integerForKey("PreBufferingSeconds"), 3);
    for (const char* key : {"MarkerSoundName", "WriteStartTempFile", "ProgressSoundFileName"})
        EXPECT_EQ(defaults.stringForKey(key), "") << key;
    EXPECT_EQ(defaults.doubleForKey("PeekLevelHoldTime"), 1.0);
    for (const char* key : {"recordSourceDevice", "PlaybackSourceDevice", "MonitorSourceDevice"})
        EXPECT_EQ(defaults.integerForKey(key), 0) << key;
    EXPECT_FALSE(defaults.boolForKey("UseHightQualitySampling"));
}

TEST(VmRecorderSettings, storeTheSwitchesAtOnce) {
    ClockedDesk it({{"TimerList", QJsonArray{dailyEntry("News", 60000, 61000)}}});
    it.recordAt(1.0);
    EXPECT_TRUE(it.desk.defaults.boolForKey("RecordSwitch"));
    EXPECT_FALSE(it.recorder().reserveButton().enabled());
    it.stopAt(5.0);
    EXPECT_FALSE(it.desk.defaults.boolForKey("RecordSwitch"));
    EXPECT_TRUE(it.recorder().reserveButton().enabled()); // there is a valid entry
    it.armAt(7.0);
    EXPECT_TRUE(it.desk.defaults.boolForKey("ReserveSwitch"));
    EXPECT_FALSE(it.recorder().recordButton().enabled());
}

TEST(VmRecorderSettings, tellTheThreadsFlags) {
    ClockedDesk it;
    EXPECT_FALSE(it.recorder().writeThread());
    EXPECT_FALSE(it.recorder().fileWriteing());
    it.recordAt(2.0);
    it.until(4.0);
    EXPECT_TRUE(it.recorder().writeThread());
    EXPECT_TRUE(it.recorder().fileWriteing());
    it.stopAt(10.0);
    EXPECT_FALSE(it.recorder().writeThread());
    EXPECT_FALSE(it.recorder().fileWriteing());
    EXPECT_NEAR(it.recorder().lastWrite(), 8.0 * 8000 * 4, 8000);
    EXPECT_NEAR(it.recorder().dataSize(), it.recorder().lastWrite(), 4.0);
}

TEST(VmRecorderIO, takesOfACycleWhatCameIn_andNothingTwice) {
    ClockedDesk it;
    it.recordAt(2.0);
    it.until(4.0);
    const std::int64_t before = it.recorder().openFrames();
    float silence[64] = {};
    AudioBuffer buffer{2, 0, silence};
    const AudioBufferList none{1, &buffer};
    AudioTimeStamp time;
    time.mHostTime = it.desk.clock.hostTime();
    KaCoreAudioDevice& device = *it.desk.controler->devicer().recordDevice();
    for (int cycle = 0; cycle < 100; ++cycle) // without a frame
        EXPECT_EQ(it.recorder().recordIOForDevice(device, &time, &none, &time, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(it.recorder().recordIOForDevice(device, &time, nullptr, &time, nullptr, nullptr, nullptr), 0);
    it.stopAt(10.0);
    ASSERT_EQ(it.recordings().size(), 1U);
    EXPECT_GT(before, 0);
    EXPECT_EQ(it.breaks(it.recordings()), 0);
    EXPECT_NEAR(static_cast<double>(it.frames(it.recordings()[0])), 8.0 * 8000, 800);
}
