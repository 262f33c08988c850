// Head, tail, back, fast and the slider.
#include "library/PlayerDesk.h"

namespace {
constexpr int second = 44100 * 4; // bytes

/// Eight seconds of stereo are open, not played.
class OpenDesk : public PlayerDesk {
public:
    OpenDesk() { player().startPlayback(write("eight.aif", 44100.0, 2, samples)); }
    Slider& slider() { return player().pointSlider(); }
    void moveTo(std::int64_t position) {
        slider().move(static_cast<int>(position));
        slider().move(static_cast<int>(position)); // the mouse button is let go
    }
    const std::vector<std::int16_t> samples = markedSamples(std::size_t{44100} * 2 * 8);
};
} // namespace

TEST(VmPlayerPosition, fallsOnWholeFrames) {
    PlayerDesk it;
    it.player().startPlayback(it.write("mono.aif", 22050.0, 1, markedSamples(100)));
    EXPECT_EQ(it.player().adjustReadPosition(7), 6);
    EXPECT_EQ(it.player().adjustReadPosition(-7), -6);
    it.player().startPlayback(it.write("stereo.aif", 22050.0, 2, markedSamples(100)));
    EXPECT_EQ(it.player().adjustReadPosition(7), 4);
    EXPECT_EQ(it.player().adjustReadPosition(-7), -4);
}

TEST(VmPlayerPosition, isTheWholeFile_withoutASelection) {
    OpenDesk it;
    EXPECT_EQ(it.player().headPosition(), 0);
    EXPECT_EQ(it.player().tailPosition(), 8 * second);
    EXPECT_EQ(it.player().selectedLength(), 8 * second);
}

TEST(VmPlayerPosition, stepsByBuffersOfTheDevice) {
    OpenDesk it;
    EXPECT_EQ(it.player().fastSize(), 2048); // 2 * 512 frames * (2 * 44100) / 44100
    it.player().startPlayback(it.write("mono.aif", 22050.0, 1, markedSamples(100)));
    EXPECT_EQ(it.player().fastSize(), 512);
}

TEST(VmPlayerPosition, goesBackOneBufferMoreThanForwards) {
    OpenDesk it;
    it.moveTo(4 * second);
    it.player().fastButton().press(true);
    EXPECT_EQ(it.slider().value(), 4 * second + 10 * 2048);
    EXPECT_EQ(it.player().readPos(), 4 * second + 10 * 2048);
    EXPECT_TRUE(it.player().fastButton().isOn());
    it.player().backButton().press(false);
    EXPECT_EQ(it.slider().value(), 4 * second - 2048);
    EXPECT_TRUE(it.player().backButton().isOn());
}

TEST(VmPlayerPosition, staysWithinTheSlider) {
    OpenDesk it;
    it.moveTo(100);
    it.player().backButton().press(true);
    EXPECT_EQ(it.player().readPos(), 0);
    it.moveTo(8 * second - 100);
    it.player().fastButton().press(true);
    EXPECT_EQ(it.player().readPos(), 8 * second);
}

TEST(VmPlayerPosition, goesToHeadAndTail) {
    OpenDesk it;
    it.player().tailButton().press(true);
    EXPECT_EQ(it.player().readPos(), 8 * second);
    EXPECT_FALSE(it.player().tailButton().isOn());
    it.player().headButton().press(true);
    EXPECT_EQ(it.player().readPos(), 0);
    it.player().headButton().press(true); // there already: nothing is done, not even to the button
    EXPECT_TRUE(it.player().headButton().isOn());
}

TEST(VmPlayerPosition, isHeardFromTheNewPlaceAtOnce_whenItIsMovedWhilePlaying) {
    OpenDesk it;
    it.player().playButton().press(true);
    it.desk.runFor(1.0);
    it.heard.clear();
    it.moveTo(5 * second);
    it.desk.runFor(1.0);
    const auto from = std::span(it.samples).subspan(std::size_t{44100} * 2 * 5);
    EXPECT_GT(it.sounds().size(), std::size_t{44100} * 2 * 9 / 10);
    EXPECT_EQ(wrongSounds(it.sounds(), from), 0U);
}

TEST(VmPlayerPosition, isSilentWhileTheSliderIsDragged) {
    OpenDesk it;
    it.player().playButton().press(true);
    it.desk.runFor(1.0);
    it.heard.clear();
    it.slider().move(2 * second);
    it.desk.runFor(0.5);
    it.slider().move(3 * second + 7);
    it.desk.runFor(0.5);
    EXPECT_TRUE(it.heard.empty());
    EXPECT_TRUE(it.player().playButton().isOn());
    EXPECT_EQ(it.slider().value(), 3 * second + 4);
    it.slider().move(3 * second + 7);
    it.desk.runFor(0.5);
    EXPECT_EQ(wrongSounds(it.sounds(), std::span(it.samples).subspan(std::size_t{44100} * 2 * 3 + 2)), 0U);
    EXPECT_FALSE(it.sounds().empty());
}

TEST(VmPlayerPosition, playsTheEndOnce_afterAJumpBackFromWhatWasReadAhead) {
    OpenDesk it; // all of it is read after six seconds
    it.player().playButton().press(true);
    it.desk.runFor(7.0);
    it.moveTo(2 * second);
    it.heard.clear();
    it.desk.runFor(7.5);
    EXPECT_EQ(it.sounds().size(), std::size_t{44100} * 2 * 6);
    EXPECT_EQ(wrongSounds(it.sounds(), std::span(it.samples).subspan(std::size_t{44100} * 2 * 2)), 0U);
}

TEST(VmPlayerPosition, keepsTheTwoStepControlsEqualAndStored) {
    OpenDesk it;
    EXPECT_EQ(it.player().stepFast(), 10);
    it.player().stepFastField().enter("25.9");
    EXPECT_EQ(it.player().stepFast(), 25);
    EXPECT_EQ(it.player().stepFastStepper().value(), 25);
    EXPECT_EQ(it.player().stepFastField().text(), "25");
    EXPECT_EQ(it.desk.defaults.doubleForKey("StepFast"), 25.0);
    it.player().stepFastStepper().move(26);
    EXPECT_EQ(it.player().stepFastField().text(), "26");
    it.player().stepFastField().enter("many");
    EXPECT_EQ(it.player().stepFast(), 26);
    it.player().stepFastField().enter("1e99");
    EXPECT_EQ(it.player().stepFast(), it.player().stepFastStepper().maximum());
}

TEST(VmPlayerPosition, takesTheEndlessCheckAtOnce) {
    OpenDesk it;
    EXPECT_FALSE(it.player().endlessPlay());
    it.player().endlessCheck().press(true);
    EXPECT_TRUE(it.player().endlessPlay());
    it.player().saveUserDefaults();
    EXPECT_TRUE(it.desk.defaults.boolForKey("EndressPlayMode"));
}
