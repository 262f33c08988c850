#include "audio/KaConversionBuffer.h"

#include "audio/CrankedHardware.h"
#include "audio/CycleDuet.h"
#include "audio/KaCoreAudioDevice.h"
#include "audio/KaCoreAudioSystem.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <thread>

namespace {
using Samples = std::vector<float>;

std::unique_ptr<KaConversionBuffer> make(double sourceRate, unsigned sourceChannels, double destinationRate,
                                         unsigned destinationChannels, unsigned frames = 512) {
    return KaConversionBuffer::initWithSourceSampleRate(sourceRate, sourceChannels, frames, destinationRate,
                                                        destinationChannels, frames);
}

bool isSilent(const Samples& samples) {
    return std::ranges::all_of(samples, [](float sample) { return sample == 0.0F; });
}
} // namespace

TEST(KaConversionBufferTest, holdsOneCycleOfEachSideAndTheLookAhead) {
    EXPECT_EQ(make(44100, 2, 48000, 2)->audioBuffer().capacity(), 991U);
    EXPECT_EQ(make(44100, 2, 44100, 2)->audioBuffer().capacity(), 1024U);
    EXPECT_EQ(
        KaConversionBuffer::initWithSourceSampleRate(44100, 2, 100, 44100, 2, 512)->audioBuffer().capacity(),
        612U);
    EXPECT_EQ(KaConversionBuffer::numBufferFramesForSourceSampleRate(44100, 512, 471), 983U);
}

TEST(KaConversionBufferTest, isNotMade_fromUnusableNumbers) {
    EXPECT_EQ(make(44100, 0, 48000, 2), nullptr);
    EXPECT_EQ(make(44100, 2, 48000, 0), nullptr);
    EXPECT_EQ(make(44100, 2, 48000, 2, 0), nullptr);
    EXPECT_EQ(make(0, 2, 48000, 2), nullptr);
    EXPECT_EQ(make(44100, 2, 0, 2), nullptr);
    EXPECT_EQ(make(0, 2, 0, 2), nullptr);
    EXPECT_EQ(make(std::nan(""), 2, 48000, 2), nullptr);
    EXPECT_EQ(make(100, 2, 96000, 2), nullptr);
}

TEST(KaConversionBufferTest, feedsBothOutputsFromOneInput) {
    for (const double destinationRate : {44100.0, 48000.0}) {
        const auto buffer = make(44100, 1, destinationRate, 2);
        TestList in({1}, 512, 0.5F);
        TestList out({1, 1}, 256);
        buffer->writeFromAudioBufferList(in.list, nullptr);
        buffer->readToAudioBufferList(out.list, nullptr);
        EXPECT_EQ(out.samples[0], out.samples[1]);
        EXPECT_NEAR(out.samples[1].back(), 0.5F, 0.02F);
    }
}

TEST(KaConversionBufferTest, passesEqualRatesOnUntouched) {
    const auto buffer = make(44100, 2, 44100, 2);
    const auto sine = sineOf(440.0, 44100.0);
    TestList in({2}, 512);
    TestList out({2}, 512);
    for (std::uint64_t cycle = 0; cycle < 5; ++cycle) {
        sine(in, cycle * 512);
        buffer->writeFromAudioBufferList(in.list, nullptr);
        buffer->readToAudioBufferList(out.list, nullptr);
        EXPECT_EQ(out.samples[0], in.samples[0]);
    }
}

TEST(KaConversionBufferTest, keepsTheFirstChannels_whenTheDestinationHasFewer) {
    const auto buffer = make(44100, 3, 44100, 2, 2);
    TestList in({3}, 2);
    in.samples[0] = {1, 2, 3, 4, 5, 6};
    in.buffers[0].mData = in.samples[0].data();
    TestList out({2}, 2);
    buffer->writeFromAudioBufferList(in.list, nullptr);
    buffer->readToAudioBufferList(out.list, nullptr);
    EXPECT_EQ(out.samples[0], (Samples{1, 2, 4, 5}));
}

TEST(KaConversionBufferTest, leavesFurtherOutputsSilent_whenTheSourceHasFewerChannels) {
    for (const double destinationRate : {44100.0, 22050.0}) {
        const auto buffer = make(44100, 2, destinationRate, 3, 1024);
        TestList in({2}, 1024, 0.5F);
        TestList out({1, 1, 1}, 512, 9.0F);
        buffer->writeFromAudioBufferList(in.list, nullptr);
        buffer->readToAudioBufferList(out.list, nullptr);
        EXPECT_NEAR(out.samples[0].back(), 0.5F, 0.02F);
        EXPECT_NEAR(out.samples[1].back(), 0.5F, 0.02F);
        EXPECT_TRUE(isSilent(out.samples[2]));
    }
}

