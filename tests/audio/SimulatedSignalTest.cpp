#include "audio/hardware/simulated/SimulatedSignal.h"

#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace {
using Kind = SimulatedSegment::Kind;

std::vector<float> render(const SimulatedSignal& signal, std::uint32_t channels, std::uint64_t first,
                          std::uint32_t count) {
    std::vector<float> frames(std::size_t{count} * channels, -9.0F);
    signal.render(first, count, frames.data());
    return frames;
}

SimulatedSignal signalOf(SimulatedSegment segment, std::uint32_t channels = 2, double rate = 44100.0) {
    return {{std::move(segment)}, channels, rate};
}

/// The number that 16-bit conversion makes of a counter sample.
int number(float sample) {
    return static_cast<int>(static_cast<double>(sample) * 32767.0);
}
} // namespace

TEST(SimulatedSignalTest, countsFrames) {
    const SimulatedSignal signal = signalOf({.kind = Kind::counter});
    const std::uint64_t day = 86400ULL * 44100;
    for (const std::uint64_t first :
         {std::uint64_t{0}, std::uint64_t{32760}, std::uint64_t{32767} * 32767 - 8, day}) {
        const auto frames = render(signal, 2, first, 16);
        for (std::uint64_t i = 0; i < 16; ++i) {
            const std::uint64_t low = (first + i) % 32767;
            const std::uint64_t high = (first + i) / 32767 % 32767;
            EXPECT_EQ(frames[2 * i], static_cast<float>((static_cast<double>(low) + 0.5) / 32767.0));
            EXPECT_EQ(frames[2 * i + 1], static_cast<float>((static_cast<double>(high) + 0.5) / 32767.0));
            EXPECT_EQ(number(frames[2 * i]), static_cast<int>(low));
            EXPECT_EQ(number(frames[2 * i + 1]), static_cast<int>(high));
        }
    }
}

TEST(SimulatedSignalTest, givesEveryNumberOfTheCounterBack) {
    const SimulatedSignal signal = signalOf({.kind = Kind::counter}, 1);
    const auto frames = render(signal, 1, 0, 32767);
    for (int k = 0; k < 32767; ++k) {
        ASSERT_EQ(number(frames[static_cast<std::size_t>(k)]), k);
        ASSERT_EQ(frames[static_cast<std::size_t>(k)], static_cast<float>((k + 0.5) / 32767.0));
    }
}

TEST(SimulatedSignalTest, isTheSameInAnyPieces) {
    const auto loop = std::make_shared<const std::vector<float>>(std::vector<float>{0.1F, 0.2F, 0.3F});
    for (const SimulatedSegment& segment :
         {SimulatedSegment{.kind = Kind::sine, .level = 0.5, .frequency = 440.0},
          SimulatedSegment{.kind = Kind::noise, .level = 0.25, .seed = 7},
          SimulatedSegment{.kind = Kind::counter}, SimulatedSegment{.kind = Kind::speech},
          SimulatedSegment{.kind = Kind::file, .samples = loop}}) {
        const SimulatedSignal signal = signalOf(segment);
        const auto whole = render(signal, 2, 123'456'700, 1000);
        std::vector<float> pieces;
        for (std::uint32_t at = 0, size = 1; at < 1000; at += size, size = size % 97 + 13) {
            const auto piece = render(signal, 2, 123'456'700 + at, std::min(size, 1000 - at));
            pieces.insert(pieces.end(), piece.begin(), piece.end());
        }
        EXPECT_EQ(whole, pieces);
    }
}

TEST(SimulatedSignalTest, playsASineWithoutDrift) {
    const SimulatedSignal signal = signalOf({.kind = Kind::sine, .level = 0.5, .frequency = 441.0}, 1);
    // 441 Hz repeats every 100 frames, also after thirty days.
    const std::uint64_t late = 30ULL * 86400 * 44100;
    const auto frames = render(signal, 1, late, 300);
    for (std::size_t i = 0; i < 300; ++i)
        EXPECT_NEAR(frames[i], 0.5 * std::sin(2.0 * std::numbers::pi * static_cast<double>(i) / 100.0), 1e-6);
}

