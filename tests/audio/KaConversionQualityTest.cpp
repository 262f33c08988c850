#include "audio/CycleDuet.h"
#include "audio/SineAnalysis.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <random>

namespace {
using Samples = std::vector<float>;

constexpr double frequency = 1000.0;
constexpr std::size_t window = 65536;
/// Seconds after which cycles of different lengths have found their places in a ring of the least size.
constexpr double startUp = 2.0;

/// Prints a measured figure and keeps it in the test's report.
void report(const std::string& figure, double value, const char* unit) {
    std::printf("[ MEASURED ] %s: %.3f %s\n", figure.c_str(), value, unit);
    testing::Test::RecordProperty(figure, std::to_string(value) + " " + unit);
}

std::string nameOf(CycleSide from, CycleSide to) {
    return std::to_string(from.rate) + " Hz x" + std::to_string(from.channels) + " to " +
           std::to_string(to.rate) + " Hz x" + std::to_string(to.channels);
}

/// The first `window` samples of output channel `channel` from here on.
Samples listen(CycleDuet& duet, double rate, CycleDuet::Fill fill, std::uint32_t channel = 0) {
    Samples heard;
    duet.runUntil(duet.now() + static_cast<double>(window) / rate, fill,
                  [&](const TestList& list, std::uint64_t) {
                      const Samples cycle = list.channel(channel);
                      heard.insert(heard.end(), cycle.begin(), cycle.end());
                  });
    heard.resize(window);
    return heard;
}

class KaConversionQualityTest : public testing::TestWithParam<std::pair<CycleSide, CycleSide>> {
protected:
    const CycleSide from = GetParam().first;
    const CycleSide to = GetParam().second;
    const double inRate = static_cast<double>(from.rate);
    const double outRate = static_cast<double>(to.rate);
    const std::string name = nameOf(from, to);
};
} // namespace

INSTANTIATE_TEST_SUITE_P(Rates, KaConversionQualityTest,
                         testing::Values(std::pair(CycleSide{44100}, CycleSide{48000}),
                                         std::pair(CycleSide{48000}, CycleSide{44100}),
                                         std::pair(CycleSide{44100, 1}, CycleSide{48000, 2}),
                                         std::pair(CycleSide{48000, 2}, CycleSide{44100, 1})));

TEST_P(KaConversionQualityTest, addsLessThan120DecibelsBelowASine) {
    CycleDuet duet(from, to);
    const auto sine = sineOf(frequency, inRate);
    duet.runUntil(startUp, sine);
    for (std::uint32_t channel = 0; channel < to.channels; ++channel) {
        const SineAnalysis found = analyseSine(listen(duet, outRate, sine, channel), frequency, outRate);
        EXPECT_NEAR(found.amplitude, 0.5, 1e-5);
        EXPECT_LT(found.rest, -120.0);
        const std::string output = name + ", output " + std::to_string(channel + 1);
        report(output + ", all but the sine", found.rest, "dB");
        report(output + ", its loudest line", found.loudestLine, "dB");
    }
    EXPECT_LT(duet.lastDrop, startUp);
    EXPECT_LT(duet.lastUnderrun, startUp);
}

TEST_P(KaConversionQualityTest, appliesAGainWithoutHarm) {
    CycleDuet duet(from, to);
    const auto sine = sineOf(frequency, inRate);
    const std::uint32_t last = to.channels - 1;
    duet.buffer->setGain(0.25F, last);
    duet.runUntil(startUp, sine);
    const SineAnalysis found = analyseSine(listen(duet, outRate, sine, last), frequency, outRate);
    EXPECT_NEAR(found.amplitude, 0.125, 1e-5);
    EXPECT_LT(found.rest, -120.0);
}

TEST_P(KaConversionQualityTest, delaysByTheCyclesAndAFewMilliseconds) {
    constexpr double slow = 10.0; // Hz: its phase tells delays of up to 0.1 s
    CycleDuet duet(from, to);
    const auto sine = sineOf(slow, inRate);
    duet.runUntil(startUp, sine);
    const double begin = duet.now();
    const double phase = analyseSine(listen(duet, outRate, sine), slow, outRate).phase;
    // A frame is heard one cycle after its place in the output, at the earliest.
    const double delay = begin + to.frames / outRate - phase / (2.0 * std::numbers::pi * slow);
    const double folded = delay - std::floor(delay * slow) / slow;
    report(name + ", delay of cycles, ring and resampler", folded * 1000.0, "ms");
    const double longest = duet.buffer->audioBuffer().capacity() / inRate + to.frames / outRate + 0.004;
    EXPECT_GT(folded, from.frames / inRate);
    EXPECT_LT(folded, longest);
}