TEST(KaConversionBufferTest, appliesAGainToEachOutput) {
    const auto buffer = make(44100, 1, 44100, 2);
    EXPECT_EQ(buffer->gainForOutputChannel(1), 1.0F);
    buffer->setGain(0.25F, 1);
    EXPECT_EQ(buffer->gainForOutputChannel(1), 0.25F);
    TestList in({1}, 512, 0.5F);
    TestList out({1, 1}, 512);
    buffer->writeFromAudioBufferList(in.list, nullptr);
    buffer->readToAudioBufferList(out.list, nullptr);
    EXPECT_EQ(out.samples[0], Samples(512, 0.5F));
    EXPECT_EQ(out.samples[1], Samples(512, 0.125F));
}

TEST(KaConversionBufferTest, ignoresTheGainOfAnOutputThatDoesNotExist) {
    const auto buffer = make(44100, 1, 44100, 2);
    EXPECT_EQ(buffer->gainForOutputChannel(2), 0.0F);
    buffer->setGain(0.5F, 2);
    EXPECT_EQ(buffer->gainForOutputChannel(2), 0.0F);
    EXPECT_EQ(buffer->gainForOutputChannel(0), 1.0F);
    EXPECT_EQ(buffer->gainForOutputChannel(1), 1.0F);
}

TEST(KaConversionBufferTest, takesARateScalarOfAtMostOnePercent) {
    AudioTimeStamp stamp;
    stamp.mRateScalar = 1.5;
    stamp.mFlags = AudioTimeStamp::rateScalarValid;
    EXPECT_EQ(KaConversionBuffer::fudgeFactorFromTimeStamp(&stamp), 1.01);
    stamp.mRateScalar = 0.5;
    EXPECT_EQ(KaConversionBuffer::fudgeFactorFromTimeStamp(&stamp), 0.9900990099009901);
    stamp.mRateScalar = 1.001;
    EXPECT_EQ(KaConversionBuffer::fudgeFactorFromTimeStamp(&stamp), 1.001);
    stamp.mRateScalar = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(KaConversionBuffer::fudgeFactorFromTimeStamp(&stamp), 1.0);
    stamp.mRateScalar = 1.5;
    stamp.mFlags = AudioTimeStamp::hostTimeValid;
    EXPECT_EQ(KaConversionBuffer::fudgeFactorFromTimeStamp(&stamp), 1.0);
    EXPECT_EQ(KaConversionBuffer::fudgeFactorFromTimeStamp(nullptr), 1.0);

    const auto buffer = make(44100, 1, 44100, 1);
    TestList in({1}, 100);
    stamp = {.mRateScalar = 1.5, .mFlags = AudioTimeStamp::rateScalarValid};
    buffer->writeFromAudioBufferList(in.list, &stamp);
    EXPECT_EQ(buffer->audioBuffer().rateScalar(), 1.01);
}

TEST(KaConversionBufferTest, isSilentAndKeepsTheFrames_whenThereAreTooFew) {
    for (const double destinationRate : {44100.0, 48000.0}) {
        const auto buffer = make(44100, 2, destinationRate, 2);
        TestList in({2}, 400, 0.5F);
        TestList out({2}, 512, 9.0F);
        buffer->writeFromAudioBufferList(in.list, nullptr);
        buffer->readToAudioBufferList(out.list, nullptr);
        EXPECT_TRUE(isSilent(out.samples[0]));
        EXPECT_EQ(buffer->audioBuffer().count(), 400U);
        buffer->writeFromAudioBufferList(in.list, nullptr);
        buffer->readToAudioBufferList(out.list, nullptr);
        EXPECT_FALSE(isSilent(out.samples[0]));
        EXPECT_LT(buffer->audioBuffer().count(), 400U);
    }
}

TEST(KaConversionBufferTest, dropsWhatDoesNotFit) {
    const auto buffer = make(44100, 2, 48000, 2);
    TestList in({2}, 512, 0.5F);
    buffer->writeFromAudioBufferList(in.list, nullptr);
    buffer->writeFromAudioBufferList(in.list, nullptr);
    EXPECT_EQ(buffer->audioBuffer().count(), 991U);
}

TEST(KaConversionBufferTest, fillsNoMoreThanItsLargestCycle) {
    const auto buffer = make(44100, 1, 44100, 1, 4);
    TestList in({1}, 8, 0.5F);
    TestList out({1}, 6, 9.0F);
    buffer->writeFromAudioBufferList(in.list, nullptr);
    buffer->readToAudioBufferList(out.list, nullptr);
    EXPECT_EQ(out.samples[0], (Samples{0.5F, 0.5F, 0.5F, 0.5F, 9.0F, 9.0F}));
    EXPECT_EQ(buffer->audioBuffer().count(), 4U);
}

