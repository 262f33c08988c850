#include "audio/hardware/simulated/SimulatedSignal.h"

#include "audio/hardware/simulated/SimulatedSpeech.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {
using Kind = SimulatedSegment::Kind;

std::vector<SimulatedSegment> inOrder(std::vector<SimulatedSegment> segments) {
    std::ranges::stable_sort(segments, {}, &SimulatedSegment::at);
    return segments;
}

/// Writes `value(i)` to every channel of frame i.
template <typename Value>
void fillFrames(std::uint32_t count, std::uint32_t channels, float* into, Value value) KA_REALTIME {
    for (std::uint32_t i = 0; i < count; ++i) {
        const float sample = value(i);
        for (std::uint32_t channel = 0; channel < channels; ++channel)
            *into++ = sample;
    }
}

/// A thorough mix of the bits of `key`: neighbours have nothing in common.
std::uint64_t mixed(std::uint64_t key) KA_REALTIME {
    key += 0x9E3779B97F4A7C15ULL;
    key = (key ^ key >> 30) * 0xBF58476D1CE4E5B9ULL;
    key = (key ^ key >> 27) * 0x94D049BB133111EBULL;
    return key ^ key >> 31;
}
} // namespace

SimulatedSignal::SimulatedSignal(std::vector<SimulatedSegment> segments, std::uint32_t channels, double rate)
    : m_segments(inOrder(std::move(segments))), m_channels(channels) {
    setRate(rate);
}

void SimulatedSignal::setRate(double rate) {
    m_prepared.clear();
    std::shared_ptr<const std::vector<float>> speech;
    for (const SimulatedSegment& segment : m_segments) {
        Prepared prepared;
        prepared.segment = segment;
        prepared.begin = static_cast<std::uint64_t>(std::llround(std::max(segment.at, 0.0) * rate));
        if (segment.kind == Kind::sine && rate > 0.0) {
            prepared.cyclesPerFrame = segment.frequency / rate;
            for (std::uint32_t j = 0; j < sineBlock; ++j) {
                const double phase = 2.0 * std::numbers::pi * prepared.cyclesPerFrame * j;
                prepared.stepSine[j] = std::sin(phase);
                prepared.stepCosine[j] = std::cos(phase);
            }
        }
        if (segment.kind == Kind::speech) {
            if (!speech)
                speech = std::make_shared<const std::vector<float>>(simulatedSpeech(rate));
            prepared.segment.samples = speech;
            prepared.segment.sampleChannels = 1;
            prepared.segment.looped = true;
        }
        m_prepared.push_back(std::move(prepared));
    }
}

void SimulatedSignal::render(std::uint64_t first, std::uint32_t count, float* into) const KA_REALTIME {
    // The first segment that begins after `first`; the one before it is heard now.
    auto next = std::ranges::upper_bound(m_prepared, first, {}, &Prepared::begin);
    while (count > 0) {
        std::uint32_t run = count;
        if (next != m_prepared.end())
            run = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, next->begin - first));
        if (next == m_prepared.begin())
            std::fill_n(into, std::size_t{run} * m_channels, 0.0F);
        else
            renderSegment(*(next - 1), first, run, into);
        first += run;
        count -= run;
        into += std::size_t{run} * m_channels;
        if (next != m_prepared.end())
            ++next;
    }
}

void SimulatedSignal::renderSegment(const Prepared& prepared, std::uint64_t first, std::uint32_t count,
                                    float* into) const KA_REALTIME {
    switch (prepared.segment.kind) {
    case Kind::silence:
        std::fill_n(into, std::size_t{count} * m_channels, 0.0F);
        break;
    case Kind::constant:
        std::fill_n(into, std::size_t{count} * m_channels, static_cast<float>(prepared.segment.level));
        break;
    case Kind::sine:
        renderSine(prepared, first, count, into);
        break;
    case Kind::noise:
        renderNoise(prepared.segment, first, count, into);
        break;
    case Kind::counter:
        renderCounter(first, count, into);
        break;
    case Kind::file:
    case Kind::speech:
        renderSamples(prepared, first, count, into);
        break;
    }
}

void SimulatedSignal::renderSine(const Prepared& prepared, std::uint64_t first, std::uint32_t count,
                                 float* into) const KA_REALTIME {
    // One sine and cosine per block of fixed place, the rest by the addition theorem: cheap, without drift, and
    // the same however the frames are cut into cycles.
    const double level = prepared.segment.level;
    while (count > 0) {
        const std::uint64_t base = first - first % sineBlock;
        const auto offset = static_cast<std::uint32_t>(first - base);
        const std::uint32_t run = std::min(count, sineBlock - offset);
        const long double cycles =
            static_cast<long double>(prepared.cyclesPerFrame) * static_cast<long double>(base);
        const double phase = 2.0 * std::numbers::pi * static_cast<double>(cycles - std::floor(cycles));
        const double sine = level * std::sin(phase);
        const double cosine = level * std::cos(phase);
        const double* const stepSine = prepared.stepSine.data() + offset;
        const double* const stepCosine = prepared.stepCosine.data() + offset;
        fillFrames(run, m_channels, into, [&](std::uint32_t i) {
            return static_cast<float>(sine * stepCosine[i] + cosine * stepSine[i]);
        });
        first += run;
        count -= run;
        into += std::size_t{run} * m_channels;
    }
}

void SimulatedSignal::renderNoise(const SimulatedSegment& segment, std::uint64_t first, std::uint32_t count,
                                  float* into) const KA_REALTIME {
    const std::uint64_t start = mixed(segment.seed) + first * m_channels;
    const float level = static_cast<float>(segment.level);
    const std::size_t samples = std::size_t{count} * m_channels;
    for (std::size_t i = 0; i < samples; ++i) {
        // The top 24 bits as a number from -1 up to, but not including, 1.
        const auto bits = static_cast<std::int32_t>(mixed(start + i) >> 40);
        into[i] = level * (static_cast<float>(bits - 0x800000) * 0x1p-23F);
    }
}

void SimulatedSignal::renderSamples(const Prepared& prepared, std::uint64_t first, std::uint32_t count,
                                    float* into) const KA_REALTIME {
    const SimulatedSegment& segment = prepared.segment;
    const std::uint32_t width = std::max(segment.sampleChannels, 1U);
    const std::uint64_t frames = segment.samples ? segment.samples->size() / width : 0;
    std::uint64_t at = first - prepared.begin;
    if (frames > 0 && segment.looped)
        at %= frames;
    for (std::uint32_t i = 0; i < count; ++i) {
        const float* const frame = at < frames ? segment.samples->data() + at * width : nullptr;
        for (std::uint32_t channel = 0; channel < m_channels; ++channel)
            *into++ = frame != nullptr ? frame[std::min(channel, width - 1)] : 0.0F;
        if (++at == frames && segment.looped)
            at = 0;
    }
}

void SimulatedSignal::renderCounter(std::uint64_t first, std::uint32_t count, float* into) const KA_REALTIME {
    constexpr std::uint32_t radix = 32767;
    auto low = static_cast<std::uint32_t>(first % radix);
    auto high = static_cast<std::uint32_t>(first / radix % radix);
    for (std::uint32_t i = 0; i < count; ++i) {
        const float left = (static_cast<float>(low) + 0.5F) / 32767.0F;
        const float right = (static_cast<float>(high) + 0.5F) / 32767.0F;
        for (std::uint32_t channel = 0; channel < m_channels; ++channel)
            *into++ = channel % 2 == 0 ? left : right;
        if (++low == radix) {
            low = 0;
            high = high + 1 == radix ? 0 : high + 1;
        }
    }
}
