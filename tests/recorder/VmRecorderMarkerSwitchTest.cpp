// The marker's switch, its settings, and sounds that cannot be had.
#include "recorder/MarkedDesk.h"

namespace {
constexpr const char* openError = "VmRecorder: marker sound file open error.";
constexpr const char* readError = "VmRecorder: marker sound file read error.";
} // namespace

TEST(VmRecorderMarkerSwitch, switchesByItsButton) {
    MarkedDesk it({{"MarkerSoundSwitch", false}}, {silentInput(8000.0), deskOutput()}, beforeTen);
    EXPECT_TRUE(it.recorder().markerButton().enabled());
    EXPECT_EQ(it.recorder().markerButton().toolTip(), "");
    EXPECT_FALSE(it.recorder().markerSwitch());
    it.record(60.0);
    EXPECT_TRUE(it.onsets().empty());
    it.recorder().markerButton().press(true);
    EXPECT_TRUE(it.recorder().markerSwitch());
    EXPECT_TRUE(it.happened("MarkerSwitchChange"));
    EXPECT_TRUE(it.desk.defaults.boolForKey("MarkerSoundSwitch"));
    it.record(45.0); // 10:00
    EXPECT_EQ(it.onsets().size(), 3U);
    it.recorder().markerButton().press(false);
    EXPECT_FALSE(it.desk.defaults.boolForKey("MarkerSoundSwitch"));
    it.record(70.0);
    EXPECT_EQ(it.onsets().size(), 3U);
}