TEST_P(KaConversionQualityTest, losesNothingHeld_andGoesOnInPhase_afterAnUnderrun) {
    CycleDuet duet(from, to);
    const auto sine = sineOf(frequency, inRate);
    duet.runUntil(startUp, sine);
    const auto positionAt = [&] {
        // Where in the input's sine the output is, in radians of the sine.
        const double begin = duet.now();
        const double phase = analyseSine(listen(duet, outRate, sine), frequency, outRate).phase;
        return phase - 2.0 * std::numbers::pi * frequency * begin;
    };
    const double before = positionAt();
    const std::uint64_t dropped = duet.dropped;
    const std::uint64_t silent = duet.silent;
    const unsigned underruns = duet.underruns;

    // The source hands nothing on for ten output cycles; its frames come late.
    duet.isStalled = true;
    duet.runUntil(duet.now() + 9.5 * to.frames / outRate, sine);
    duet.isStalled = false;
    EXPECT_GE(duet.underruns - underruns, 8U);
    duet.runUntil(duet.now() + startUp, sine);

    // Silence has moved the sine back by whole blocks, frames that did not fit have moved it forth.
    const double moved =
        static_cast<double>(duet.dropped - dropped) - static_cast<double>(duet.silent - silent);
    const double expected = 2.0 * std::numbers::pi * frequency * moved / inRate;
    const double turns = (positionAt() - before - expected) / (2.0 * std::numbers::pi);
    EXPECT_NEAR(turns - std::round(turns), 0.0, 1e-6);
    EXPECT_EQ(duet.written - duet.dropped - duet.taken, duet.buffer->audioBuffer().count());
}

TEST_P(KaConversionQualityTest, findsItsLevel_andKeepsIt) {
    CycleDuet duet(from, to);
    const auto sine = sineOf(frequency, inRate);
    duet.runUntil(startUp, sine);
    report(name + ", frames dropped at first", static_cast<double>(duet.dropped), "frames");
    report(name + ", silent cycles at first", duet.underruns, "cycles");
    EXPECT_LE(duet.underruns, 3U);
    EXPECT_LT(duet.dropped, from.frames);
    unsigned least = 0;
    unsigned most = 0;
    for (int part = 1; part <= 4; ++part) {
        duet.forgetExtremes();
        duet.runUntil(startUp + part * 5.0, sine);
        EXPECT_LE(duet.mostHeld, duet.buffer->audioBuffer().capacity());
        if (part > 1) {
            EXPECT_EQ(duet.leastHeld, least);
            EXPECT_EQ(duet.mostHeld, most);
        }
        least = duet.leastHeld;
        most = duet.mostHeld;
    }
    EXPECT_LT(duet.lastDrop, startUp);
    EXPECT_LT(duet.lastUnderrun, startUp);
    // Every frame of the output stands for its share of the input, to a frame.
    EXPECT_NEAR(static_cast<double>(duet.taken + duet.silent),
                static_cast<double>(duet.read) * inRate / outRate, 1.0);
}

namespace {
class BurstTest : public KaConversionQualityTest {};
} // namespace

INSTANTIATE_TEST_SUITE_P(
    Rates, BurstTest,
    testing::Values(std::pair(CycleSide{44100, 1, 512, 1024}, CycleSide{48000, 1, 512, 1024}),
                    std::pair(CycleSide{48000, 1, 512, 1024}, CycleSide{44100, 1, 512, 1024}),
                    std::pair(CycleSide{44100, 1, 512, 1024}, CycleSide{48000, 1}),
                    std::pair(CycleSide{48000, 1, 512, 1024}, CycleSide{44100, 1}),
                    std::pair(CycleSide{44100, 1, 512, 1024}, CycleSide{44100, 1})));

