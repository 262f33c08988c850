// audio/hardware/simulated/SimulatedDevice.h — what a simulated device is and what its input hears.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// From `at` seconds after the launch, and until the next segment, the input hears `kind`.
struct SimulatedSegment {
    enum class Kind {
        silence,
        constant, ///< `level` in every sample
        sine,     ///< `frequency` Hz, amplitude `level`; the phase is 0 at the launch
        noise, ///< white, even between -`level` and `level`; a value depends on `seed`, frame and channel only
        file,  ///< `samples`, from the segment's begin on
        counter, ///< frame k as two numbers: left (k mod 32767 + 0.5) / 32767, right the same of k div 32767
        speech,  ///< bursts of voice with pauses
    };

    double at = 0.0;
    Kind kind = Kind::silence;
    double level = 0.0;
    double frequency = 0.0;
    std::uint64_t seed = 0;
    /// Interleaved, one frame for each frame of the device. Channels that it lacks repeat its last one.
    std::shared_ptr<const std::vector<float>> samples{};
    std::uint32_t sampleChannels = 1;
    bool looped = true; ///< else silence follows
};

struct SimulatedDevice {
    enum class Direction { output, input, duplex };

    std::string name;
    std::string uid;
    Direction direction = Direction::input;
    std::uint32_t channels = 2;         ///< in each of its directions
    std::vector<double> rates{44100.0}; ///< Hz; the first is set at the launch
    std::uint32_t minFrames = 14;
    std::uint32_t maxFrames = 4096;
    std::vector<std::string> dataSources;
    std::vector<SimulatedSegment> signal;

    bool hasInput() const { return direction != Direction::output; }
    bool hasOutput() const { return direction != Direction::input; }
};
