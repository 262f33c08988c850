// audio/hardware/simulated/SimulatedSignal.h — what an input hears, as a function of the frame number.
#pragma once
#include "audio/hardware/simulated/SimulatedDevice.h"
#include "base/Realtime.h"

#include <array>
#include <cstdint>
#include <vector>

/// Any run of frames can be had at any time and in any pieces: the samples are the same.
class SimulatedSignal {
public:
    SimulatedSignal(std::vector<SimulatedSegment> segments, std::uint32_t channels, double rate);

    // Main thread, no cycle running
    /// Hz.
    void setRate(double rate);

    // I/O thread
    /// Fills `into` with the `count` interleaved frames from frame `first` (0 is at the launch).
    void render(std::uint64_t first, std::uint32_t count, float* into) const KA_REALTIME;

private:
    static constexpr std::uint32_t sineBlock = 64;

    /// A segment made ready for one rate.
    struct Prepared {
        SimulatedSegment segment;
        std::uint64_t begin = 0;                    // frame
        double cyclesPerFrame = 0.0;                // sine
        std::array<double, sineBlock> stepSine{};   // sine of j frames' phase
        std::array<double, sineBlock> stepCosine{}; // cosine of it
    };

    void renderSegment(const Prepared& prepared, std::uint64_t first, std::uint32_t count,
                       float* into) const KA_REALTIME;
    void renderSine(const Prepared& prepared, std::uint64_t first, std::uint32_t count,
                    float* into) const KA_REALTIME;
    void renderNoise(const SimulatedSegment& segment, std::uint64_t first, std::uint32_t count,
                     float* into) const KA_REALTIME;
    void renderSamples(const Prepared& prepared, std::uint64_t first, std::uint32_t count,
                       float* into) const KA_REALTIME;
    void renderCounter(std::uint64_t first, std::uint32_t count, float* into) const KA_REALTIME;

    const std::vector<SimulatedSegment> m_segments; // in order of time
    const std::uint32_t m_channels;
    std::vector<Prepared> m_prepared;
};