TEST(SimulatedSignalTest, changesSegmentsAtTheirFrames) {
    const SimulatedSignal signal({{.at = 2.0, .kind = Kind::silence},
                                  {.at = 0.5, .kind = Kind::constant, .level = 0.25},
                                  {.at = 1.0, .kind = Kind::constant, .level = -0.5}},
                                 2, 10.0);
    const auto frames = render(signal, 2, 3, 20);
    for (std::size_t i = 0; i < 20; ++i) {
        const std::size_t frame = i + 3;
        const float expected = frame < 5 || frame >= 20 ? 0.0F : frame < 10 ? 0.25F : -0.5F;
        EXPECT_EQ(frames[2 * i], expected) << frame;
        EXPECT_EQ(frames[2 * i + 1], expected) << frame;
    }
}

TEST(SimulatedSignalTest, spreadsNoiseEvenlyOverItsLevel) {
    const SimulatedSignal signal = signalOf({.kind = Kind::noise, .level = 0.5, .seed = 1});
    const auto frames = render(signal, 2, 0, 50'000);
    double sum = 0.0;
    double power = 0.0;
    double together = 0.0;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        ASSERT_LE(std::abs(frames[i]), 0.5F);
        sum += frames[i];
        power += static_cast<double>(frames[i]) * frames[i];
        if (i % 2 == 1)
            together += static_cast<double>(frames[i]) * frames[i - 1];
    }
    EXPECT_NEAR(sum / 1e5, 0.0, 0.005);
    EXPECT_NEAR(power / 1e5, 0.25 / 3.0, 0.002);
    EXPECT_NEAR(together / 5e4, 0.0, 0.002);
    EXPECT_NE(frames, render(signalOf({.kind = Kind::noise, .level = 0.5, .seed = 2}), 2, 0, 50'000));
}

TEST(SimulatedSignalTest, playsSamplesFromTheSegmentsBegin) {
    const auto samples =
        std::make_shared<const std::vector<float>>(std::vector<float>{0.1F, -0.1F, 0.2F, -0.2F, 0.3F, -0.3F});
    SimulatedSegment segment{.at = 1.0, .kind = Kind::file, .samples = samples, .sampleChannels = 2};
    EXPECT_EQ(render(signalOf(segment, 2, 10.0), 2, 9, 5),
              (std::vector<float>{0, 0, 0.1F, -0.1F, 0.2F, -0.2F, 0.3F, -0.3F, 0.1F, -0.1F}));
    segment.looped = false;
    EXPECT_EQ(render(signalOf(segment, 3, 10.0), 3, 11, 3),
              (std::vector<float>{0.2F, -0.2F, -0.2F, 0.3F, -0.3F, -0.3F, 0, 0, 0}));
    segment.samples = nullptr;
    segment.looped = true;
    EXPECT_EQ(render(signalOf(segment, 1, 10.0), 1, 11, 2), (std::vector<float>{0, 0}));
}

TEST(SimulatedSignalTest, speaksInBurstsWithPauses) {
    for (const double rate : {8000.0, 44100.0}) {
        const auto seconds = static_cast<std::uint32_t>(rate);
        const auto voice = render(signalOf({.kind = Kind::speech}, 1, rate), 1, 0, 20 * seconds);
        float loudest = 0.0F;
        unsigned silentTenths = 0;
        unsigned voicedTenths = 0;
        for (std::size_t tenth = 0; tenth < 200; ++tenth) {
            float peak = 0.0F;
            for (std::size_t i = tenth * seconds / 10; i < (tenth + 1) * seconds / 10; ++i)
                peak = std::max(peak, std::abs(voice[i]));
            loudest = std::max(loudest, peak);
            silentTenths += peak == 0.0F ? 1 : 0;
            voicedTenths += peak >= 0.25F ? 1 : 0;
        }
        EXPECT_LE(loudest, 0.6F);
        EXPECT_GE(loudest, 0.5F);
        EXPECT_GT(silentTenths, 20U);
        EXPECT_GT(voicedTenths, 50U);
    }
}
