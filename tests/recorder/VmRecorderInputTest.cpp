// Monitoring, other sources while recording, and sound that fails to come.
#include "recorder/ClockedDesk.h"
#include "support/Counting.h"
#include "support/DeskOfATest.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {
using Names = std::vector<std::string>;

SimulatedDevice speakers(double rate, std::uint32_t channels = 2) {
    SimulatedDevice device;
    device.name = device.uid = "Speakers";
    device.direction = SimulatedDevice::Direction::output;
    device.rates = {rate};
    device.channels = channels;
    return device;
}

SimulatedDevice sineInput(std::uint32_t channels = 2) {
    SimulatedDevice device = countingInput();
    device.channels = channels;
    device.signal = {{.at = 0.0, .kind = SimulatedSegment::Kind::sine, .level = 0.5, .frequency = 1000.0}};
    return device;
}

/// What an output played, channel by channel of an interleaved list.
class Ear {
public:
    explicit Ear(Desk& it) : m_it(it) {
        it.desk.hardware.setOutputSink(
            [this](const std::string&, const AudioTimeStamp&, const AudioBufferList& list) {
                const auto* samples = static_cast<const float*>(list.mBuffers[0].mData);
                heard.insert(heard.end(), samples, samples + list.mBuffers[0].mDataByteSize / sizeof(float));
            });
    }
    ~Ear() { m_it.desk.hardware.setOutputSink({}); }
    /// Largest absolute sample of `channel` in the last `seconds`.
    float peak(double seconds, unsigned channel, unsigned channels, double rate) const {
        const auto count = std::min(heard.size(), static_cast<std::size_t>(seconds * rate) * channels);
        float found = 0.0F;
        for (std::size_t i = heard.size() - count + channel; i < heard.size(); i += channels)
            found = std::max(found, std::abs(heard[i]));
        return found;
    }
    std::vector<float> heard;

private:
    Desk& m_it;
};
} // namespace

TEST(VmRecorderMonitor, isSilentUntilItIsSwitchedOn) {
    Desk it(fullRateStereo, {sineInput(), speakers(44100.0)});
    it.desk.launch();
    Ear ear(it);
    it.desk.runFor(5.0);
    EXPECT_EQ(ear.peak(5.0, 0, 2, 44100.0), 0.0F);
    it.recorder().monitorButton().press(true);
    it.desk.runFor(5.0);
    EXPECT_NEAR(ear.peak(2.0, 0, 2, 44100.0), 0.5F, 0.001F);
    EXPECT_NEAR(ear.peak(2.0, 1, 2, 44100.0), 0.5F, 0.001F);
    it.recorder().monitorButton().press(false);
    const std::size_t before = ear.heard.size();
    it.desk.runFor(2.0);
    EXPECT_EQ(ear.heard.size(), before); // the output does not run for nothing
}

TEST(VmRecorderMonitor, convertsRatesBothWaysAndMonoToStereo) {
    const std::pair<double, double> rates[] = {{44100.0, 48000.0}, {48000.0, 44100.0}};
    for (const auto& [from, to] : rates)
        for (const std::uint32_t channels : {1U, 2U}) {
            SimulatedDevice device = sineInput(channels);
            device.rates = {from};
            Desk it(fullRateStereo, {device, speakers(to)});
            it.desk.launch();
            it.recorder().monitorButton().press(true);
            Ear ear(it);
            it.desk.runFor(10.0);
            EXPECT_NEAR(ear.peak(2.0, 0, 2, to), 0.5F, 0.002F) << from << " " << channels;
            EXPECT_NEAR(ear.peak(2.0, 1, 2, to), 0.5F, 0.002F) << from << " " << channels;
        }
}

TEST(VmRecorderMonitor, refusesTheInternalMicrophoneThroughTheInternalSpeakers) {
    SimulatedDevice out = speakers(44100.0);
    out.dataSources = {"Internal speakers"};
    Desk it(fullRateStereo, {sineInput(), out});
    it.desk.launch();
    it.recorder().monitorButton().press(true);
    EXPECT_FALSE(it.recorder().monitorButton().isOn());
    EXPECT_EQ(it.recorder().messageField().text(), "HowlingProtected");
}