TEST(VmRecorderMarkerSwitch, endsItsRepeats_whenItIsSwitchedOff) {
    MarkedDesk it({}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.recorder().recordButton().press(true);
    it.desk.runFor(100.2);
    it.recorder().cancelSoundMarker();
    EXPECT_FALSE(it.recorder().markerSwitch());
    EXPECT_FALSE(it.recorder().markerButton().isOn());
    it.desk.runFor(200.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    EXPECT_EQ(it.onsets().size(), 2U); // 09:59, and the first of 10:00
}

TEST(VmRecorderMarkerSwitch, breaksItsSoundOff_andSoundsNotAgainInTheSameMinute) {
    MarkedDesk it({{"MarkerSoundOption", 4}}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.recorder().recordButton().press(true);
    it.desk.runFor(100.1);
    it.recorder().markerButton().press(false);
    it.desk.runFor(0.2);
    it.recorder().markerButton().press(true);
    it.desk.runFor(80.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    EXPECT_EQ(it.onsets().size(), 1U);
    const auto all = it.samples(it.recordings().back());
    const auto marked = std::count_if(all.begin(), all.end(), [](int sample) { return sample > 900; });
    EXPECT_LT(marked, 1500); // of 2000
}

TEST(VmRecorderMarkerSwitch, soundsAtTheMinute_whenItIsSwitchedOffAndOnJustBefore) {
    MarkedDesk it({{"MarkerSoundOption", 4}}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.recorder().recordButton().press(true);
    it.desk.runFor(99.0);
    it.recorder().markerButton().press(false);
    it.desk.runFor(0.3);
    it.recorder().markerButton().press(true);
    it.desk.runFor(30.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    EXPECT_EQ(it.onsets().size(), 3U);
}

TEST(VmRecorderMarkerSwitch, asksForTheAdministratorRight_butNotTheProgramItself) {
    MarkedDesk it({{"AuthorizationRequired", true}}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.recorder().markerButton().press(false);
    EXPECT_TRUE(it.recorder().markerButton().isOn());
    EXPECT_TRUE(it.recorder().markerSwitch());
    EXPECT_EQ(it.desk.administratorRight.asked(), 1);
    EXPECT_FALSE(it.happened("MarkerSwitchChange"));
    it.desk.administratorRight.setGranted(true);
    it.recorder().markerButton().press(false);
    EXPECT_FALSE(it.recorder().markerSwitch());
    it.recorder().markerButton().press(true);
    it.desk.administratorRight.setGranted(false);
    it.recorder().cancelSoundMarker();
    EXPECT_FALSE(it.recorder().markerSwitch());
    it.recorder().markerButton().press(true);
    EXPECT_FALSE(it.recorder().markerButton().isOn()); // the right is asked for again
}

TEST(VmRecorderMarkerSwitch, keepsItsSettings) {
    MarkedDesk it({{"MarkerSoundOption", 3}, {"MarkerSoundMonitor", true}}, {silentInput(8000.0), deskOutput()},
                  beforeTen);
    EXPECT_EQ(it.recorder().markerOption(), 3);
    EXPECT_EQ(it.recorder().markerSound(), "Test");
    EXPECT_TRUE(it.recorder().markerMonitor());
    it.recorder().setMarkerOption(1);
    it.recorder().setMarkerSound("Chime");
    it.recorder().setMarkerMonitor(false);
    EXPECT_TRUE(it.recorder().markerSwitch());
    it.desk.terminate();
    EXPECT_EQ(it.desk.defaults.integerForKey("MarkerSoundOption"), 1);
    EXPECT_EQ(it.desk.defaults.stringForKey("MarkerSoundName"), "Chime");
    EXPECT_FALSE(it.desk.defaults.boolForKey("MarkerSoundMonitor"));
    EXPECT_TRUE(it.desk.defaults.boolForKey("MarkerSoundSwitch"));
}

TEST(VmRecorderMarkerSwitch, isOffAndNamelessAtFirst_andThenSoundsAsTheFirstBundledSound) {
    Desk it({{"SamplingRateNumber", 2}, {"ChannelsNumber", 1}}, {silentInput(44100.0), deskOutput()},
            beforeTen);
    it.desk.launch();
    EXPECT_FALSE(it.recorder().markerSwitch());
    EXPECT_EQ(it.recorder().markerOption(), 0);
    EXPECT_EQ(it.recorder().markerSound(), "");
    EXPECT_FALSE(it.recorder().markerMonitor());
    const auto names = it.recorder().markerSounds();
    EXPECT_EQ(names, (std::vector<std::string>{"Blow", "Chime", "Drop", "Knock", "Pluck", "Signal"}));
    it.recorder().markerButton().press(true);
    EXPECT_TRUE(it.recorder().markerSwitch());
    it.recorder().recordButton().press(true);
    it.desk.runFor(45.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    const auto all = it.samples(it.recordings().at(0));
    EXPECT_NEAR(*std::min_element(all.begin(), all.end()), -8231, 1);
    it.desk.terminate();
    EXPECT_EQ(it.desk.defaults.stringForKey("MarkerSoundName"), "");
}

TEST(VmRecorderMarkerSwitch, isSwitchedOffWithAMessage_whenItsSoundCannotBeHad) {
    const std::pair<const char*, const char*> cases[] = {
        {"Missing", openError}, {"Text", openError},   {"Nothing", openError},
        {"Empty", readError},   {"Pipe/x", openError}, {"Long", readError},
    };
    for (const auto& [name, message] : cases) {
        MarkedDesk it({{"MarkerSoundSwitch", false}}, {silentInput(8000.0), deskOutput()}, beforeTen);
        it.sounds.writeBytes("Text.aiff", "this is no sound");
        it.sounds.writeBytes("Nothing.aiff", "");
        it.sounds.writeAiff("Empty.aiff", 8000, 1, {});
        it.sounds.writeAiff("Long.aiff", 8000, 1, std::vector<std::int16_t>(70 * 8000));
        it.recorder().setMarkerSound(name);
        EXPECT_FALSE(it.happened(std::string("SomeErrorHappen: ") + message)) << "not before it is wanted";
        it.recorder().markerButton().press(true);
        EXPECT_FALSE(it.recorder().markerButton().isOn()) << name;
        EXPECT_FALSE(it.recorder().markerSwitch()) << name;
        EXPECT_FALSE(it.desk.defaults.boolForKey("MarkerSoundSwitch")) << name;
        EXPECT_TRUE(it.logged(message)) << name;
        EXPECT_TRUE(it.happened(std::string("SomeErrorHappen: ") + message)) << name;
        EXPECT_EQ(std::count(it.events.begin(), it.events.end(), "MarkerSwitchChange"), 2) << name;
        it.record(120.0); // goes on without it
        EXPECT_EQ(it.recordings().size(), 2U);
        EXPECT_TRUE(it.onsets().empty());
    }
}

TEST(VmRecorderMarkerSwitch, isSwitchedOffAtTheLaunch_whenItsSoundIsGone) {
    MarkedDesk it({{"MarkerSoundName", "Gone"}}, {silentInput(8000.0), deskOutput()}, beforeTen);
    EXPECT_FALSE(it.recorder().markerSwitch());
    EXPECT_FALSE(it.recorder().markerButton().isOn());
    EXPECT_TRUE(it.logged(openError));
}

TEST(VmRecorderMarkerSwitch, takesAnotherSoundWhileItIsOn) {
    MarkedDesk it({}, {silentInput(8000.0), deskOutput()}, beforeTen);
    it.sounds.writeAiff("Other.aiff", 8000, 1, std::vector<std::int16_t>(800, 1700));
    it.recorder().recordButton().press(true);
    it.desk.runFor(90.0);
    it.recorder().setMarkerSound("Other");
    it.desk.runFor(20.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(2.0);
    const auto names = it.recordings();
    ASSERT_EQ(names.size(), 2U);
    const auto before = it.samples(names[0]);
    const auto after = it.samples(names[1]);
    EXPECT_NEAR(*std::max_element(before.begin(), before.end()), 2000, 1);
    EXPECT_NEAR(*std::max_element(after.begin(), after.end()), 1700, 1);
}

TEST(VmRecorderMarkerSwitch, isMadeAnewForTheRateOfAnotherInput) {
    SimulatedDevice fast = silentInput(16000.0);
    fast.uid = "fast";
    fast.dataSources = {};
    SimulatedDevice slow = silentInput(8000.0);
    slow.dataSources = {};
    MarkedDesk it({}, {slow, fast, deskOutput()}, beforeTen);
    it.recorder().sourcePopup().choose(1);
    it.desk.runFor(5.0);
    it.record(60.0);
    ASSERT_EQ(it.recordings().size(), 1U);
    EXPECT_EQ(it.recorder().sampleRate(), 16000.0);
    const auto all = it.samples(it.recordings()[0]);
    const auto marked = std::count_if(all.begin(), all.end(), [](int sample) { return sample > 900; });
    EXPECT_NEAR(static_cast<double>(marked), 0.25 * 16000.0, 2.0);
}

TEST(VmRecorderMarkerSwitch, isLoadedWhenAnInputComes_ifThereWasNone) {
    MarkedDesk it({}, {silentInput(8000.0), deskOutput()}, beforeTen, false);
    it.desk.hardware.unplug("desk-in");
    it.desk.makeControllers();
    it.recorder().recordSourceChanged();
    it.recorder().setMarkerSound("Test");
    EXPECT_TRUE(it.recorder().markerSwitch());
    it.desk.hardware.replug("desk-in");
    it.desk.runFor(10.0);
    it.record(40.0);
    EXPECT_EQ(it.onsets().size(), 1U);
    EXPECT_FALSE(it.happened(std::string("SomeErrorHappen: ") + openError));
}

TEST(VmRecorderMarkerSwitch, saysOnceThatItsIntervalIsUnknown) {
    const std::string said = "VmRecorder: marker interval 7 is unknown, the marker does not sound.";
    MarkedDesk it({{"MarkerSoundOption", 7}}, {silentInput(8000.0), deskOutput()}, beforeTen);
    const auto times = [&] {
        return std::count(it.events.begin(), it.events.end(), "SomeErrorHappen: " + said);
    };
    EXPECT_EQ(times(), 1);
    EXPECT_TRUE(it.logged(said));
    it.record(120.0);
    it.recorder().markerButton().press(false);
    it.recorder().markerButton().press(true);
    it.recorder().setMarkerOption(7);
    EXPECT_EQ(times(), 1);
    EXPECT_TRUE(it.recorder().markerSwitch()); // kept, as is the setting
    EXPECT_TRUE(it.onsets().empty());
    it.recorder().setMarkerOption(0);
    it.recorder().setMarkerOption(-1);
    EXPECT_TRUE(it.happened("SomeErrorHappen: VmRecorder: marker interval -1 is unknown, the marker does not "
                            "sound."));
    it.recorder().setMarkerOption(7);
    EXPECT_EQ(times(), 2); // it was another one meanwhile
}

TEST(VmRecorderMarkerSwitch, saysNothingOfItsInterval_whileItIsOff) {
    MarkedDesk it({{"MarkerSoundOption", 7}, {"MarkerSoundSwitch", false}}, {silentInput(8000.0), deskOutput()},
                  beforeTen);
    EXPECT_FALSE(it.happened("SomeErrorHappen"));
    it.recorder().markerButton().press(true);
    EXPECT_TRUE(it.happened("SomeErrorHappen"));
}

TEST(VmRecorderMarkerSwitch, doesNotSoundLate_whenItIsSwitchedOnJustAfterTheMinute) {
    for (const double after : {0.05, 0.5, 1.0}) {
        MarkedDesk it({{"MarkerSoundSwitch", false}}, {silentInput(8000.0), deskOutput()}, beforeTen);
        it.recorder().recordButton().press(true);
        it.desk.runFor(40.0 + after); // 09:59
        it.recorder().markerButton().press(true);
        it.desk.runFor(50.0);
        it.recorder().recordButton().press(false);
        it.desk.runFor(2.0);
        EXPECT_TRUE(it.onsets().empty()) << after;
    }
}

TEST(VmRecorderMarkerSwitch, followsAnIntervalThatIsChosenJustBeforeTheMinute_orJustAfterIt) {
    for (const double moment : {-1.5, -0.5, -0.001, 0.7, 1.0})
        for (const bool isOften : {true, false}) {
            MarkedDesk it({{"MarkerSoundOption", isOften ? 4 : 0}}, {silentInput(8000.0), deskOutput()},
                          beforeTen);
            it.recorder().recordButton().press(true);
            it.desk.runFor(40.0 + moment); // 09:59
            it.recorder().setMarkerOption(isOften ? 0 : 4);
            it.desk.runFor(50.0);
            it.recorder().recordButton().press(false);
            it.desk.runFor(2.0);
            EXPECT_EQ(it.onsets().size(), isOften == (moment < 0.0) ? 1U : 0U) << moment << isOften;
        }
}
