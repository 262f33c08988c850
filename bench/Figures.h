// Figures.h — one line for each measured figure; scripts/bench makes a table of them.
#pragma once
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <map>
#include <string>

enum class Aim { atMost, atLeast };

/// Prints what was measured, the limit measured in the same run, and how the ratio of the two stands to its
/// aim.
inline void reportFigure(const std::string& name, const std::string& measured, const std::string& limit,
                         double ratio, Aim kind, double aim) {
    const bool met = kind == Aim::atMost ? ratio <= aim : ratio >= aim;
    std::printf("figure\t%s\t%s\t%s\t%.3g\t%s %g\t%s\n", name.c_str(), measured.c_str(), limit.c_str(), ratio,
                kind == Aim::atMost ? "at most" : "at least", aim, met ? "yes" : "NO");
    std::fflush(stdout);
}

/// Keeps the least CPU time of each benchmark over its repetitions: what other programs add is not ours.
class LeastTimes : public benchmark::ConsoleReporter {
public:
    LeastTimes() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            const std::string name = run.run_name.function_name + "/" + run.run_name.args;
            const double seconds = run.cpu_accumulated_time / static_cast<double>(run.iterations);
            const auto [known, isNew] = m_least.try_emplace(name, seconds);
            if (!isNew)
                known->second = std::min(known->second, seconds);
        }
    }
    /// Seconds of one iteration; 0 when the benchmark was filtered out.
    double of(const std::string& function, const std::string& arguments = {}) const {
        const auto found = m_least.find(function + "/" + arguments);
        return found == m_least.end() ? 0.0 : found->second;
    }

private:
    std::map<std::string, double> m_least;
};

/// Runs the benchmarks, each several times and in mixed order, so that a disturbance meets all of them.
inline LeastTimes runMixed(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    LeastTimes times;
    benchmark::RunSpecifiedBenchmarks(&times);
    return times;
}

inline std::string nanoseconds(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f ns", seconds * 1e9);
    return text;
}
