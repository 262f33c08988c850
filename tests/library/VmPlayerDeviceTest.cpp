// Outputs that change, go away or were never there.
#include "audio/VmDevice.h"
#include "library/PlayerDesk.h"

namespace {
const std::vector<RehearsalDesk::Setting> once = {{"EndressPlayMode", false}};

SimulatedDevice other(double rate) {
    SimulatedDevice device = speakers(rate);
    device.name = device.uid = "Study";
    return device;
}
VmDevice& devicer(PlayerDesk& it) {
    return it.desk.controler->devicer();
}
const auto fiveSeconds = markedSamples(std::size_t{44100} * 2 * 5);
} // namespace

TEST(VmPlayerDevice, tellsThatThereIsNoOutput_whenPlayIsPressed) {
    PlayerDesk it(once, {countingInput()});
    const std::size_t before = it.alerts().size();
    it.play(it.write("five.aif", 44100.0, 2, fiveSeconds));
    EXPECT_FALSE(it.player().playButton().isOn());
    ASSERT_EQ(it.alerts().size(), before + 1);
    EXPECT_EQ(it.alerts().back(), "NoPlaybackSource");
    EXPECT_TRUE(it.logged("No playback device is exist."));
    it.desk.runFor(2.0);
    EXPECT_FALSE(it.player().playbacking());
}

TEST(VmPlayerDevice, stopsAndTells_whenTheOutputGoesWhilePlaying) {
    PlayerDesk it;
    it.play(it.write("five.aif", 44100.0, 2, fiveSeconds));
    it.desk.runFor(1.0);
    it.desk.hardware.unplug("Speakers");
    it.desk.runFor(0.5);
    EXPECT_FALSE(it.player().playButton().isOn());
    EXPECT_FALSE(it.player().playbacking());
    EXPECT_TRUE(it.happened("SomeErrorHappen: VmPlayer: sound output \"Speakers\" is gone."));
    ASSERT_FALSE(it.alerts().empty());
    EXPECT_EQ(it.alerts().back(), "PlayOutputGone");
    it.player().playButton().press(true);
    EXPECT_FALSE(it.player().playButton().isOn());
    EXPECT_EQ(it.alerts().back(), "NoPlaybackSource");
    it.desk.hardware.replug("Speakers");
    it.desk.runFor(0.5);
    it.player().playButton().press(true);
    EXPECT_TRUE(it.player().playButton().isOn());
    it.desk.runFor(6.0);
    EXPECT_FALSE(it.player().playButton().isOn());
    // A cycle's worth may be lost where the output went, nothing else is wrong.
    EXPECT_NEAR(static_cast<double>(it.sounds().size()), static_cast<double>(fiveSeconds.size()), 2048.0);
}

TEST(VmPlayerDevice, saysNothingOfAnOutputThatGoesWhileNothingIsPlayed) {
    PlayerDesk it;
    it.player().startPlayback(it.write("five.aif", 44100.0, 2, fiveSeconds));
    it.desk.hardware.unplug("Speakers");
    it.desk.runFor(1.0);
    EXPECT_TRUE(it.alerts().empty());
}

TEST(VmPlayerDevice, playsToTheNextOutput_whenTheChosenOneIsGone) {
    PlayerDesk it(once, {countingInput(), speakers(), other(48000.0)});
    it.desk.hardware.unplug("Speakers");
    it.desk.runFor(0.5);
    it.play(it.write("five.aif", 44100.0, 2, fiveSeconds));
    EXPECT_EQ(devicer(it).presentJapanPlaySourceName(), "Study");
    it.desk.runFor(6.0);
    EXPECT_NEAR(static_cast<double>(it.sounds().size()), 48000.0 * 2 * 5, 16.0);
}

TEST(VmPlayerDevice, tellsThatTheOutputCannotBeStarted) {
    PlayerDesk it;
    const std::string path = it.write("five.aif", 44100.0, 2, fiveSeconds);
    it.desk.hardware.setStartFailure(-50);
    it.play(path);
    EXPECT_FALSE(it.player().playButton().isOn());
    EXPECT_EQ(it.alerts().back(), "PlayOutputGone");
    it.desk.hardware.setStartFailure(0);
    it.player().playButton().press(true);
    it.desk.runFor(6.0);
    EXPECT_EQ(it.sounds().size(), fiveSeconds.size());
    EXPECT_EQ(wrongSounds(it.sounds(), fiveSeconds), 0U);
}

TEST(VmPlayerDevice, goesOnThroughTheOtherOutput_whenAnotherIsChosenWhilePlaying) {
    PlayerDesk it(once, {countingInput(), speakers(), other(22050.0)});
    it.play(it.write("mono.aif", 22050.0, 1, markedSamples(std::size_t{22050} * 10)));
    it.desk.runFor(2.0);
    it.heard.clear();
    devicer(it).changePlaySource(1);
    EXPECT_TRUE(it.player().playButton().isOn());
    const auto position = static_cast<std::size_t>(it.player().readPos() / 2);
    it.desk.runFor(2.0);
    const auto samples = markedSamples(std::size_t{22050} * 10);
    EXPECT_EQ(it.player().fastSize(), 1024); // 2 * 512 * 22050 / 22050
    EXPECT_GT(it.sounds().size(), std::size_t{22050} * 2 * 9 / 5);
    EXPECT_EQ(wrongSounds(it.sounds(), std::span(samples).subspan(position), 2), 0U);
    EXPECT_EQ(it.desk.defaults.integerForKey("PlaybackSourceDevice"), 1);
}

TEST(VmPlayerDevice, showsWhichOutputIsPlayedTo) {
    PlayerDesk it;
    EXPECT_EQ(it.player().playDevicePicture().image(), "LineOut.png");
    EXPECT_EQ(it.player().playDevicePicture().toolTip(), "Speakers");
    PlayerDesk none(once, {countingInput()});
    EXPECT_EQ(none.player().playDevicePicture().image(), "NoOutput.png");
}
