// What is heard of a recording, sample by sample.
#include "library/PlayerDesk.h"

#include <filesystem>

namespace {
using Settings = std::vector<RehearsalDesk::Setting>;
const Settings once = {{"EndressPlayMode", false}};
const Settings endless = {{"EndressPlayMode", true}};
} // namespace

TEST(VmPlayerPlayback, playsEverySampleOfAStereoFileOnce_acrossManyReads) {
    PlayerDesk it;
    const auto samples = markedSamples(std::size_t{44100} * 2 * 11);
    it.play(it.write("long.aif", 44100.0, 2, samples));
    EXPECT_TRUE(it.player().playbacking());
    EXPECT_EQ(it.player().playButton().image(), "StopButton.png");
    it.desk.runFor(12.0);
    ASSERT_EQ(it.sounds().size(), samples.size());
    EXPECT_EQ(wrongSounds(it.sounds(), samples), 0U);
    EXPECT_FALSE(it.player().playButton().isOn());
    EXPECT_FALSE(it.player().playbacking());
    EXPECT_EQ(it.player().playButton().image(), "PlayButton.png");
}

TEST(VmPlayerPlayback, playsEachSampleOfAMonoFileAtHalfTheRateFourTimes) {
    PlayerDesk it;
    const auto samples = markedSamples(std::size_t{22050} * 9 + 123);
    it.play(it.write("mono.aif", 22050.0, 1, samples));
    it.desk.runFor(10.0);
    ASSERT_EQ(it.sounds().size(), samples.size() * 4);
    EXPECT_EQ(wrongSounds(it.sounds(), samples, 4), 0U);
}

TEST(VmPlayerPlayback, neverSwapsChannels_whenAReadEndsInsideAFrame) {
    // Of 96000 Hz on 44100 Hz a read takes 1671836 bytes, of 48000 Hz 417958: half a frame too many.
    PlayerDesk it;
    std::vector<std::int16_t> samples(std::size_t{48000} * 2 * 9);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = i % 2 == 0 ? std::int16_t{1000} : std::int16_t{2000};
    it.play(it.write("fast.aif", 48000.0, 2, samples));
    it.desk.runFor(10.0);
    // Samples are stepped through one by one, so the sides mix within a read; but every read begins alike.
    EXPECT_NEAR(static_cast<double>(it.sounds().size()), 2 * 44100.0 * 9.0, 20.0);
    EXPECT_EQ(it.sounds()[0], 1000.0F / 32768.0F);
    EXPECT_EQ(it.player().fileReadPos() % 4, 0);
}

TEST(VmPlayerPlayback, isHeardWithinAHundredthOfASecondOfThePress) {
    PlayerDesk it;
    const auto samples = markedSamples(std::size_t{44100} * 2 * 5);
    const std::string path = it.write("first.aif", 44100.0, 2, samples);
    it.player().startPlayback(path);
    it.desk.runFor(3.3333);
    it.heard.clear();
    it.player().playButton().press(true);
    it.desk.runFor(0.1);
    ASSERT_FALSE(it.heard.empty());
    const auto silence = static_cast<std::size_t>(it.sounds().data() - it.heard.data()) / 2; // frames
    RecordProperty("framesFromPressToSound", static_cast<int>(silence));
    EXPECT_EQ(silence, 0U); // the first cycle after the press sounds, and a cycle is due every 12 ms
    EXPECT_GE(it.sounds().size(), std::size_t{2} * 7 * 512);
}

TEST(VmPlayerPlayback, goesOnFromTheHead_whenItIsEndless) {
    PlayerDesk it(endless);
    const auto samples = markedSamples(std::size_t{44100} * 2 * 3);
    it.play(it.write("round.aif", 44100.0, 2, samples));
    it.desk.runFor(7.5);
    EXPECT_TRUE(it.player().playButton().isOn());
    const auto sounds = it.sounds();
    ASSERT_GT(sounds.size(), samples.size() * 2);
    EXPECT_EQ(wrongSounds(sounds.first(samples.size()), samples), 0U);
    // Between the end and the next beginning lies the time in which the end is noticed.
    const auto rest = sounds.subspan(samples.size());
    const auto again = std::ranges::find_if(rest, [](float sample) { return sample != 0.0F; });
    EXPECT_LE(again - rest.begin(), 2 * 44100 * 0.25);
    const auto second = rest.subspan(static_cast<std::size_t>(again - rest.begin()));
    EXPECT_EQ(wrongSounds(second.first(std::min(second.size(), samples.size())), samples), 0U);
}

TEST(VmPlayerPlayback, endsAtOnce_whenAnEndlessFileHoldsNoSound) {
    PlayerDesk it(endless);
    it.play(it.write("empty.aif", 44100.0, 2, {}));
    it.desk.runFor(1.0);
    EXPECT_FALSE(it.player().playButton().isOn());
    EXPECT_TRUE(it.sounds().empty());
}

TEST(VmPlayerPlayback, stopsAndGoesOnWhereItStopped) {
    PlayerDesk it;
    const auto samples = markedSamples(std::size_t{44100} * 2 * 8);
    it.play(it.write("pause.aif", 44100.0, 2, samples));
    it.desk.runFor(2.5);
    it.player().playButton().press(false);
    const std::size_t before = it.heard.size();
    it.desk.runFor(5.0);
    EXPECT_EQ(it.heard.size(), before); // the output does not run for nothing
    it.player().playButton().press(true);
    it.desk.runFor(7.0);
    EXPECT_EQ(it.sounds().size(), samples.size());
    EXPECT_EQ(wrongSounds(it.sounds(), samples), 0U);
}

