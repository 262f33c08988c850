// What a file's samples become on their way to the output.
#include "library/SoundTransform.h"

#include <gtest/gtest.h>
#include <numeric>
#include <vector>

namespace {
std::vector<std::int16_t> rising(std::size_t count) {
    std::vector<std::int16_t> samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<std::int16_t>(i % 30000);
    return samples;
}
constexpr float scale = 1.0F / 32768.0F;
} // namespace

TEST(ReadPlan, readsTwoSecondsOfAStereoFileAtTheDevicesRate) {
    const ReadPlan plan = ReadPlan::make(44100.0F, 2, 44100.0);
    EXPECT_EQ(plan.readSize, 352800);
    EXPECT_EQ(plan.neededSpace, 705600);
}

TEST(ReadPlan, readsTwoSecondsOfAMonoFileAtHalfTheDevicesRate) {
    const ReadPlan plan = ReadPlan::make(22050.0F, 1, 44100.0);
    EXPECT_EQ(plan.readSize, 88200);
    EXPECT_EQ(plan.neededSpace, 705600);
}

TEST(ReadPlan, readsMoreOfAFileThatHasMoreSamplesThanTheDevicePlays) {
    // Factor 2 / 2 / (96000 / 44100) = 0.459375: 768000 / 0.459375 = 1671836.7.
    const ReadPlan plan = ReadPlan::make(96000.0F, 2, 44100.0);
    EXPECT_EQ(plan.readSize, 1671836);
    EXPECT_EQ(plan.neededSpace, 1535999);
}

TEST(ReadPlan, readsNothingThatCannotBePlayed) {
    for (const int channels : {0, 3})
        EXPECT_EQ(ReadPlan::make(44100.0F, channels, 44100.0).readSize, 0);
    EXPECT_EQ(ReadPlan::make(0.0F, 2, 44100.0).readSize, 0);
    EXPECT_EQ(ReadPlan::make(44100.0F, 2, 0.0).readSize, 0);
}

TEST(SoundTransform, writesOneFloatMore_takenFromTheSampleAfterTheData) {
    const std::vector<std::int16_t> samples = rising(176401);
    std::vector<float> floats(176402);
    EXPECT_EQ(SoundTransform::transformSoundData(samples.data(), floats.data(), 352800, 1.0, 2), 176401U);
    for (std::size_t i = 0; i <= 176400; ++i)
        ASSERT_EQ(floats[i], static_cast<float>(samples[i]) * scale) << i;
    EXPECT_EQ(SoundTransform::floats(352800, 1.0, 2), 176400U); // the data's own
}

TEST(SoundTransform, writesEachSampleOfMonoAtHalfTheRateFourTimes) {
    const std::vector<std::int16_t> samples = rising(44101);
    std::vector<float> floats(176402);
    EXPECT_EQ(SoundTransform::transformSoundData(samples.data(), floats.data(), 88200, 0.5, 1), 176402U);
    for (std::size_t i = 0; i < 176400; ++i)
        ASSERT_EQ(floats[i], static_cast<float>(samples[i / 4]) * scale) << i;
    EXPECT_EQ(SoundTransform::floats(88200, 0.5, 1), 176400U);
}

TEST(SoundTransform, stepsThroughStereoSampleBySample) {
    const std::vector<std::int16_t> samples = {10, 20, 30, 40, 0};
    std::vector<float> floats(10);
    EXPECT_EQ(SoundTransform::transformSoundData(samples.data(), floats.data(), 8, 0.5, 2), 9U);
    const std::vector<std::int16_t> expected = {10, 10, 20, 20, 30, 30, 40, 40, 0};
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(floats[i], static_cast<float>(expected[i]) * scale) << i;
}

TEST(SoundTransform, leavesNoFrameOut_whereTheRatioOfTheRatesIsNoRoundNumber) {
    // Two seconds each; 96000 / (48000 / 44100) comes out a little below 88200.
    for (const double rate : {8000.0, 11025.0, 22050.0, 32000.0, 48000.0, 96000.0})
        for (const double device : {8000.0, 44100.0, 48000.0, 96000.0, 192000.0}) {
            const auto size = static_cast<std::int64_t>(rate * 4);
            const unsigned floats = SoundTransform::floats(size, rate / device, 1);
            EXPECT_EQ(floats, static_cast<unsigned>(device * 4)) << rate << " on " << device;
            std::vector<std::int16_t> samples(static_cast<std::size_t>(size / 2) + 1);
            std::vector<float> to(floats + 2);
            EXPECT_GE(SoundTransform::transformSoundData(samples.data(), to.data(), size, rate / device, 1),
                      floats);
        }
}

TEST(SoundTransform, scalesTheWholeRangeOfSamples) {
    const std::vector<std::int16_t> samples = {-32768, 32767, 0};
    std::vector<float> floats(4);
    EXPECT_EQ(SoundTransform::transformSoundData(samples.data(), floats.data(), 4, 1.0, 2), 3U);
    EXPECT_EQ(floats[0], -1.0F);
    EXPECT_EQ(floats[1], 32767.0F / 32768.0F);
}

TEST(SoundTransform, neverLooksFurtherThanOneSampleBehindTheData) {
    // The sample after the data alone is 1: no other place may be found beyond it, whatever the rates add up
    // to.
    for (const double rate : {8000.0, 11025.0, 22050.0, 44100.0, 48000.0, 96000.0})
        for (const int channels : {1, 2}) {
            const double ratio = rate / 44100.0;
            std::vector<std::int16_t> samples(4000 + 1, 0);
            samples.back() = 32767;
            std::vector<float> floats(SoundTransform::floats(8000, ratio, channels) + 4, -2.0F);
            const unsigned count =
                SoundTransform::transformSoundData(samples.data(), floats.data(), 8000, ratio, channels);
            ASSERT_LE(count, SoundTransform::floats(8000, ratio, channels) + 2);
            for (unsigned i = 0; i < SoundTransform::floats(8000, ratio, channels); ++i)
                ASSERT_EQ(floats[i], 0.0F) << rate << " " << channels << " " << i;
            EXPECT_EQ(floats[count], -2.0F);
        }
}
