// Measures the sample queue against memcpy of the same bytes.
#include "Figures.h"
#include "recorder/VmQueBuffer.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {
constexpr unsigned blockSamples = 512 * 2; ///< 512 stereo frames

/// The limit: the block goes into a ring of the queue's size and comes out again, with no index at all.
void copyThroughRing(benchmark::State& state) {
    std::vector<float> ring(static_cast<std::size_t>(state.range(0)) / blockSamples * blockSamples);
    std::vector<float> in(blockSamples, 0.5f);
    std::vector<float> out(blockSamples);
    std::size_t place = 0;
    for (auto _ : state) {
        std::memcpy(ring.data() + place, in.data(), blockSamples * sizeof(float));
        benchmark::ClobberMemory();
        std::memcpy(out.data(), ring.data() + place, blockSamples * sizeof(float));
        benchmark::DoNotOptimize(out.data());
        place = place + blockSamples < ring.size() ? place + blockSamples : 0;
    }
    state.SetBytesProcessed(state.iterations() * blockSamples * sizeof(float));
}

void writeAndRead(benchmark::State& state) {
    const auto queue = VmQueBuffer::initQueWithLength(static_cast<unsigned>(state.range(0)) * 4);
    std::vector<float> in(blockSamples, 0.5f);
    std::vector<float> out(blockSamples);
    for (auto _ : state) {
        queue->writeFloat32Data(in.data(), blockSamples);
        benchmark::ClobberMemory();
        queue->readFloat32Data(out.data(), blockSamples);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(state.iterations() * blockSamples * sizeof(float));
}

/// The producer alone, on a queue that is full all the time.
void overwrite(benchmark::State& state) {
    const auto queue = VmQueBuffer::initQueWithLength(static_cast<unsigned>(state.range(0)) * 4);
    std::vector<float> in(blockSamples, 0.5f);
    for (auto _ : state) {
        queue->writeFloat32Data(in.data(), blockSamples);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * blockSamples * sizeof(float));
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    for (const long samples : {16L * 1024, 44100L * 160, 192000L * 160})
        benchmark->Arg(samples);
    benchmark->Repetitions(12)->MinTime(0.05);
}
} // namespace

BENCHMARK(copyThroughRing)->Apply(sizes);
BENCHMARK(writeAndRead)->Apply(sizes);
BENCHMARK(overwrite)->Apply(sizes);

int main(int argc, char** argv) {
    const LeastTimes times = runMixed(argc, argv);
    for (const auto& [samples, what] : {std::pair{"16384", "64 KiB"}, std::pair{"7056000", "80 s at 44100 Hz"},
                                        std::pair{"30720000", "80 s at 192000 Hz"}}) {
        const double ours = times.of("writeAndRead", samples);
        const double limit = times.of("copyThroughRing", samples);
        if (limit > 0.0)
            reportFigure(std::string("queue write and read, ring of ") + what, nanoseconds(ours),
                         nanoseconds(limit) + " memcpy", ours / limit, Aim::atMost, 3.0);
    }
    return 0;
}
