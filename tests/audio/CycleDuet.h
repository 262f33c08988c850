// audio/CycleDuet.h — two devices' cycles through a conversion buffer, each at its exact time.
#pragma once
#include "audio/CrankedHardware.h"
#include "audio/KaConversionBuffer.h"
#include "base/Realtime.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

struct CycleSide {
    std::uint64_t rate = 44100; ///< Hz, exact
    std::uint32_t channels = 2; ///< interleaved
    std::uint32_t frames = 512; ///< of a cycle
    /// Frames of the largest cycle that the buffer is made for; 0 stands for those of a cycle.
    std::uint32_t variableFrames = 0;

    std::uint32_t largestCycle() const { return variableFrames == 0 ? frames : variableFrames; }
};

/// Runs both sides' cycles in the order of their times. A cycle is over, and handed on, when its last frame is;
/// the source's can be handed on in bursts: `bursts` {2, 1} holds each first cycle of three back until the
/// second one is over.
class CycleDuet {
public:
    using Fill = std::function<void(TestList& list, std::uint64_t firstFrame)>;
    using Heard = std::function<void(const TestList& list, std::uint64_t firstFrame)>;

    CycleDuet(CycleSide source, CycleSide destination, std::vector<unsigned> bursts = {1})
        : m_source(source),
          m_destination(destination),
          m_bursts(std::move(bursts)),
          m_in({source.channels}, source.frames),
          m_out({destination.channels}, destination.frames),
          buffer(KaConversionBuffer::initWithSourceSampleRate(
              static_cast<double>(source.rate), source.channels, source.largestCycle(),
              static_cast<double>(destination.rate), destination.channels, destination.largestCycle())) {}

    /// Goes on until `seconds` of the destination's time, counted from the very first cycle, are over.
    void runUntil(double seconds, const Fill& fill, const Heard& heard = {}) {
        while (static_cast<double>(read) < seconds * static_cast<double>(m_destination.rate)) {
            const std::uint64_t burst = std::uint64_t{m_bursts[m_nextBurst]} * m_source.frames;
            if (isStalled || (written + burst) * m_destination.rate > (read + m_out.frames()) * m_source.rate)
                readCycle(heard);
            else
                writeBurst(fill);
        }
    }

    double now() const { return static_cast<double>(read) / static_cast<double>(m_destination.rate); }
    void forgetExtremes() {
        leastHeld = std::numeric_limits<unsigned>::max();
        mostHeld = 0;
    }

private:
    void writeBurst(const Fill& fill) {
        for (unsigned cycle = 0; cycle < m_bursts[m_nextBurst]; ++cycle) {
            fill(m_in, written);
            const unsigned before = buffer->audioBuffer().count();
            {
                const RealtimeScope scope;
                buffer->writeFromAudioBufferList(m_in.list, nullptr);
            }
            const unsigned held = buffer->audioBuffer().count();
            written += m_source.frames;
            if (held < before + m_source.frames) {
                dropped += before + m_source.frames - held;
                lastDrop = now();
            }
            mostHeld = std::max(mostHeld, held);
        }
        m_nextBurst = (m_nextBurst + 1) % m_bursts.size();
    }

    void readCycle(const Heard& heard) {
        const unsigned before = buffer->audioBuffer().count();
        {
            const RealtimeScope scope;
            buffer->readToAudioBufferList(m_out.list, nullptr);
        }
        const unsigned held = buffer->audioBuffer().count();
        taken += before - held;
        if (held == before) {
            ++underruns;
            silent += (read + m_destination.frames) * m_source.rate / m_destination.rate -
                      read * m_source.rate / m_destination.rate;
            lastUnderrun = now();
        }
        leastHeld = std::min(leastHeld, held);
        if (heard)
            heard(m_out, read);
        read += m_destination.frames;
    }

    const CycleSide m_source;
    const CycleSide m_destination;
    const std::vector<unsigned> m_bursts;
    std::size_t m_nextBurst = 0;
    TestList m_in;
    TestList m_out;

public:
    const std::unique_ptr<KaConversionBuffer> buffer;
    bool isStalled = false;    ///< the source hands on nothing; its frames come late, not never
    std::uint64_t written = 0; ///< frames handed to the buffer
    std::uint64_t dropped = 0; ///< of them
    std::uint64_t taken = 0;   ///< by the reading side, silence not counted
    std::uint64_t silent = 0;  ///< frames of the source's rate that the reading side got instead
    std::uint64_t read = 0;    ///< frames given to the destination
    unsigned underruns = 0;
    double lastDrop = -1.0;     ///< seconds; -1 if there was none
    double lastUnderrun = -1.0; ///< seconds
    unsigned leastHeld = std::numeric_limits<unsigned>::max();
    unsigned mostHeld = 0;
};

/// A sine of `frequency` Hz in every channel.
inline CycleDuet::Fill sineOf(double frequency, double rate, double amplitude = 0.5) {
    return [=](TestList& list, std::uint64_t first) {
        for (std::size_t b = 0; b < list.samples.size(); ++b) {
            const std::uint32_t width = list.buffers[b].mNumberChannels;
            for (std::size_t i = 0; i < list.samples[b].size(); ++i)
                list.samples[b][i] =
                    static_cast<float>(amplitude * std::sin(2.0 * std::numbers::pi * frequency *
                                                            static_cast<double>(first + i / width) / rate));
        }
    };
}
