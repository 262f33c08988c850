// Measures the conversion of captured floats into the bytes of a file against a plain vectorised loop.
#include "base/WidestVectors.h"
#include "Figures.h"
#include "recorder/SampleConversion.h"
#include "storage/BigEndian.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace {
constexpr std::size_t pieceSamples = 65536; ///< swapped at a time, as a sound file does

std::vector<float> tone(benchmark::State& state) {
    std::vector<float> samples(static_cast<std::size_t>(state.range(0)) * 2);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<float>(static_cast<int>(i * 7919 % 65536) - 32768) / 32768.0F;
    return samples;
}

/// The limit: the same arithmetic and the byte swap in one loop, with the best instructions that this machine
/// has, and without a thought for what lies beyond full scale.
KA_WIDEST_VECTORS
void convertPlainly(const float* __restrict in, std::uint16_t* __restrict out, std::size_t samples) {
    for (std::size_t i = 0; i < samples; ++i) {
        const auto value = static_cast<std::uint16_t>(static_cast<std::int32_t>(in[i] * 32767.0));
        out[i] = static_cast<std::uint16_t>(value << 8 | value >> 8);
    }
}

void plainLoop(benchmark::State& state) {
    const std::vector<float> in = tone(state);
    std::vector<std::uint16_t> out(in.size());
    for (auto _ : state) {
        convertPlainly(in.data(), out.data(), in.size());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
}

/// As the write thread does it: reduced as a whole, then swapped piece by piece.
void floatToFile(benchmark::State& state) {
    const std::vector<float> in = tone(state);
    std::vector<std::int16_t> reduced(in.size());
    std::vector<std::byte> bytes(pieceSamples * 2);
    for (auto _ : state) {
        reduceToFile(in.data(), in.size() / 2, 1, 2, reduced.data());
        benchmark::ClobberMemory();
        for (std::size_t done = 0; done < reduced.size(); done += pieceSamples) {
            BigEndian::copySamples(bytes.data(), reduced.data() + done,
                                   std::min(pieceSamples, reduced.size() - done));
            benchmark::DoNotOptimize(bytes.data());
            benchmark::ClobberMemory();
        }
    }
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(2048)->Arg(5 * 44100)->Repetitions(12)->MinTime(0.05);
}
} // namespace

BENCHMARK(plainLoop)->Apply(sizes);
BENCHMARK(floatToFile)->Apply(sizes);

int main(int argc, char** argv) {
    const LeastTimes times = runMixed(argc, argv);
    for (const auto& [frames, what] :
         {std::pair{"2048", "2048 frames in the cache"}, std::pair{"220500", "one write, 5 s at 44100 Hz"}}) {
        const double ours = times.of("floatToFile", frames);
        const double limit = times.of("plainLoop", frames);
        if (limit > 0.0)
            reportFigure(std::string("float to file, ") + what, nanoseconds(ours),
                         nanoseconds(limit) + " plain loop", ours / limit, Aim::atMost, 1.3);
    }
    return 0;
}
