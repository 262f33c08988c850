// Measures the sample queue against memcpy of the same bytes.
#include "recorder/VmQueBuffer.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
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

/// Prints how many times the limit a write and a read take.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_name.function_name == "copyThroughRing")
                m_limits.push_back(run.GetAdjustedRealTime());
            else if (run.run_name.function_name == "writeAndRead" && m_next < m_limits.size())
                std::printf("  = %.2f times the limit\n", run.GetAdjustedRealTime() / m_limits[m_next++]);
        }
    }

private:
    std::vector<double> m_limits;
    std::size_t m_next = 0;
};
} // namespace

BENCHMARK(copyThroughRing)->Arg(16 * 1024)->Arg(44100 * 2)->Arg(44100 * 160)->Arg(192000 * 160);
BENCHMARK(writeAndRead)->Arg(16 * 1024)->Arg(44100 * 2)->Arg(44100 * 160)->Arg(192000 * 160);
BENCHMARK(overwrite)->Arg(16 * 1024)->Arg(44100 * 160);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