TEST_P(BurstTest, neitherDropsNorFallsSilent_whenTheSourceComesInBursts) {
    for (const std::vector<unsigned>& bursts : {std::vector<unsigned>{2, 1}, {2}, {1, 2, 1, 1, 2}}) {
        CycleDuet duet(from, to, bursts);
        const auto sine = sineOf(frequency, inRate);
        constexpr double start = 2.0 * startUp; // the bursts' offsets take longer to come round
        duet.runUntil(start, sine);
        if (from.largestCycle() == to.largestCycle() || from.rate == to.rate) {
            EXPECT_EQ(duet.dropped, 0U);
        }
        std::string pattern;
        for (const unsigned cycles : bursts)
            pattern += " " + std::to_string(cycles);
        report(name + ", last silence of bursts" + pattern, duet.lastUnderrun, "s");
        report(name + ", last drop of bursts" + pattern, duet.lastDrop, "s");
        EXPECT_LT(analyseSine(listen(duet, outRate, sine), frequency, outRate).rest, -120.0);
        duet.runUntil(20.0, sine);
        EXPECT_LT(duet.lastDrop, start);
        EXPECT_LT(duet.lastUnderrun, start);
    }
}

TEST(KaConversionEqualRatesTest, dropsNothing_andIsSilentForOneCycleAtMost) {
    for (const std::uint32_t frames : {14U, 512U, 4096U}) {
        CycleDuet duet({44100, 2, frames}, {44100, 2, frames});
        std::uint64_t next = 0;
        const auto count = [](TestList& list, std::uint64_t first) {
            for (std::size_t i = 0; i < list.samples[0].size(); ++i)
                list.samples[0][i] = static_cast<float>((first * 2 + i) % 10'000'000 + 1);
        };
        duet.runUntil(60.0, count, [&](const TestList& list, std::uint64_t) {
            if (list.samples[0][0] == 0.0F)
                return;
            for (const float sample : list.samples[0])
                ASSERT_EQ(sample, static_cast<float>(next++ % 10'000'000 + 1));
        });
        EXPECT_EQ(duet.dropped, 0U);
        EXPECT_LE(duet.underruns, 1U);
        EXPECT_GE(next, duet.read * 2 - 2 * std::uint64_t{frames});
    }
}

TEST(KaConversionEqualRatesTest, holdsItsLevelForAnHour) {
    CycleDuet duet({44100, 1}, {44100, 1});
    const auto leaveAsItIs = [](TestList&, std::uint64_t) {};
    duet.runUntil(60.0, leaveAsItIs);
    duet.forgetExtremes();
    duet.runUntil(3600.0, leaveAsItIs);
    EXPECT_EQ(duet.dropped, 0U);
    EXPECT_LE(duet.underruns, 1U);
    EXPECT_EQ(duet.taken + duet.silent, duet.read);
    EXPECT_LE(duet.mostHeld - duet.leastHeld, 512U);
}

TEST(KaConversionEqualRatesTest, givesWholeSilentCycles_andEveryFrame_whenTheSourceIsLate) {
    const auto buffer = KaConversionBuffer::initWithSourceSampleRate(44100, 2, 512, 44100, 2, 512);
    TestList in({2}, 512);
    TestList out({2}, 512);
    std::uint64_t written = 0;
    std::uint64_t heard = 0;
    unsigned silentCycles = 0;
    std::minstd_rand random(7);
    for (int cycle = 0; cycle < 2000; ++cycle) {
        // Late by up to three cycles, which are made up for as there is room.
        for (auto late = random() % 3; late > 0 && buffer->audioBuffer().count() <= 512; --late) {
            for (float& sample : in.samples[0])
                sample = static_cast<float>(++written);
            buffer->writeFromAudioBufferList(in.list, nullptr);
        }
        buffer->readToAudioBufferList(out.list, nullptr);
        if (out.samples[0][0] == 0.0F) {
            ++silentCycles;
            ASSERT_EQ(out.samples[0], Samples(1024, 0.0F));
        } else {
            for (const float sample : out.samples[0])
                ASSERT_EQ(sample, static_cast<float>(++heard));
        }
    }
    EXPECT_GT(silentCycles, 100U);
    EXPECT_EQ(heard + buffer->audioBuffer().count() * std::uint64_t{2}, written);
    EXPECT_GT(heard, 100'000U);
}