TEST(VmRecorderInput, finishesTheFileAndGoesOn_whenTheSourceIsChosenAnew) {
    SimulatedDevice other = countingInput();
    other.name = other.uid = "Another";
    other.rates = {48000.0};
    Desk it(fullRateStereo, {countingInput(), other});
    it.desk.launch();
    it.desk.runFor(1.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(10.0);
    it.desk.controler->devicer().setRecordSource(0); // "Another" comes first by name
    it.desk.runFor(10.0);
    it.desk.terminate();
    ASSERT_EQ(it.recordings().size(), 2U);
    std::size_t seconds = 0;
    for (const std::string& name : it.recordings()) {
        const auto samples = it.samples(name);
        EXPECT_EQ(counting::breaks(samples, counting::frameOf(samples[0], samples[1])), 0);
        seconds += samples.size() / 2 / 44000;
    }
    EXPECT_GE(seconds, 19U);
}

TEST(VmRecorderInput, goesOnInTheNextFile_whenTheInputReturns) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(10.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(20.0);
    it.desk.hardware.unplug("desk-in");
    it.desk.runFor(7.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::standingBy);
    EXPECT_EQ(it.recorder().messageField().text(), "InputLost");
    it.desk.hardware.replug("desk-in");
    it.desk.runFor(13.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    EXPECT_EQ(it.recorder().messageField().text(), "");
    it.recorder().recordButton().press(false);
    it.desk.runFor(3.0);

    ASSERT_EQ(it.recordings(),
              (Names{"_Velmoratide_20071024_093010~093029.aif", "_Velmoratide_20071024_093037~093050.aif"}));
    const auto before = it.samples(it.recordings()[0]);
    const auto after = it.samples(it.recordings()[1]);
    EXPECT_EQ(counting::breaks(before, counting::frameOf(before[0], before[1])), 0);
    EXPECT_EQ(counting::breaks(after, counting::frameOf(after[0], after[1])), 0);
    EXPECT_NEAR(static_cast<double>(before.size() / 2) / 44100.0, 20.0, 0.1);
    // Every frame that came after the return is there.
    EXPECT_NEAR(static_cast<double>(after.size() / 2) / 44100.0, 13.0, 0.06); // up to a tick more
    EXPECT_TRUE(it.logged("VmRecorder: sound input \"InternalSource\" is gone."));
    EXPECT_TRUE(it.happened("SomeErrorHappen: VmRecorder: sound input \"InternalSource\" is gone."));
    EXPECT_TRUE(
        it.happened("SomeReportHappen: VmRecorder: sound input \"InternalSource\" is back, no sound since "
                    "2007-10-24 09:30:29 for 7.0seconds."));
}

TEST(VmRecorderInput, reportsHolesWithoutFillingTheLog) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(10.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(20.0);
    it.desk.hardware.stall("desk-in", 3.0);
    it.desk.runFor(20.0);
    it.recorder().recordButton().press(false);
    it.desk.runFor(3.0);
    const auto samples = it.samples(it.recordings().at(0));
    EXPECT_NEAR(static_cast<double>(samples.size() / 2) / 44100.0, 40.0, 0.1);
    const auto silent = std::count(samples.begin(), samples.end(), 0);
    EXPECT_NEAR(static_cast<double>(silent) / 44100.0, 6.0, 0.2); // both channels of 3 s
    const auto lines = it.desk.log.lines();
    EXPECT_EQ(lines.size(), 1U);
    EXPECT_NE(lines.at(0).find("are silent"), std::string::npos);
}

TEST(VmRecorderInput, asksForSoundAsSoonAsItIsNeeded) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(1.0);
    EXPECT_EQ(it.desk.hardware.latencyNeed(), AudioLatencyNeed::metering); // the level is seen
    it.recorder().monitorButton().press(true);
    EXPECT_EQ(it.desk.hardware.latencyNeed(), AudioLatencyNeed::monitoring);
    it.recorder().setShown(false);
    EXPECT_EQ(it.desk.hardware.latencyNeed(), AudioLatencyNeed::monitoring);
    it.recorder().monitorButton().press(false);
    EXPECT_EQ(it.desk.hardware.latencyNeed(), AudioLatencyNeed::relaxed);
    it.recorder().setShown(true);
    EXPECT_EQ(it.desk.hardware.latencyNeed(), AudioLatencyNeed::metering);
}

TEST(VmRecorderInput, asksForSoundSoon_whileALevelDecides) {
    Desk it({{"RecordMode", 1}});
    it.desk.launch();
    it.recorder().setShown(false);
    it.desk.runFor(3.0);
    EXPECT_EQ(it.desk.hardware.latencyNeed(), AudioLatencyNeed::metering);
}

TEST(VmRecorderInput, waitsForADeviceThatDeliversNothingAndSaysSo) {
    Desk it;
    it.desk.hardware.setStartFailure(audioHardwareUnspecifiedError);
    it.desk.launch();
    it.recorder().recordButton().press(true);
    it.desk.runFor(20.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::standingBy);
    EXPECT_EQ(it.recorder().messageField().text(), "InputLost");
    EXPECT_TRUE(it.recordings().empty());
    it.desk.hardware.setStartFailure(audioHardwareNoError);
    it.desk.runFor(10.0); // it is tried again
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    it.desk.terminate();
    EXPECT_EQ(it.recordings().size(), 1U);
}

TEST(VmRecorderInput, takesAnInputThatStallsForOneThatIsGone) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(10.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(20.0);
    it.desk.hardware.stall("desk-in", 8.0);
    it.desk.runFor(6.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::standingBy);
    EXPECT_TRUE(it.logged("VmRecorder: sound input \"InternalSource\" is gone."));
    it.desk.runFor(20.0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    it.desk.terminate();
    EXPECT_EQ(it.recordings().size(), 2U);
}

TEST(VmRecorderInput, losesNothingOfWhatComesAfterAStopInAStall) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(5.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(10.0);
    it.desk.hardware.stall("desk-in", 10.0);
    it.desk.runFor(2.6);
    it.recorder().recordButton().press(false); // expects sound that will never come
    it.desk.runFor(5.0);
    it.desk.hardware.unplug("desk-in");
    it.desk.runFor(5.0);
    it.desk.hardware.replug("desk-in");
    it.desk.runFor(0.5);
    it.recorder().recordButton().press(true);
    it.desk.runFor(10.0);
    it.desk.terminate();
    ASSERT_EQ(it.recordings().size(), 2U);
    const auto after = it.samples(it.recordings()[1]);
    EXPECT_NEAR(static_cast<double>(after.size() / 2) / 44100.0, 10.0, 0.1);
    EXPECT_EQ(counting::breaks(after, counting::frameOf(after[0], after[1])), 0);
}

TEST(VmRecorderInput, losesNothingOfWhatComesLate_whenAStallEndsBehindTheHour) {
    // The hour is 100 s after the launch.
    for (const double behind : {1.0, 5.0, 30.0}) {
        SCOPED_TRACE(behind);
        ClockedDesk it;
        it.recordAt(5.0);
        it.until(95.0);
        it.desk.hardware.stall("desk-in", 5.0 + behind);
        it.stopAt(200.0);
        const auto names = it.recordings();
        std::int64_t frames = 0;
        for (const std::string& name : names)
            frames += it.frames(name);
        EXPECT_NEAR(static_cast<double>(frames), 195.0 * 8000, 800);
        it.expectNamesToAgree();
        ASSERT_GE(names.size(), 2U);
        EXPECT_EQ(names.back().substr(0, 28), "_Velmoratide_20260302_100000");
    }
}

TEST(VmRecorderInput, doesNotReachBackAcrossAGapForTheSoundBeforeTheTrigger) {
    auto settings = fullRateStereo;
    settings.insert(settings.end(), {{"RecordMode", 1}, {"AutoStartLevel", 20}, {"PreBufferingSeconds", 10}});
    Desk it(settings);
    it.desk.launch();
    it.desk.runFor(20.0);
    it.desk.hardware.unplug("desk-in");
    it.desk.runFor(60.0);
    it.desk.hardware.replug("desk-in");
    it.desk.runFor(1.5);
    it.recorder().levelSlider().move(0); // any level triggers now
    it.recorder().recordButton().press(true);
    it.desk.runFor(10.0);
    it.desk.terminate();
    ASSERT_EQ(it.recordings().size(), 1U);
    const auto samples = it.samples(it.recordings()[0]);
    EXPECT_EQ(counting::breaks(samples, counting::frameOf(samples[0], samples[1])), 0);
    EXPECT_NEAR(static_cast<double>(samples.size() / 2) / 44100.0, 11.5, 0.1);
}

TEST(VmRecorderInput, findsADeviceAgainThatWasChosenWhileItWasAway) {
    Desk it;
    it.desk.launch();
    it.desk.runFor(5.0);
    it.recorder().recordButton().press(true);
    it.desk.runFor(5.0);
    it.desk.hardware.unplug("desk-in");
    it.desk.runFor(2.0);
    it.desk.controler->devicer().setRecordSource(0); // there is none now
    EXPECT_EQ(it.desk.controler->devicer().recordSource(), -1);
    it.desk.runFor(5.0);
    it.desk.hardware.replug("desk-in");
    it.desk.runFor(10.0);
    EXPECT_EQ(it.desk.controler->devicer().recordSource(), 0);
    EXPECT_EQ(it.recorder().condition(), RecordCondition::recording);
    EXPECT_EQ(it.recorder().messageField().text(), "");
    it.desk.terminate();
    EXPECT_EQ(it.recordings().size(), 2U);
}

TEST(VmRecorderInput, keepsTheChosenSource_whenTheListChanges) {
    SimulatedDevice first = countingInput();
    first.name = first.uid = "A";
    SimulatedDevice second = countingInput();
    second.name = second.uid = "B";
    first.dataSources = second.dataSources = {};
    Desk it({{"recordSourceDevice", 1}}, {first, second, deskOutput()});
    it.desk.launch();
    EXPECT_EQ(it.recorder().sourcePopup().items(), (Names{"A", "B"}));
    it.desk.hardware.unplug("A");
    it.desk.runFor(1.0);
    EXPECT_EQ(it.recorder().sourcePopup().items(), Names{"B"});
    EXPECT_EQ(it.recorder().sourcePopup().selected(), 0);
    EXPECT_EQ(it.desk.controler->devicer().presentRecordSourceName(), "B");
    it.desk.hardware.replug("A");
    it.desk.runFor(1.0);
    EXPECT_EQ(it.recorder().sourcePopup().selected(), 1);
}

TEST(VmRecorderInput, leavesLessThanAFifthOfASecondBetweenTwoSources) {
    for (const double moment : {0.05, 0.3, 0.55, 0.8}) {
        SimulatedDevice other = countingInput();
        other.name = other.uid = "Another";
        Desk it(fullRateStereo, {countingInput(), other, deskOutput()});
        it.desk.launch();
        it.recorder().recordButton().press(true);
        it.desk.runFor(10.0 + moment);
        it.desk.controler->devicer().setRecordSource(0);
        it.desk.runFor(5.0);
        it.desk.terminate();
        ASSERT_EQ(it.recordings().size(), 2U);
        const auto before = it.samples(it.recordings()[0]);
        const auto after = it.samples(it.recordings()[1]);
        const std::int64_t gap = counting::frameOf(after[0], after[1]) -
                                 counting::frameOf(before[before.size() - 2], before[before.size() - 1]);
        EXPECT_LT(static_cast<double>(gap) / 44100.0, 0.2) << moment;
        EXPECT_GT(gap, 0);
    }
}

TEST(VmRecorderMonitor, isSwitchedOff_whenTheInternalMicrophoneIsChosen) {
    SimulatedDevice out = speakers(44100.0);
    out.dataSources = {"Internal speakers"};
    Desk it({{"recordSourceDevice", 1}}, {sineInput(), out});
    it.desk.launch();
    it.recorder().monitorButton().press(true);
    EXPECT_TRUE(it.recorder().monitorButton().isOn()); // Line In
    it.desk.controler->devicer().setRecordSource(0);
    EXPECT_FALSE(it.recorder().monitorButton().isOn());
}

TEST(VmRecorderMonitor, saysThatTheOutputIsGoneAndPlaysOnWhenItReturns) {
    Desk it(fullRateStereo, {sineInput(), speakers(44100.0)});
    it.desk.launch();
    it.recorder().monitorButton().press(true);
    Ear ear(it);
    it.desk.runFor(3.0);
    it.desk.hardware.unplug("Speakers");
    it.desk.runFor(3.0);
    EXPECT_TRUE(it.happened("SomeErrorHappen: VmRecorder: sound output \"Speakers\" is gone."));
    const std::size_t before = ear.heard.size();
    it.desk.hardware.replug("Speakers");
    it.desk.runFor(5.0);
    EXPECT_GT(ear.heard.size(), before);
    EXPECT_NEAR(ear.peak(2.0, 0, 2, 44100.0), 0.5F, 0.002F);
}