TEST(KaConversionBufferTest, takesExactlyTheFramesThatTheOutputNeeds) {
    for (const auto& [from, to] : {std::pair{44100.0, 48000.0},
                                   {48000.0, 44100.0},
                                   {8000.0, 44100.0},
                                   {96000.0, 8000.0},
                                   {44100.0, 44099.3}}) {
        const auto buffer = make(from, 1, to, 1);
        TestList in({1}, 1, 0.5F);
        TestList out({1}, 512);
        std::uint64_t written = 0;
        for (std::uint64_t cycle = 1; cycle <= 300; ++cycle) {
            const auto needed =
                static_cast<std::uint64_t>(std::floor(static_cast<double>(cycle * 512) * from / to));
            while (written < needed) {
                buffer->writeFromAudioBufferList(in.list, nullptr);
                ++written;
            }
            buffer->readToAudioBufferList(out.list, nullptr);
            ASSERT_EQ(buffer->audioBuffer().count(), 0U) << from << " to " << to << ", cycle " << cycle;
        }
        EXPECT_NEAR(out.samples[0].back(), 0.5F, 1e-4F);
    }
}

TEST(KaConversionBufferTest, delaysAClickByAFewMilliseconds) {
    const auto buffer = make(48000, 1, 44100, 1, 1024);
    TestList in({1}, 1024);
    in.samples[0][100] = 1.0F;
    TestList out({1}, 512);
    buffer->writeFromAudioBufferList(in.list, nullptr);
    buffer->readToAudioBufferList(out.list, nullptr);
    const auto peak = std::ranges::max_element(out.samples[0]) - out.samples[0].begin();
    const double delay = static_cast<double>(peak) / 44100.0 - 100.0 / 48000.0;
    EXPECT_GT(delay, 0.0);
    EXPECT_LT(delay, 0.004);
}

TEST(KaConversionBufferThreadTest, carriesFramesBetweenTwoThreads) {
    const auto buffer = make(44100, 2, 48000, 2);
    std::atomic<bool> ended{false};
    std::thread source([&] {
        TestList in({2}, 512, 0.5F);
        for (int cycle = 0; cycle < 300; ++cycle) {
            const RealtimeScope scope;
            buffer->writeFromAudioBufferList(in.list, nullptr);
            buffer->setGain(cycle % 2 == 0 ? 1.0F : 0.5F, 0);
        }
        ended = true;
    });
    TestList out({2}, 512);
    float loudest = 0.0F;
    unsigned cycles = 0;
    while (!ended || cycles < 100) {
        {
            const RealtimeScope scope;
            buffer->readToAudioBufferList(out.list, nullptr);
        }
        for (const float sample : out.samples[0])
            loudest = std::max(loudest, std::abs(sample));
        ++cycles;
    }
    source.join();
    EXPECT_GT(loudest, 0.4F);
    EXPECT_LT(loudest, 0.8F); // edges of silence ring
}

TEST(KaConversionBufferDeviceTest, isMadeFromTwoDevicesOfCanonicalFormat) {
    CrankedHardware hardware;
    const auto native = KaCoreAudioStreamDescription::nativeStreamDescription().basicDescription();
    hardware.table[1].channels[AudioDirection::input] = {1, 1};
    hardware.table[1].format = native;
    hardware.table[1].bufferFrames = 512;
    hardware.table[2].channels[AudioDirection::output] = {2};
    hardware.table[2].format = native;
    hardware.table[2].rate = 48000.0;
    hardware.table[2].bufferFrames = 256;
    KaCoreAudioSystem system(hardware);
    KaCoreAudioDevice source(system, 1);
    KaCoreAudioDevice destination(system, 2);
    const auto buffer = KaConversionBuffer::initWithSourceDevice(source, destination);
    ASSERT_TRUE(buffer);
    // 512 and 256 frames with 1 % more are 518 and 259; of the latter, 237.95 are needed at the source's rate.
    EXPECT_EQ(buffer->audioBuffer().capacity(), 518U + 238U + 8U);
    EXPECT_EQ(buffer->audioBuffer().channels(), 2U);
    EXPECT_EQ(buffer->gainForOutputChannel(1), 1.0F);
    EXPECT_EQ(buffer->gainForOutputChannel(2), 0.0F);

    hardware.table[2].format.mBitsPerChannel = 16;
    EXPECT_EQ(KaConversionBuffer::initWithSourceDevice(source, destination), nullptr);
    hardware.table[2].format = native;
    hardware.table[1].format.mFormatFlags = 12;
    EXPECT_EQ(KaConversionBuffer::initWithSourceDevice(source, destination), nullptr);
    // The other direction of a device is of no account.
    hardware.table[1].channels[AudioDirection::input].clear();
    EXPECT_EQ(KaConversionBuffer::initWithSourceDevice(source, destination), nullptr);
}