TEST(VmPlayerPlayback, startsAtTheHeadAgain_whenItStandsAtTheEnd) {
    PlayerDesk it;
    const auto samples = markedSamples(std::size_t{44100} * 2 * 2);
    it.play(it.write("again.aif", 44100.0, 2, samples));
    it.desk.runFor(4.0);
    it.heard.clear();
    it.player().playButton().press(true);
    it.desk.runFor(4.0);
    EXPECT_EQ(it.sounds().size(), samples.size());
    EXPECT_EQ(wrongSounds(it.sounds(), samples), 0U);
}

TEST(VmPlayerPlayback, doesNotHearThatTheMainThreadWasBusyForTwoSeconds) {
    PlayerDesk it;
    const auto samples = markedSamples(std::size_t{44100} * 2 * 16);
    it.play(it.write("busy.aif", 44100.0, 2, samples));
    for (int times = 0; times < 4; ++times) {
        it.desk.runFor(1.3);
        it.desk.clock.sleep(2.0); // no timer fires meanwhile
    }
    it.desk.runFor(6.0);
    EXPECT_EQ(it.sounds().size(), samples.size());
    EXPECT_EQ(wrongSounds(it.sounds(), samples), 0U);
}

TEST(VmPlayerPlayback, showsWhereItIs) {
    PlayerDesk it;
    it.play(it.write("place.aif", 44100.0, 2, markedSamples(std::size_t{44100} * 2 * 8)));
    EXPECT_EQ(it.player().pointSlider().maximum(), 44100 * 4 * 8);
    it.desk.runFor(3.05);
    EXPECT_NEAR(it.player().pointSlider().value(), 44100 * 4 * 3, 44100 * 4 * 0.2);
    EXPECT_EQ(it.player().readPos() % 2048, 0); // whole cycles
}

TEST(VmPlayerPlayback, playsOnOutputsOfOtherShapes) {
    const auto samples = markedSamples(std::size_t{44100} * 2 * 3);
    for (const std::uint32_t channels : {1U, 6U}) {
        PlayerDesk it(once, {countingInput(), speakers(44100.0, channels)});
        it.play(it.write("shape.aif", 44100.0, 2, samples));
        it.desk.runFor(4.0);
        const std::size_t frames = samples.size() / 2;
        ASSERT_GE(it.heard.size(), frames * channels);
        std::size_t wrong = 0;
        for (std::size_t frame = 0; frame < frames; ++frame) {
            const float left = static_cast<float>(samples[frame * 2]) / 32768.0F;
            const float right = static_cast<float>(samples[frame * 2 + 1]) / 32768.0F;
            const float* const at = &it.heard[frame * channels];
            wrong += channels == 1 ? at[0] != (left + right) * 0.5F
                                   : at[0] != left || at[1] != right || at[2] != 0.0F;
        }
        EXPECT_EQ(wrong, 0U) << channels;
    }
}

TEST(VmPlayerPlayback, goesOnWhenTheFileIsRemovedOrRenamed) {
    const auto samples = markedSamples(std::size_t{44100} * 2 * 8);
    for (const bool removed : {true, false}) {
        PlayerDesk it;
        const std::string path = it.write("gone.aif", 44100.0, 2, samples);
        it.play(path);
        it.desk.runFor(1.0);
        if (removed)
            std::filesystem::remove(path);
        else
            std::filesystem::rename(path, path + ".other");
        it.desk.runFor(9.0);
        EXPECT_EQ(wrongSounds(it.sounds(), samples), 0U);
        EXPECT_EQ(it.sounds().size(), samples.size());
    }
}

TEST(VmPlayerPlayback, endsWhereAFileIsCutWhilePlaying) {
    PlayerDesk it;
    const auto samples = markedSamples(std::size_t{44100} * 2 * 20);
    const std::string path = it.write("cut.aif", 44100.0, 2, samples);
    it.play(path);
    it.desk.runFor(1.0);
    std::filesystem::resize_file(path, 4096 + 44100 * 4 * 10);
    it.desk.runFor(20.0);
    EXPECT_EQ(it.sounds().size(), std::size_t{44100} * 2 * 10);
    EXPECT_EQ(wrongSounds(it.sounds(), samples), 0U);
    EXPECT_FALSE(it.player().playButton().isOn());
    EXPECT_EQ(it.player().numDatas(), 44100 * 4 * 10);
}

TEST(VmPlayerPlayback, playsTheOtherFile_whenOneWasPutInItsPlace) {
    PlayerDesk it;
    const std::string path = it.write("same.aif", 44100.0, 2, markedSamples(std::size_t{44100} * 2 * 2));
    it.player().startPlayback(path);
    auto other = markedSamples(std::size_t{22050} * 3);
    std::ranges::reverse(other);
    it.write("same.aif", 22050.0, 1, other);
    it.player().playButton().press(true);
    it.desk.runFor(4.0);
    EXPECT_EQ(it.sounds().size(), other.size() * 4);
    EXPECT_EQ(wrongSounds(it.sounds(), other, 4), 0U);
}

TEST(VmPlayerPlayback, keepsTheOutputGoing_untilTheLastSoundHasPassedIt) {
    PlayerDesk it;
    const auto samples = markedSamples(std::size_t{44100} * 2);
    it.play(it.write("end.aif", 44100.0, 2, samples));
    it.desk.runFor(3.0);
    EXPECT_FALSE(it.player().playButton().isOn());
    ASSERT_EQ(it.sounds().size(), samples.size());
    const auto after = it.heard.end() - (it.sounds().data() - it.heard.data() + it.heard.begin()) -
                       static_cast<std::ptrdiff_t>(samples.size());
    EXPECT_GE(after, 44100 * 2 / 5) << "less than the 0.2 s that an output may hold";
    EXPECT_LE(after, 44100 * 2 / 2);
}
